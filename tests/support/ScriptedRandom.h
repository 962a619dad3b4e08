// Chance by script.
#pragma once

#include <QList>

#include <functional>

#include "base/RandomGenerator.h"

namespace veltrane {

class ScriptedRandom : public RandomGenerator {
 public:
  float Rnd() override {
    ++mDraws;
    return mNumbers.isEmpty() ? 0.5F : mNumbers.takeFirst();
  }
  void Randomize(unsigned seed) override {
    mSeeds.append(seed);
    if (OnSeed) OnSeed();
  }

  QList<float> mNumbers;
  QList<unsigned> mSeeds;
  int mDraws = 0;
  std::function<void()> OnSeed;
};

}  // namespace veltrane
