// The face of the main window. Its form places everything, so it is built here and not in a designer's file:
// one widget for each control, under its name, which follows the control's place and visibility.
#pragma once

namespace veltrane {

class FormFace;
class frmMain;

/// The caller owns it.
FormFace* BuildMainFace(frmMain& form);

}  // namespace veltrane
