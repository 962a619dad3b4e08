// Menus, bars, panels, counters.
#include "tests/ui/FrmMainTest.h"

namespace veltrane {
namespace {

TEST_F(FrmMainTest, Menus_read_as_they_should) {
  QStringList lines;
  for (const frmMain::MenuRow& row : frmMain::MenuRows()) {
    lines.append(QLatin1String(row.menu) + u'|' + QLatin1String(row.name) + u'|' +
                 (row.item ? (window.*row.item).Caption() : QStringLiteral("-")));
    if (row.item) {
      EXPECT_EQ((window.*row.item).Name(), QLatin1String(row.name));
    }
  }
  EXPECT_EQ(lines.join(u'\n'), QStringLiteral("mnuFile|mnuClearAllData|&Clear All Data\n"
                                              "mnuFile|mnuSep90|-\n"
                                              "mnuFile|mnuExit|E&xit\n"
                                              "mnuView|mnuEventHistory|&Event History\n"
                                              "mnuView|mnuConnectionDiagram|&Connection Diagram\n"
                                              "mnuView|mnuSep10|-\n"
                                              "mnuView|mnuRealTimeData|&Real Time Data...\n"
                                              "mnuView|mnuViewErrorMessages|Error &Messages...\n"
                                              "mnuView|mnuSep45|-\n"
                                              "mnuView|mnuKeepOnTop|&Keep on Top\n"
                                              "mnuTools|mnuSaveHistory|&Save Data...\n"
                                              "mnuTools|mnuSep65|-\n"
                                              "mnuTools|mnuConfigure|&Configure Ports...\n"
                                              "mnuTools|mnuFailureSimulation|&Failure Simulation...\n"
                                              "mnuTools|mnuRealTimeLogging|&Real Time Logging...\n"
                                              "mnuTools|mnuSep70|-\n"
                                              "mnuTools|mnuOptions|&Options...\n"
                                              "mnuHelp|mnuContents|&Contents...\n"
                                              "mnuHelp|mnuSep56|-\n"
                                              "mnuHelp|mnuAbout|&About...\n"
                                              "mnuPopup|mnuStopListening|S&top Listening\n"
                                              "mnuPopup|mnuProtocol|&Protocol...\n"
                                              "mnuPopup|mnuSep67|-\n"
                                              "mnuPopup|mnuSaveHistoryPopUp|Save &Data..."));
  EXPECT_TRUE(window.mnuConnectionDiagram.Checked());
  EXPECT_FALSE(window.mnuEventHistory.Checked());
  EXPECT_FALSE(window.mnuSaveHistory.Enabled());
}

TEST_F(FrmMainTest, Bars_have_their_buttons_tips_and_drop_downs) {
  QStringList lines;
  for (const ToolBar::Button& button : window.barToolbar.Buttons()) {
    QStringList menu;
    for (const ToolBar::Entry& entry : button.menu)
      menu.append(entry.text + u'=' + entry.key);
    lines.append(button.key + u'|' + button.toolTip + u'|' + menu.join(u','));
  }
  EXPECT_EQ(lines.join(u'\n'),
            QStringLiteral("Clear|Clear all data|\n"
                           "Configure|Configure ports and protocols|\n"
                           "Options|Options|\n"
                           "||\n"
                           "SaveData|Save data|\n"
                           "Realtime|Real time data options|Show Real Time Data=ShowRealTime,Hide Real Time "
                           "Data=HideRealTime\n"
                           "Errors|Error window|\n"
                           "ConnectionDiagram|Display connection diagram|Connection "
                           "Diagram=ShowConnectionDiagram,Event History=ShowEventHistory\n"
                           "||\n"
                           "KeepOnTop|Keep on top|"));
  lines.clear();
  for (const ToolBar::Button& button : window.barNavigation.Buttons())
    lines.append(button.key + u'|' + button.toolTip);
  EXPECT_EQ(lines.join(u' '), QStringLiteral("First|First Previous|Previous Next|Next Last|Last"));
}

TEST_F(FrmMainTest, Each_window_is_shown_over_this_one_without_blocking_and_on_top_with_it) {
  Show();
  window.SetSurroundings([this] {
    MainSurroundings surroundings = Around();
    surroundings.frmRealTimeLogging = &about;
    return surroundings;
  }());
  Open(AddConnection(QStringLiteral("KEY1"), 1).mstrSocketPairKey);
  const struct {
    MenuItem& item;
    const char* form;
  } rows[] = {{window.mnuRealTimeData, "frmRealTimeData"},
              {window.mnuViewErrorMessages, "frmError"},
              {window.mnuSaveHistory, "frmSaveHistory"},
              {window.mnuConfigure, "frmConfigure"},
              {window.mnuFailureSimulation, "frmProblemSimulation"},
              {window.mnuRealTimeLogging, "frmAbout"},
              {window.mnuOptions, "frmOptions"},
              {window.mnuAbout, "frmAbout"}};
  for (const bool onTop : {false, true}) {
    for (const auto& row : rows) {
      world.mJournal.Take();
      row.item.Click();
      const QString form = QLatin1String(row.form);
      QStringList expected{QStringLiteral("show ") + form + QStringLiteral(" over frmMain")};
      if (onTop) expected.append(QStringLiteral("top-most ") + form);
      EXPECT_EQ(world.mJournal.lines, expected);
    }
    window.mnuKeepOnTop.Click();
  }
}

TEST_F(FrmMainTest, An_entry_whose_window_there_is_not_is_disabled_with_its_button) {
  window.SetSurroundings({.frmError = &error});
  for (const MenuItem* item : {&window.mnuRealTimeData, &window.mnuConfigure, &window.mnuFailureSimulation,
                               &window.mnuRealTimeLogging, &window.mnuOptions, &window.mnuAbout})
    EXPECT_FALSE(item->Enabled()) << item->Name().toStdString();
  EXPECT_TRUE(window.mnuViewErrorMessages.Enabled());
  for (const char* key : {"Configure", "Options", "Realtime", "SaveData"})
    EXPECT_FALSE(window.barToolbar.ButtonEnabled(QLatin1String(key))) << key;
  window.SetSurroundings(Around());
  EXPECT_TRUE(window.mnuOptions.Enabled());
  EXPECT_TRUE(window.barToolbar.ButtonEnabled(QStringLiteral("Options")));
}

TEST_F(FrmMainTest, Keep_on_top_turns_its_mark_and_the_window) {
  Show();
  window.mnuKeepOnTop.Click();
  EXPECT_TRUE(window.KeepOnTop());
  window.barToolbar.ClickButton(QStringLiteral("KeepOnTop"));
  EXPECT_FALSE(window.KeepOnTop());
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("top-most frmMain"), QStringLiteral("not top-most frmMain")}));
}

TEST_F(FrmMainTest, A_desktop_that_refuses_to_keep_it_on_top_is_reported_and_does_no_harm) {
  Show();
  world.mDesktop.mFailTopMost = true;
  window.mnuKeepOnTop.Click();
  EXPECT_TRUE(window.KeepOnTop());
  EXPECT_EQ(world.mErrors.mTexts.size(), 1);
  window.mnuOptions.Click();
  EXPECT_TRUE(options.Visible());
}

TEST_F(FrmMainTest, Buttons_do_what_their_entries_do) {
  Show();
  const struct {
    const char* key;
    const char* line;
  } rows[] = {{"Configure", "show frmConfigure over frmMain"},
              {"Options", "show frmOptions over frmMain"},
              {"Realtime", "show frmRealTimeData over frmMain"},
              {"Errors", "show frmError over frmMain"}};
  for (const auto& row : rows) {
    world.mJournal.Take();
    window.barToolbar.ClickButton(QLatin1String(row.key));
    EXPECT_EQ(world.mJournal.lines, QStringList{QLatin1String(row.line)});
  }
  SocketPairHistory& dead = AddConnection(QStringLiteral("KEY1"), 1);
  Click(QStringLiteral("PROTO1000"));
  window.txtRealTime.SetText(QStringLiteral("data"));
  dead.mblnDead = false;
  window.barToolbar.ClickButton(QStringLiteral("Clear"));
  EXPECT_EQ(window.txtRealTime.Text(), QString());
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("ROOT")) << "the root is selected afresh";
}

TEST_F(FrmMainTest, The_drop_downs_show_and_hide_pane_and_diagram) {
  Show();
  const auto choose = [this](const char* button, const char* key) {
    window.barToolbar.ClickMenu(QLatin1String(button), QLatin1String(key));
  };
  choose("Realtime", "HideRealTime");
  EXPECT_FALSE(window.txtRealTime.Visible());
  choose("Realtime", "ShowRealTime");
  EXPECT_TRUE(window.txtRealTime.Visible());
  choose("ConnectionDiagram", "ShowEventHistory");
  EXPECT_FALSE(world.mGeneral.gblnConnectionDiagramSelected);
  EXPECT_TRUE(window.mnuEventHistory.Checked());
  choose("ConnectionDiagram", "ShowConnectionDiagram");
  EXPECT_TRUE(world.mGeneral.gblnConnectionDiagramSelected);
  EXPECT_FALSE(window.mnuEventHistory.Checked());
  EXPECT_TRUE(window.mnuConnectionDiagram.Checked());
}

TEST_F(FrmMainTest, The_diagrams_button_turns_the_view_over) {
  Show();
  world.mGeneral.gblnConnectionDiagramSelected = false;
  window.barToolbar.ClickButton(QStringLiteral("ConnectionDiagram"));
  EXPECT_TRUE(world.mGeneral.gblnConnectionDiagramSelected);
  window.barToolbar.ClickButton(QStringLiteral("ConnectionDiagram"));
  EXPECT_FALSE(world.mGeneral.gblnConnectionDiagramSelected);
}

TEST_F(FrmMainTest, Help_opens_the_first_of_its_pages) {
  window.mnuContents.Click();
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("open /opt/veltrane/Help/index.html"));
}

TEST_F(FrmMainTest, A_double_click_on_a_panel_switches_what_it_shows) {
  Show();
  problemSimulation.Load();
  const struct {
    int panel;
    CheckBox& box;
    const char* on;
    const char* off;
  } rows[] = {{4, problemSimulation.chkTerminateConnections, "Terminate: ON ", "Terminate: Off "},
              {5, problemSimulation.chkRefuseConnections, "Refuse: ON ", "Refuse: Off "},
              {7, problemSimulation.chkDangleConnections, "Dangle: ON ", "Dangle: Off "}};
  for (const auto& row : rows) {
    window.barStatus.DoubleClickPanel(row.panel);
    EXPECT_TRUE(row.box.IsOn());
    EXPECT_EQ(window.barStatus.PanelText(row.panel), QLatin1String(row.on));
    window.barStatus.DoubleClickPanel(row.panel);
    EXPECT_FALSE(row.box.IsOn());
    EXPECT_EQ(window.barStatus.PanelText(row.panel), QLatin1String(row.off));
  }
  world.mJournal.Take();
  for (const int panel : {1, 2, 3, 8, 9})
    window.barStatus.DoubleClickPanel(panel);
  EXPECT_EQ(world.mJournal.lines, QStringList());
}

TEST_F(FrmMainTest, Panel_6_with_one_direction_throttled_switches_both_off) {
  Show();
  problemSimulation.Load();
  CheckBox& up = problemSimulation.chkThrottleC2SData;
  CheckBox& down = problemSimulation.chkThrottleS2CData;
  for (CheckBox* only : {&up, &down}) {
    only->SetValue(1);
    window.barStatus.DoubleClickPanel(6);
    EXPECT_FALSE(up.IsOn()) << only->Name().toStdString();
    EXPECT_FALSE(down.IsOn()) << only->Name().toStdString();
  }
  window.barStatus.DoubleClickPanel(6);
  EXPECT_TRUE(up.IsOn());
  EXPECT_TRUE(down.IsOn());
  EXPECT_EQ(window.barStatus.PanelText(6), QStringLiteral("Throttle: ON "));
  window.barStatus.DoubleClickPanel(6);
  EXPECT_FALSE(up.IsOn());
  EXPECT_FALSE(down.IsOn());
}

TEST_F(FrmMainTest, The_panes_of_the_status_bar_take_texts_by_number) {
  window.SetPaneText(4, QStringLiteral("Terminate: ON "));
  EXPECT_EQ(window.barStatus.PanelCount(), 9);
  EXPECT_EQ(window.barStatus.PanelText(4), QStringLiteral("Terminate: ON "));
}

TEST_F(FrmMainTest, The_counters_follow_twice_a_second) {
  Show();
  AddConnection(QStringLiteral("KEY1"), 1);
  logging.mlngTotalMemoryAllocated = 5000;
  logging.mlngTotalEvents = 7;
  world.mTimers.Advance(std::chrono::milliseconds(500));
  EXPECT_EQ(window.barStatus.PanelText(1), QStringLiteral("Memory: 4 KBytes"));
  EXPECT_EQ(window.barStatus.PanelText(2), QStringLiteral("Sockets: 1"));
  EXPECT_EQ(window.barStatus.PanelText(3), QStringLiteral("Events: 7"));
}

TEST_F(FrmMainTest, The_animation_plays_while_a_connection_lives_and_a_second_stop_shows_nothing) {
  Show();
  int changes = 0;
  QObject::connect(&window.aniWorking, &Control::Changed, &window, [&] { ++changes; });
  window.tmrStats_Timer();
  window.tmrStats_Timer();
  EXPECT_EQ(changes, 0) << "with no connection each tick stops what stands";
  SocketPairHistory& first = AddConnection(QStringLiteral("KEY1"), 1);
  SocketPairHistory& second = AddConnection(QStringLiteral("KEY2"), 1);
  second.mblnDead = true;
  window.CheckAnimation();
  EXPECT_TRUE(window.aniWorking.IsPlaying());
  first.mblnDead = true;
  window.tmrStats_Timer();
  EXPECT_FALSE(window.aniWorking.IsPlaying());
  EXPECT_EQ(changes, 2);
}

TEST_F(FrmMainTest, Each_tick_without_a_connection_stops_the_animation_also_one_that_others_started) {
  Show();
  window.PlayAnimations(true);
  ASSERT_TRUE(window.aniWorking.IsPlaying());
  window.tmrStats_Timer();
  EXPECT_FALSE(window.aniWorking.IsPlaying());
}

}  // namespace
}  // namespace veltrane
