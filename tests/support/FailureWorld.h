// A World whose schedule of failures is the real window.
#pragma once

#include "failure/frmProblemSimulation.h"
#include "tests/support/FakeStatusPanes.h"
#include "tests/support/World.h"

namespace veltrane {

struct FailureWorld : World {
  explicit FailureWorld(SocketFactory* network = nullptr, RandomGenerator* random = nullptr)
      : World(network, random) {
    mGeneral.frmProblemSimulation = &mForm;
  }

  FakeStatusPanes mPanes;
  frmProblemSimulation mForm{mGeneral, mPanes};
};

}  // namespace veltrane
