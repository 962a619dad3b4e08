// Chance, handed in: there is one generator for the whole system.
#pragma once

#include <random>

namespace veltrane {

class RandomGenerator {
 public:
  virtual ~RandomGenerator() = default;

  /// The next number in [0, 1), single precision.
  virtual float Rnd() = 0;

  /// Starts the sequence that belongs to seed: the same seed gives the same numbers.
  virtual void Randomize(unsigned seed) = 0;
};

class SystemRandomGenerator : public RandomGenerator {
 public:
  // 24 random bits fill a float's mantissa, so that every value is below 1.
  float Rnd() override { return static_cast<float>(mEngine() >> 8) * (1.0F / 16777216.0F); }
  void Randomize(unsigned seed) override { mEngine.seed(seed); }

 private:
  std::mt19937 mEngine;
};

}  // namespace veltrane
