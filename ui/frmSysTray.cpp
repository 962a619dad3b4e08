#include "ui/frmSysTray.h"

#include "engine/General.h"
#include "engine/MainWindow.h"
#include "engine/PortTable.h"
#include "ui/MainShell.h"
#include "ui/NotificationArea.h"

namespace veltrane {
namespace {

constexpr int kIntervalMs = 400;
/// So many firings make two seconds.
constexpr int kFiringsPerLook = 5;

}  // namespace

frmSysTray::frmSysTray(General& general, MainShell& shell, NotificationArea& area, Windows windows)
    : Form(general.mPlatform.desktop, QStringLiteral("frmSysTray")),
      tmrSysTray(general.mPlatform.timers, [this] { tmrSysTray_Timer(); }),
      mGeneral(general),
      mShell(shell),
      mArea(area),
      mWindows(windows) {
  tmrSysTray.SetEnabled(false);
  tmrSysTray.SetInterval(kIntervalMs);
  mnuRestore.OnClick = [this] { RestoreOrMinimize(); };
  mnuConfigure.OnClick = [this] { mWindows.configure.Show(); };
  mnuExit.OnClick = [this] { mShell.Terminate(); };
}

void frmSysTray::OnLoad() {
  // What went by while there was no icon is not shown any more.
  mFirst = mSecond = {};
  mArea.AddIcon(*this, kApplicationName);
  mArea.SetImage(kImageOfRest);
  tmrSysTray.SetEnabled(true);
}

void frmSysTray::OnUnload() {
  tmrSysTray.SetEnabled(false);
  mArea.RemoveIcon();
  ShowHiddenMainWindow();
}

void frmSysTray::DataSent(bool blnToServer) {
  Direction& direction = blnToServer ? mFirst : mSecond;
  direction.pending = true;
  direction.animating = true;
}

bool frmSysTray::HasIcon() const {
  return IsLoaded() && mArea.IsAvailable();
}

void frmSysTray::tmrSysTray_Timer() {
  ShowFrame();
  Advance(mFirst);
  Advance(mSecond);
  if (++mFirings % kFiringsPerLook == 0) KeepMainWindowReachable();
}

void frmSysTray::ShowFrame() {
  const bool animating = mFirst.animating || mSecond.animating;
  mArea.SetImage(animating ? kFramesPerDirection * mSecond.frame + mFirst.frame + 1 : kImageOfRest);
}

// One burst of data is one run of frames: what was sent before the run's first frame belongs to that run,
// what is sent from then on earns one run more.
void frmSysTray::Advance(Direction& direction) {
  if (!direction.animating) return;
  if (direction.frame == 0) direction.pending = false;
  if (++direction.frame < kFramesPerDirection) return;
  direction.frame = 0;
  direction.animating = direction.pending;
}

// A window that has hidden behind the icon would be lost when the panel goes that holds the icon.
void frmSysTray::KeepMainWindowReachable() {
  if (MainWindowIsHidden() && !mArea.IsAvailable()) ShowHiddenMainWindow();
}

bool frmSysTray::MainWindowIsHidden() const {
  const Form& window = mShell.Window();
  return window.IsLoaded() && !window.Visible() && IsMinimized();
}

// It stays minimised. At the end of the program the main window goes first and has nothing to show.
void frmSysTray::ShowHiddenMainWindow() {
  if (MainWindowIsHidden()) PastFailures([this] { mShell.Window().Show(); });
}

bool frmSysTray::IsMinimized() const {
  return mShell.Window().State() == WindowState::kMinimized;
}

void frmSysTray::MouseMove(int message) {
  if (message == kLeftButtonDoubleClick) RestoreMainWindow();
  if (message == kRightButtonUp) PrepareMenu();
}

void frmSysTray::RestoreMainWindow() {
  Form& window = mShell.Window();
  PastFailures([&] { window.SetState(WindowState::kNormal); });
  PastFailures([&] { window.BringToFront(); });
  PastFailures([&] { window.Show(); });
}

void frmSysTray::PrepareMenu() {
  PastFailures([this] { BringToFront(); });
  mnuRestore.SetCaption(IsMinimized() ? QStringLiteral("Restore...") : QStringLiteral("Minimize"));
}

void frmSysTray::RestoreOrMinimize() {
  Form& window = mShell.Window();
  if (IsMinimized()) {
    RestoreMainWindow();
    PastFailures([&] {
      if (mGeneral.frmMain->KeepOnTop()) mGeneral.SetTopMostWindow(window, true);
    });
    return;
  }
  PastFailures([&] { window.SetState(WindowState::kMinimized); });
  PastFailures([&] { mWindows.error.Hide(); });
}

}  // namespace veltrane
