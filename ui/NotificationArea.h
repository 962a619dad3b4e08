// The desktop's notification area, as far as the program needs it: one icon, with a menu. ui/faces has the
// real one; tests have one that notes what is shown.
#pragma once

#include <QString>

namespace veltrane {

class frmSysTray;

class NotificationArea {
 public:
  virtual ~NotificationArea() = default;

  /// False while the desktop has none. That can change during a run, with the panel that holds it. Must not
  /// wait for the panel: one that hangs would stop the proxy.
  virtual bool IsAvailable() const = 0;
  /// Puts the icon into the area, now or as soon as there is one, with the menu entries of window. Mouse
  /// messages go to the window; the menu pops up when that of the right button has returned.
  virtual void AddIcon(frmSysTray& window, const QString& tip) = 0;
  /// Images are counted from 1; the last is that of rest.
  virtual void SetImage(int image) = 0;
  virtual void RemoveIcon() = 0;
};

}  // namespace veltrane
