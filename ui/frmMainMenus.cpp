// The tables of menus, bars and panels, and what they do.
#include <QDir>
#include <QFileInfo>

#include <algorithm>

#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/Listening.h"
#include "engine/PortTable.h"
#include "history/Logging.h"
#include "ui/frmMain.h"

namespace veltrane {
namespace {

constexpr frmMain::MenuTitle kMenuTitles[] = {{"mnuFile", "&File"},
                                              {"mnuView", "&View"},
                                              {"mnuTools", "&Tools"},
                                              {"mnuHelp", "&Help"},
                                              {"mnuPopup", "mnuPopup"}};

}  // namespace

/// A button without a key is a separator. A click does what the entry does, or runs the procedure.
struct frmMain::ToolRow {
  const char* key;
  const char* toolTip;
  MenuItem frmMain::*item;
  void (frmMain::*run)();
};

struct frmMain::DropDownRow {
  const char* button;
  const char* text;
  const char* key;
  void (frmMain::*run)();
};

/// What a double click on a panel of the status bar switches: all boxes off when one is on, else all on.
struct frmMain::PanelRow {
  int panel;
  Form* MainSurroundings::*window;
  const char* boxes[2];
};

std::span<const frmMain::MenuTitle> frmMain::MenuTitles() {
  return kMenuTitles;
}

std::span<const frmMain::MenuRow> frmMain::MenuRows() {
  using Around = MainSurroundings;
  using Me = frmMain;
  static constexpr MenuRow kRows[] = {
      {"mnuFile", "mnuClearAllData", "&Clear All Data", &Me::mnuClearAllData, &Me::ClearAllData, nullptr},
      {"mnuFile", "mnuSep90", "", nullptr, nullptr, nullptr},
      {"mnuFile", "mnuExit", "E&xit", &Me::mnuExit, &Me::Terminate, nullptr},
      {"mnuView", "mnuEventHistory", "&Event History", &Me::mnuEventHistory, &Me::ChooseEventHistory,
       nullptr},
      {"mnuView", "mnuConnectionDiagram", "&Connection Diagram", &Me::mnuConnectionDiagram,
       &Me::ChooseDiagram, nullptr},
      {"mnuView", "mnuSep10", "", nullptr, nullptr, nullptr},
      {"mnuView", "mnuRealTimeData", "&Real Time Data...", &Me::mnuRealTimeData, nullptr,
       &Around::frmRealTimeData},
      {"mnuView", "mnuViewErrorMessages", "Error &Messages...", &Me::mnuViewErrorMessages, nullptr,
       &Around::frmError},
      {"mnuView", "mnuSep45", "", nullptr, nullptr, nullptr},
      {"mnuView", "mnuKeepOnTop", "&Keep on Top", &Me::mnuKeepOnTop, &Me::ToggleKeepOnTop, nullptr},
      {"mnuTools", "mnuSaveHistory", "&Save Data...", &Me::mnuSaveHistory, nullptr, &Around::frmSaveHistory},
      {"mnuTools", "mnuSep65", "", nullptr, nullptr, nullptr},
      {"mnuTools", "mnuConfigure", "&Configure Ports...", &Me::mnuConfigure, nullptr, &Around::frmConfigure},
      {"mnuTools", "mnuFailureSimulation", "&Failure Simulation...", &Me::mnuFailureSimulation, nullptr,
       &Around::frmProblemSimulation},
      {"mnuTools", "mnuRealTimeLogging", "&Real Time Logging...", &Me::mnuRealTimeLogging, nullptr,
       &Around::frmRealTimeLogging},
      {"mnuTools", "mnuSep70", "", nullptr, nullptr, nullptr},
      {"mnuTools", "mnuOptions", "&Options...", &Me::mnuOptions, nullptr, &Around::frmOptions},
      {"mnuHelp", "mnuContents", "&Contents...", &Me::mnuContents, &Me::ShowHelp, nullptr},
      {"mnuHelp", "mnuSep56", "", nullptr, nullptr, nullptr},
      {"mnuHelp", "mnuAbout", "&About...", &Me::mnuAbout, nullptr, &Around::frmAbout},
      {"mnuPopup", "mnuStopListening", "S&top Listening", &Me::mnuStopListening, &Me::StopListening, nullptr},
      {"mnuPopup", "mnuProtocol", "&Protocol...", &Me::mnuProtocol, &Me::ShowProtocol, nullptr},
      {"mnuPopup", "mnuSep67", "", nullptr, nullptr, nullptr},
      {"mnuPopup", "mnuSaveHistoryPopUp", "Save &Data...", &Me::mnuSaveHistoryPopUp, nullptr,
       &Around::frmSaveHistory},
  };
  return kRows;
}

const frmMain::ToolRow frmMain::kTools[] = {
    {"Clear", "Clear all data", &frmMain::mnuClearAllData, nullptr},
    {"Configure", "Configure ports and protocols", &frmMain::mnuConfigure, nullptr},
    {"Options", "Options", &frmMain::mnuOptions, nullptr},
    {"", "", nullptr, nullptr},
    {"SaveData", "Save data", &frmMain::mnuSaveHistory, nullptr},
    {"Realtime", "Real time data options", &frmMain::mnuRealTimeData, nullptr},
    {"Errors", "Error window", &frmMain::mnuViewErrorMessages, nullptr},
    {"ConnectionDiagram", "Display connection diagram", nullptr, &frmMain::ToggleView},
    {"", "", nullptr, nullptr},
    {"KeepOnTop", "Keep on top", &frmMain::mnuKeepOnTop, nullptr},
};

const frmMain::DropDownRow frmMain::kDropDowns[] = {
    {"Realtime", "Show Real Time Data", "ShowRealTime", &frmMain::ShowRealTime},
    {"Realtime", "Hide Real Time Data", "HideRealTime", &frmMain::HideRealTime},
    {"ConnectionDiagram", "Connection Diagram", "ShowConnectionDiagram", &frmMain::ChooseDiagram},
    {"ConnectionDiagram", "Event History", "ShowEventHistory", &frmMain::ChooseEventHistory},
};

const frmMain::PanelRow frmMain::kPanels[] = {
    {4, &MainSurroundings::frmProblemSimulation, {"chkTerminateConnections", nullptr}},
    {5, &MainSurroundings::frmProblemSimulation, {"chkRefuseConnections", nullptr}},
    {6, &MainSurroundings::frmProblemSimulation, {"chkThrottleC2SData", "chkThrottleS2CData"}},
    {7, &MainSurroundings::frmProblemSimulation, {"chkDangleConnections", nullptr}},
    {8, &MainSurroundings::frmRealTimeLogging, {"chkLoggingEnabled", nullptr}},
};

void frmMain::SetUpMenus() {
  for (const MenuRow& row : MenuRows()) {
    if (!row.item) continue;
    MenuItem& item = this->*row.item;
    item.SetCaption(QLatin1String(row.caption));
    if (row.run) {
      item.OnClick = [this, run = row.run] { (this->*run)(); };
    } else {
      item.OnClick = [this, window = row.window] { ShowWindow(mAround.*window, this); };
    }
  }
  mnuConnectionDiagram.SetChecked(true);
}

void frmMain::SetUpToolBars() {
  for (const ToolRow& row : kTools) {
    if (*row.key) {
      barToolbar.AddButton(QLatin1String(row.key), QLatin1String(row.toolTip));
    } else {
      barToolbar.AddSeparator();
    }
  }
  for (const DropDownRow& row : kDropDowns)
    barToolbar.AddMenuEntry(QLatin1String(row.button), {QLatin1String(row.text), QLatin1String(row.key)});
  for (const char* key : {"First", "Previous", "Next", "Last"}) {
    barNavigation.AddButton(QLatin1String(key), QLatin1String(key));
    barNavigation.SetButtonEnabled(QLatin1String(key), false);
  }
  barToolbar.OnButtonClick = [this](const QString& key) { ClickTool(key); };
  barToolbar.OnButtonMenuClick = [this](const QString& key) { ClickDropDown(key); };
  barNavigation.OnButtonClick = [this](const QString& key) { TurnPage(key); };
  barStatus.OnPanelDblClick = [this](int panel) { DoubleClickPanel(panel); };
  chkCloseRealTime.OnClick = [this] { HideRealTime(); };
}

// Entries and buttons whose window there is not cannot be used.
void frmMain::EnableByWindows() {
  for (const MenuRow& row : MenuRows()) {
    if (row.window) (this->*row.item).SetEnabled(mAround.*row.window != nullptr);
  }
  SetSavePossible(mSavePossible);
  for (const ToolRow& row : kTools) {
    if (row.item) barToolbar.SetButtonEnabled(QLatin1String(row.key), (this->*row.item).Enabled());
  }
}

void frmMain::SetSavePossible(bool possible) {
  mSavePossible = possible;
  const bool enabled = possible && mAround.frmSaveHistory;
  mnuSaveHistory.SetEnabled(enabled);
  barToolbar.SetButtonEnabled(QStringLiteral("SaveData"), enabled);
}

void frmMain::ClickTool(const QString& key) {
  for (const ToolRow& row : kTools) {
    if (key != QLatin1String(row.key)) continue;
    if (row.item) {
      (this->*row.item).Click();
    } else {
      (this->*row.run)();
    }
  }
}

void frmMain::ClickDropDown(const QString& key) {
  for (const DropDownRow& row : kDropDowns) {
    if (key == QLatin1String(row.key)) (this->*row.run)();
  }
}

void frmMain::DoubleClickPanel(int panel) {
  for (const PanelRow& row : kPanels) {
    if (row.panel != panel) continue;
    std::vector<CheckBox*> boxes;
    for (const char* name : row.boxes) {
      if (CheckBox* box = name ? BoxOf(mAround.*row.window, name) : nullptr) boxes.push_back(box);
    }
    const bool on = std::any_of(boxes.begin(), boxes.end(), [](const CheckBox* box) { return box->IsOn(); });
    // The same path as a click in the dialog, so the panel's text follows.
    for (CheckBox* box : boxes)
      box->SetValue(on ? 0 : 1);
  }
}

CheckBox* frmMain::BoxOf(const Form* window, const char* name) {
  return window ? dynamic_cast<CheckBox*>(window->FindControl(QLatin1String(name))) : nullptr;
}

bool frmMain::IsOn(const Form* window, const char* name, bool whenMissing) {
  const CheckBox* box = BoxOf(window, name);
  return box ? box->IsOn() : whenMissing;
}

void frmMain::ShowWindow(Form* window, Form* owner) {
  if (!window) return;
  window->Show(owner);
  if (mnuKeepOnTop.Checked()) mGeneral.SetTopMostWindow(*window, true);
}

void frmMain::ClearAllData() {
  mLogging.ClearAllData();
}

void frmMain::ToggleKeepOnTop() {
  mnuKeepOnTop.SetChecked(!mnuKeepOnTop.Checked());
  ApplyKeepOnTop();
}

// The help file's own pages are what can be shown on every desktop.
void frmMain::ShowHelp() {
  mGeneral.mPlatform.desktop.OpenDocument(mGeneral.mPlatform.programFolder +
                                          QStringLiteral("/Help/index.html"));
}

void frmMain::StopListening() {
  mGeneral.mSettings.Save(kProtocols, mnuPopup.Tag(), kDontUse);
  if (mGeneral.gobjListening) mGeneral.gobjListening->CheckListeningStatus(ToInt32(mnuPopup.Tag()));
}

void frmMain::ShowProtocol() {
  if (mAround.portConfiguration)
    mAround.portConfiguration->SelectPort(QStringLiteral("KEY") + mnuPopup.Tag());
  ShowWindow(mAround.frmConfigure, nullptr);
}

void frmMain::ShowRealTime() {
  SetRealTimeShown(true);
}

void frmMain::HideRealTime() {
  SetRealTimeShown(false);
}

void frmMain::SetRealTimeShown(bool shown) {
  if (CheckBox* box = BoxOf(mAround.frmRealTimeData, "chkShowRealTimeData")) box->SetValue(shown ? 1 : 0);
  ResizeForm();
}

bool frmMain::RealTimeShown() const {
  return IsOn(mAround.frmRealTimeData, "chkShowRealTimeData", true);
}

}  // namespace veltrane
