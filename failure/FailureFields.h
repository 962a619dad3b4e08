// The rows of the window's table of settings.
#pragma once

#include "failure/frmProblemSimulation.h"

namespace veltrane {

/// One setting: a check box, one option of a group, or a text box, of which the other two are null.
struct frmProblemSimulation::Field {
  CheckBox frmProblemSimulation::*checkBox;
  OptionGroup frmProblemSimulation::*options;
  int option;
  TextBox frmProblemSimulation::*textBox;
  const char* whenMissing;
  /// What a text box must pass when the focus leaves it.
  Check check;
};

}  // namespace veltrane
