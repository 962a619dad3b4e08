// The icon in the desktop's notification area. Its images are resources, drawn by tools/draw-pictures.
#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QIcon>

#include <memory>

#include "ui/NotificationArea.h"
#include "ui/faces/TrayHost.h"

class QMenu;
class QSystemTrayIcon;

namespace veltrane {

class TrayIcon : public NotificationArea {
 public:
  TrayIcon();
  ~TrayIcon() override;

  bool IsAvailable() const override;
  void AddIcon(frmSysTray& window, const QString& tip) override;
  void SetImage(int image) override;
  void RemoveIcon() override;

  /// The picture behind an image number, 1-based.
  static QIcon Image(int image);
  /// What Qt tells of the mouse, as the window's messages.
  void Activated(int reason);

 private:
  void BuildMenu();
  void MakeIcon();

  /// Only keeps what it hears.
  mutable TrayHost mHost;
  frmSysTray* mWindow = nullptr;
  QString mTip;
  std::unique_ptr<QMenu> mMenu;
  /// From the moment on when there is an area for it.
  std::unique_ptr<QSystemTrayIcon> mIcon;
  QHash<int, QIcon> mImages;
  QElapsedTimer mSinceClick;
};

}  // namespace veltrane
