// What the other windows do to the main window beside what the engine and the recorder tell it. ui/frmMain
// keeps it.
#pragma once

namespace veltrane {

class Form;

class MainShell {
 public:
  virtual ~MainShell() = default;

  /// The window itself, to be shown, minimised and brought to the front.
  virtual Form& Window() = 0;
  virtual void SetToolBarVisible(bool visible) = 0;
  virtual void SetStatusBarVisible(bool visible) = 0;
  /// Lays the window out anew.
  virtual void ResizeForm() = 0;
  /// Plays or stops every animation of the window. May fail.
  virtual void PlayAnimations(bool play) = 0;
  /// The final shut-down.
  virtual void Terminate() = 0;
};

}  // namespace veltrane
