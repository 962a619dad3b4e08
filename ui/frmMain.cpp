#include "ui/frmMain.h"

#include "engine/General.h"
#include "engine/Listening.h"
#include "history/Logging.h"

namespace veltrane {

frmMain::frmMain(General& general, Logging& logging, Form& errorForm)
    : Form(general.mPlatform.desktop, QStringLiteral("frmMain")),
      tmrUnloadSocketPairs(general.mPlatform.timers, [this] { UnloadSocketPairs(); }),
      mGeneral(general),
      mLogging(logging),
      mErrorForm(errorForm) {
  SetCaption(QStringLiteral("Veltrane"));
  mnuExit.OnClick = [this] { Terminate(); };
  mnuViewErrorMessages.OnClick = [this] { mErrorForm.Show(this); };
  mnuKeepOnTop.OnClick = [this] {
    mnuKeepOnTop.SetChecked(!mnuKeepOnTop.Checked());
    ApplyKeepOnTop();
  };
}

void frmMain::OnLoad() {
  SetupScreen();
  tmrUnloadSocketPairs.SetInterval(1000);
}

void frmMain::SetupScreen() {
  tvwSockets.Add(QString(), QStringLiteral("ROOT"), QStringLiteral("All Activity"),
                 QStringLiteral("AllActivity"));
  tvwSockets.Refresh();
  mLogging.LoadAllProtocols(*mGeneral.gobjListening);
  tvwSockets.Node(QStringLiteral("ROOT")).SetExpanded(true);
}

void frmMain::ApplyKeepOnTop() {
  mGeneral.SetTopMostWindow(*this, mnuKeepOnTop.Checked());
}

void frmMain::UnloadSocketPairs() {
  if (mGeneral.gobjListening) mGeneral.gobjListening->UnloadTerminatedPairs();
}

bool frmMain::OnQueryUnload() {
  mGeneral.gblnClosing = true;
  return true;
}

void frmMain::OnUnload() {
  tmrUnloadSocketPairs.SetEnabled(false);
  Terminate();
}

void frmMain::Terminate() {
  if (mTerminating) return;
  mTerminating = true;
  // A pair's own event may have led here; the listener then lives until that event has returned.
  const std::shared_ptr<Listening> listening = mGeneral.gobjListening;
  PastFailures([&] {
    if (listening) listening->DeInitaliseListeningSockets();
  });
  mGeneral.gobjListening.reset();
  mGeneral.gblnClosing = true;
  for (Form* window : mSurroundings.windows) {
    PastFailures([&] { window->Unload(); });
  }
  PastFailures([&] { Unload(); });
  PastFailures([&] {
    if (mSurroundings.endProgram) mSurroundings.endProgram();
  });
}

}  // namespace veltrane
