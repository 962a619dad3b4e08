#include "ui/frmMain.h"

#include "engine/General.h"
#include "engine/Listening.h"
#include "history/Logging.h"

namespace veltrane {
namespace {

// Sizes that the window is made with. What it is opened larger than that goes to the upper pane.
constexpr int kDesignedScaleHeight = 7200;
constexpr float kTreeWidth = 3720;
constexpr float kDetailsHeight = 2000;

}  // namespace

frmMain::frmMain(General& general, Logging& logging)
    : Form(general.mPlatform.desktop, QStringLiteral("frmMain")),
      tmrRealTimeData(general.mPlatform.timers, [this] { tmrRealTimeData_Timer(); }),
      tmrStats(general.mPlatform.timers, [this] { tmrStats_Timer(); }),
      tmrKillDeadSockets(general.mPlatform.timers, [this] { mLogging.KillDeadSocketConnections(); }),
      tmrUnloadSocketPairs(general.mPlatform.timers, [this] { UnloadSocketPairs(); }),
      mGeneral(general),
      mLogging(logging),
      mDiagram(mPages,
               {panDiagramOuter, panDiagram, fraConnectionPanel, scrConnectionPanelHoriz,
                scrConnectionPanelVert, shpHighlight, pgrRefresh},
               general.mPlatform.errors, general.mPlatform.programFolder + QStringLiteral("/res/"),
               [this] { return IsOn(mAround.frmOptions, "chkAnimateConnectionDiagram", true); }),
      mlngLastScaleHeight(kDesignedScaleHeight) {
  SetCaption(QStringLiteral("Veltrane"));
  tmrRealTimeData.SetEnabled(false);
  SetUpMenus();
  SetUpToolBars();
  SetUpLayout();
  tvwSockets.OnNodeClick = [this](TreeNode& node) { tvwSockets_NodeClick(node); };
  tvwSockets.OnSelectionLost = [this](TreeNode& node) { FollowSelection(node); };
  tvwSockets.OnUnfold = [this](TreeNode& node) { FillBranch(node); };
  tvwSockets.OnDblClick = [this] { ExpandSelected(); };
  tvwSockets.OnMouseDown = [this](TreeNode* node, bool right, int x, int y) {
    // A click off any node, or on one that goes away meanwhile, means nothing to the user.
    if (right && node) PastFailures([&] { RightClick(node, x, y); });
  };
  lvwDetails.OnColumnClick = [this](int column) { SortByColumn(column); };
  lvwDetails.OnDblClick = [this] { PastFailures([this] { GoDeeper(); }); };
  fraConnectionPanel.OnLinkClick = [this](const std::shared_ptr<DiagramFigure>& link) { ClickLink(link); };
  EnableByWindows();
}

void frmMain::SetSurroundings(MainSurroundings surroundings) {
  mAround = std::move(surroundings);
  EnableByWindows();
}

void frmMain::OnLoad() {
  SetupScreen();
  Rect frame = fraConnectionPanel.Place();
  frame.top = 0;
  fraConnectionPanel.SetPlace(frame);
  // Its settings stand in its controls before the first event.
  if (mAround.frmRealTimeData) mAround.frmRealTimeData->Load();
  msngTreeWidth = kTreeWidth;
  msngDetailsHeight = kDetailsHeight;
  ShowMonitoringTitle();
  StartTimers();
}

void frmMain::SetupScreen() {
  mnodSelectedNode = TreeView::Keep(tvwSockets.Add(
      QString(), QStringLiteral("ROOT"), QStringLiteral("All Activity"), QStringLiteral("AllActivity")));
  tvwSockets.Refresh();
  mLogging.LoadAllProtocols(*mGeneral.gobjListening);
  mnodSelectedNode->SetExpanded(true);
  // Loading the options puts them into force; the icon comes with its option.
  if (mAround.frmOptions) mAround.frmOptions->Load();
  ConfigureGridForAllActivity();
  barStatus.SetVisible(IsOn(mAround.frmOptions, "chkShowStatusBar", true));
  if (RunsFromTray() && mAround.frmSysTray) mAround.frmSysTray->Hide();
  if (IsOn(mAround.frmOptions, "chkRunMinimized", false)) {
    SetState(WindowState::kMinimized);
    if (mAround.frmError) mAround.frmError->Hide();
  }
  PastFailures(
      [this] { aniWorking.Open(mGeneral.mPlatform.programFolder + QStringLiteral("/res/Processing.avi")); });
}

void frmMain::StartTimers() {
  tmrRealTimeData.SetInterval(100);
  tmrStats.SetInterval(500);
  tmrKillDeadSockets.SetInterval(500);
  tmrUnloadSocketPairs.SetInterval(1000);
}

// A window that comes up minimised gets no other size for the tray to hide it at.
void frmMain::OnShown() {
  if (State() == WindowState::kMinimized) ResizeForm();
}

void frmMain::PlayAnimations(bool play) {
  mDiagram.PlayAll(play);
  if (play) {
    aniWorking.Play();
  } else {
    aniWorking.Stop();
  }
}

void frmMain::tmrRealTimeData_Timer() {
  if (mAround.drainRealTimeData) mAround.drainRealTimeData();
}

void frmMain::UnloadSocketPairs() {
  if (mGeneral.gobjListening) mGeneral.gobjListening->UnloadTerminatedPairs();
}

bool frmMain::RunsFromTray() const {
  return IsOn(mAround.frmOptions, "chkDisplayInSysTray", false);
}

bool frmMain::HidesInTray() const {
  return RunsFromTray() && (!mAround.hasTray || mAround.hasTray());
}

void frmMain::ApplyKeepOnTop() {
  mGeneral.SetTopMostWindow(*this, mnuKeepOnTop.Checked());
}

// The flag stays when the closing is called off: the error window can from then on really be closed.
bool frmMain::OnQueryUnload() {
  mGeneral.gblnClosing = true;
  if (!RunsFromTray() || mTerminating) return true;
  SetState(WindowState::kMinimized);
  if (mAround.frmError) mAround.frmError->Hide();
  return false;
}

void frmMain::OnUnload() {
  for (Timer* timer : {&tmrKillDeadSockets, &tmrRealTimeData, &tmrStats, &tmrUnloadSocketPairs})
    timer->SetEnabled(false);
  Terminate();
}

void frmMain::Terminate() {
  if (std::exchange(mTerminating, true)) return;
  // An event of a pair or of a listener may have led here; each holds what it runs in until it has returned.
  const std::shared_ptr<Listening> listening = mGeneral.gobjListening;
  PastFailures([&] {
    if (listening) listening->DeInitaliseListeningSockets();
  });
  mGeneral.gobjListening.reset();
  mGeneral.gblnClosing = true;
  for (Form* window :
       {mAround.frmError, mAround.frmEventDetails, mAround.frmConfigure, mAround.frmOptions, mAround.frmPort,
        mAround.frmRealTimeData, static_cast<Form*>(this), mAround.frmSysTray}) {
    PastFailures([&] {
      if (window) window->Unload();
    });
  }
  PastFailures([&] {
    if (mAround.endProgram) mAround.endProgram();
  });
}

}  // namespace veltrane
