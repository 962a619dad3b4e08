// Chance by script.
#pragma once

#include <QList>

#include "base/RandomGenerator.h"

namespace veltrane {

class ScriptedRandom : public RandomGenerator {
 public:
  float Rnd() override {
    ++mDraws;
    return mNumbers.isEmpty() ? 0.5F : mNumbers.takeFirst();
  }
  void Randomize(unsigned seed) override { mSeeds.append(seed); }

  QList<float> mNumbers;
  QList<unsigned> mSeeds;
  int mDraws = 0;
};

}  // namespace veltrane
