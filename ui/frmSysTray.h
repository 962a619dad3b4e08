// The icon in the notification area: a window that is never seen, with the icon's menu and its animation
// while data flows. 25 images cover every mix of the two directions' five frames; one more is that of rest.
#pragma once

#include "base/Timer.h"
#include "forms/Controls.h"
#include "forms/Form.h"
#include "history/Surroundings.h"

namespace veltrane {

class General;
class MainShell;
class NotificationArea;

class frmSysTray : public Form, public TraySignal {
  Q_OBJECT

 public:
  /// The windows that the menu shows and hides.
  struct Windows {
    Form& configure;
    Form& error;
  };

  static constexpr int kFramesPerDirection = 5;
  static constexpr int kImageOfRest = kFramesPerDirection * kFramesPerDirection + 1;

  // Mouse messages of the icon; any other number does nothing.
  static constexpr int kLeftButtonDoubleClick = 515;
  static constexpr int kRightButtonUp = 517;

  frmSysTray(General& general, MainShell& shell, NotificationArea& area, Windows windows);

  /// True for the first direction, to the server. Costs two flags; the timer does the rest.
  void DataSent(bool blnToServer) override;
  void MouseMove(int message);
  /// Whether a window that hides can be got back by the icon.
  bool HasIcon() const;

  MenuItem mnuRestore{*this, QStringLiteral("mnuRestore"), QStringLiteral("&Restore...")};
  MenuItem mnuConfigure{*this, QStringLiteral("mnuConfigure"), QStringLiteral("&Configure...")};
  MenuItem mnuExit{*this, QStringLiteral("mnuExit"), QStringLiteral("E&xit")};
  Timer tmrSysTray;

 protected:
  void OnLoad() override;
  void OnUnload() override;

 private:
  struct Direction {
    bool pending = false;  // more data went by since the present run began
    bool animating = false;
    qint16 frame = 0;
  };

  void tmrSysTray_Timer();
  void ShowFrame();
  static void Advance(Direction& direction);
  void KeepMainWindowReachable();
  bool MainWindowIsHidden() const;
  void ShowHiddenMainWindow();
  void RestoreMainWindow();
  void PrepareMenu();
  void RestoreOrMinimize();
  bool IsMinimized() const;

  General& mGeneral;
  MainShell& mShell;
  NotificationArea& mArea;
  Windows mWindows;
  Direction mFirst;
  Direction mSecond;
  unsigned mFirings = 0;
};

}  // namespace veltrane
