// The titles of the panes, the counters of the status bar, the working animation.
#include "engine/General.h"
#include "engine/Listening.h"
#include "history/Logging.h"
#include "ui/frmMain.h"

namespace veltrane {

void frmMain::ShowMonitoringTitle() {
  QString where = QStringLiteral("Monitoring: ");
  // With no port in the table there is no address to tell.
  PastFailures([&] {
    const Socket& first = *mGeneral.gobjListening->mcolListeningSocket.Item(1);
    where += first.LocalHostName() + QStringLiteral(" (") + first.LocalIP() + u')';
  });
  lblSockets.SetPanelText(1, where);
}

void frmMain::RefreshPaneTitles() {
  const TreeNode* selected = tvwSockets.SelectedItem();
  if (!selected) return;
  lblRealTime.SetCaption(QStringLiteral("Real time data for ") + selected->Text());
  lblDetails.SetPanelText(1, QStringLiteral("Details for ") + selected->Text());
}

void frmMain::tmrStats_Timer() {
  // The running total may have run below zero; here alone it is put right.
  if (mLogging.mlngTotalMemoryAllocated < 0) mLogging.mlngTotalMemoryAllocated = 0;
  barStatus.SetPanelText(1, QStringLiteral("Memory: ") +
                                QString::number(mLogging.mlngTotalMemoryAllocated / 1024) +
                                QStringLiteral(" KBytes"));
  barStatus.SetPanelText(
      2, QStringLiteral("Sockets: ") + QString::number(mLogging.mobjSocketPairHistory.Count()));
  barStatus.SetPanelText(3, QStringLiteral("Events: ") + QString::number(mLogging.mlngTotalEvents));
  CheckAnimation();
}

void frmMain::CheckAnimation() {
  PastFailures([this] {
    const auto& histories = mLogging.mobjSocketPairHistory;
    bool alive = false;
    // From the youngest on, which is the likeliest to live: this runs at every accepted connection.
    for (qsizetype i = histories.Count(); i >= 1 && !alive; --i)
      alive = !histories.Item(i)->mblnDead;
    if (!alive) {
      aniWorking.Stop();
    } else if (!mblnWorkingAnimation) {
      aniWorking.Play();
    }
    mblnWorkingAnimation = alive;
  });
}

}  // namespace veltrane
