#include "failure/frmProblemSimulation.h"

#include <vector>

#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/Listening.h"
#include "engine/PortTable.h"
#include "engine/StatusPanes.h"
#include "failure/FailureFields.h"

namespace veltrane {
namespace {

constexpr double kLongestPeriod = 60000;

}  // namespace

/// A pane of the status bar: on when one of its boxes is.
struct frmProblemSimulation::Pane {
  int number;
  CheckBox frmProblemSimulation::*box;
  CheckBox frmProblemSimulation::*otherBox;
  const char* on;
  const char* off;
};

frmProblemSimulation::frmProblemSimulation(General& general, StatusPanes& statusPanes)
    : Form(general.mPlatform.desktop, QStringLiteral("frmProblemSimulation")),
      mGeneral(general),
      mStatusPanes(statusPanes) {
  SetCaption(QStringLiteral("Connection Failure Simulation Strategies"));
  cmdOK.OnClick = [this] { Hide(); };
  SetCancelButton(cmdOK);
  cmdTerminateAllConnections.OnClick = [this] {
    ForEachOpenConnection(&SocketPair::tmrTerminationTime_Timer);
  };
  cmdDangleAll.OnClick = [this] { ForEachOpenConnection(&SocketPair::tmrDangleStartTimer_Timer); };
  for (const Field& field : Fields()) {
    if (field.checkBox) (this->*field.checkBox).OnClick = [this] { RefreshFailureStatus(); };
    if (!field.textBox) continue;
    TextBox& box = this->*field.textBox;
    box.OnLostFocus = [this, &box, check = field.check] { CheckOnLeaving(box, check); };
  }
}

// Others read the controls as long as the program runs. Closing the window's frame keeps what stands in them,
// which the button "Close" leaves to the end of the program. There the listener goes before the windows; that
// the program is closing says less, because a closing can be called off.
bool frmProblemSimulation::OnQueryUnload() {
  if (!mGeneral.gobjListening) return true;
  // First: a store that takes nothing must not hold the window.
  Hide();
  mGeneral.Guard(
      u"An error occurred while attempting to save the failure settings.  The operating system reports: ",
      [this] { SaveSettings(); });
  return false;
}

void frmProblemSimulation::CheckOnLeaving(TextBox& box, Check check) {
  // The focus also leaves when the window goes; nobody could answer then.
  if (!Visible()) return;
  if (!(this->*check)(box.Text())) box.SetFocus();
}

bool frmProblemSimulation::IsValidPeriod(const QString& text) {
  if (!IsNumeric(text)) {
    Tell(QStringLiteral("This value must be numeric."));
    return false;
  }
  const double value = ToDoubleOrInfinity(text);
  if (value >= 1 && value <= kLongestPeriod) return true;
  // Without the "must", as it has always read; the next text too.
  Tell(QStringLiteral("This value lie between 1 and 60000."));
  return false;
}

bool frmProblemSimulation::IsValidAmount(const QString& text) {
  if (!IsNumeric(text)) {
    Tell(QStringLiteral("This value must be numeric."));
    return false;
  }
  if (ToDoubleOrInfinity(text) >= 1) return true;
  Tell(QStringLiteral("This value be greater than 0."));
  return false;
}

void frmProblemSimulation::Tell(const QString& text) {
  GetDesktop().Ask({text, BoxIcon::kInformation, BoxButtons::kOk, kApplicationName});
}

void frmProblemSimulation::RefreshFailureStatus() {
  using F = frmProblemSimulation;
  static constexpr Pane kPanes[] = {
      {4, &F::chkTerminateConnections, &F::chkTerminateConnections, "Terminate: ON ", "Terminate: Off "},
      {5, &F::chkRefuseConnections, &F::chkRefuseConnections, "Refuse: ON ", "Refuse: Off "},
      {6, &F::chkThrottleS2CData, &F::chkThrottleC2SData, "Throttle: ON ", "Throttle: Off "},
      {7, &F::chkDangleConnections, &F::chkDangleConnections, "Dangle: ON ", "Dangle: Off "},
  };
  for (const Pane& pane : kPanes) {
    const bool on = (this->*pane.box).IsOn() || (this->*pane.otherBox).IsOn();
    mStatusPanes.SetPaneText(pane.number, QString::fromLatin1(on ? pane.on : pane.off));
  }
}

void frmProblemSimulation::ForEachOpenConnection(void (SocketPair::*act)()) {
  if (!mGeneral.gobjListening) return;
  // From a copy: what the handlers do on the way may take pairs off the list, or end the program.
  const KeyedList<std::shared_ptr<SocketPair>>& list = mGeneral.gobjListening->mobjSocketPairs;
  std::vector<std::shared_ptr<SocketPair>> pairs;
  for (qsizetype i = 1; i <= list.Count(); ++i)
    pairs.push_back(list.Item(i));
  for (const std::shared_ptr<SocketPair>& pair : pairs) {
    if (!pair->Dead()) (pair.get()->*act)();
  }
}

}  // namespace veltrane
