// The shell: coming up, timers, closing, the end, the layout of what is shown.
#include "tests/ui/FrmMainTest.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;

TEST_F(FrmMainTest, The_tree_shows_the_ports_as_they_stand) {
  Show();
  EXPECT_EQ(window.Caption(), QStringLiteral("Veltrane"));
  const TreeNode& root = Node(QStringLiteral("ROOT"));
  EXPECT_EQ(root.Text(), QStringLiteral("All Activity"));
  EXPECT_EQ(root.Image(), QStringLiteral("AllActivity"));
  EXPECT_TRUE(root.Expanded());
  ASSERT_EQ(root.ChildCount(), 3);
  EXPECT_EQ(root.Child(0).Text(), QStringLiteral("Apps (1000)"));
  EXPECT_EQ(root.Child(1).Text(), QStringLiteral("SMTP (25) - Not Listening"));
  EXPECT_EQ(root.Child(0).Tag(), QStringLiteral("1000"));
  EXPECT_EQ(window.tvwSockets.SelectedItem(), &root);
  EXPECT_EQ(window.mnodSelectedNode.get(), &root);
  EXPECT_EQ(Columns().size(), 9);
}

TEST_F(FrmMainTest, Loading_sets_titles_sizes_and_the_animation_and_loads_the_real_time_dialog) {
  Show();
  EXPECT_EQ(window.lblSockets.PanelText(1), QStringLiteral("Monitoring: thishost (127.0.0.1)"));
  EXPECT_EQ(window.lblDetails.PanelText(1), QStringLiteral("Details for All Activity"));
  EXPECT_EQ(window.lblRealTime.Caption(), QStringLiteral("Real time data for All Activity"));
  EXPECT_EQ(window.aniWorking.File(), QStringLiteral("/opt/veltrane/res/Processing.avi"));
  EXPECT_TRUE(realTimeData.IsLoaded());
  EXPECT_FALSE(realTimeData.Visible());
  EXPECT_EQ(TreeWidth(), 3720);
  EXPECT_EQ(DetailsHeight(), 2000 + 10500 - 7200)
      << "what the window is opened larger goes to the upper pane";
}

TEST_F(FrmMainTest, Without_any_port_the_title_tells_no_address) {
  world.mGeneral.gobjListening->DeInitaliseListeningSockets();
  window.Load();
  EXPECT_EQ(window.lblSockets.PanelText(1), QStringLiteral("Monitoring: "));
}

TEST_F(FrmMainTest, The_options_decide_on_status_bar_tray_and_minimised_start) {
  chkShowStatusBar.SetValue(0);
  chkDisplayInSysTray.SetValue(1);
  chkRunMinimized.SetValue(1);
  error.Show();
  window.Show();
  EXPECT_FALSE(window.barStatus.Visible());
  EXPECT_TRUE(sysTray.IsLoaded());
  EXPECT_FALSE(sysTray.Visible());
  EXPECT_EQ(window.State(), WindowState::kMinimized);
  EXPECT_FALSE(error.Visible());
  EXPECT_FALSE(window.Visible()) << "it lives in the tray until it is restored";
}

TEST_F(FrmMainTest, The_four_timers_have_their_intervals_and_the_one_of_the_pane_stays_off) {
  Show();
  EXPECT_EQ(window.tmrStats.Interval(), 500);
  EXPECT_EQ(window.tmrKillDeadSockets.Interval(), 500);
  EXPECT_EQ(window.tmrUnloadSocketPairs.Interval(), 1000);
  EXPECT_EQ(window.tmrRealTimeData.Interval(), 100);
  EXPECT_FALSE(window.tmrRealTimeData.Enabled());
}

TEST_F(FrmMainTest, The_real_time_procedure_drains_at_once) {
  int drains = 0;
  MainSurroundings surroundings = Around();
  surroundings.drainRealTimeData = [&] { ++drains; };
  window.SetSurroundings(surroundings);
  window.tmrRealTimeData_Timer();
  EXPECT_EQ(drains, 1);
}

TEST_F(FrmMainTest, Exit_takes_everything_down_in_order) {
  Show();
  Listener().Request(1);
  for (Form* form :
       {static_cast<Form*>(&error), &configure, &eventDetails, &options, &realTimeData, &sysTray})
    form->Show();
  world.mJournal.Take();
  window.mnuExit.Click();
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("socket.Close"), QStringLiteral("socket.Close"),
                         QStringLiteral("socket.Close"), QStringLiteral("hide frmError"),
                         QStringLiteral("hide frmEventDetails"), QStringLiteral("hide frmConfigure"),
                         QStringLiteral("hide frmOptions"), QStringLiteral("hide frmRealTimeData"),
                         QStringLiteral("hide frmMain"), QStringLiteral("hide frmSysTray"),
                         QStringLiteral("end")}));
  EXPECT_FALSE(world.mGeneral.gobjListening);
  EXPECT_TRUE(world.mGeneral.gblnClosing);
  EXPECT_TRUE(world.mSockets.mSockets.isEmpty());
  for (const Timer* timer :
       {&window.tmrKillDeadSockets, &window.tmrRealTimeData, &window.tmrStats, &window.tmrUnloadSocketPairs})
    EXPECT_FALSE(timer->Enabled());
}

TEST_F(FrmMainTest, Closing_the_window_is_exit_and_a_second_exit_does_nothing) {
  Show();
  EXPECT_TRUE(window.Unload());
  EXPECT_EQ(world.mJournal.lines.count(QStringLiteral("end")), 1);
  window.Terminate();
  EXPECT_EQ(world.mJournal.lines.count(QStringLiteral("end")), 1);
}

TEST_F(FrmMainTest, With_the_tray_option_closing_keeps_all_sockets_listening_and_gblnClosing_stays) {
  Show();
  chkDisplayInSysTray.SetValue(1);
  error.Show();
  EXPECT_FALSE(window.Unload());
  EXPECT_EQ(Listener().State(), SocketState::kListening);
  EXPECT_EQ(window.State(), WindowState::kMinimized);
  EXPECT_FALSE(window.Visible());
  EXPECT_FALSE(error.Visible());
  EXPECT_TRUE(world.mGeneral.gblnClosing);
  EXPECT_TRUE(error.Unload());
  EXPECT_FALSE(error.IsLoaded()) << "from now on the error window is really unloaded";
  EXPECT_FALSE(world.mJournal.lines.contains(QStringLiteral("end")));
}

TEST_F(FrmMainTest, The_trays_exit_ends_the_program_also_with_the_tray_option) {
  Show();
  chkDisplayInSysTray.SetValue(1);
  window.Terminate();
  EXPECT_FALSE(window.IsLoaded());
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("end"));
}

TEST_F(FrmMainTest, On_a_desktop_without_a_tray_the_window_is_only_minimised) {
  MainSurroundings surroundings = Around();
  surroundings.hasTray = [] { return false; };
  window.SetSurroundings(surroundings);
  Show();
  chkDisplayInSysTray.SetValue(1);
  EXPECT_FALSE(window.Unload());
  EXPECT_EQ(window.State(), WindowState::kMinimized);
  EXPECT_TRUE(window.Visible());
}

TEST_F(FrmMainTest, The_end_may_come_before_anything_listens) {
  world.mGeneral.gobjListening.reset();
  window.Terminate();
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("end"));
}

TEST_F(FrmMainTest, The_end_may_come_from_inside_a_pairs_event) {
  Show();
  Listener().Request(1);
  StubSocket* server = world.mSockets.mSockets[world.mSockets.mSockets.size() - 2];
  const std::weak_ptr<SocketPair> pair = world.mGeneral.gobjListening->mobjSocketPairs.Item(1);
  class Ender : public JournalRecorder {
   public:
    Ender(Journal& journal, frmMain& window) : JournalRecorder(journal), mWindow(window) {}
    void ServerBytesReceived(SocketPair&, const Payload&, bool) override { mWindow.Terminate(); }

   private:
    frmMain& mWindow;
  } ender(world.mJournal, window);
  pair.lock()->mobjProtocolHandler->mobjLogging = &ender;
  server->Arrive("x");
  EXPECT_TRUE(pair.expired());
  EXPECT_TRUE(world.mSockets.mSockets.isEmpty());
}

TEST_F(FrmMainTest, Terminated_pairs_are_swept_once_a_second) {
  Show();
  Listener().Request(1);
  world.mGeneral.gobjListening->mobjSocketPairs.Item(1)->Terminate();
  world.mTimers.Advance(milliseconds(999));
  EXPECT_EQ(world.mGeneral.gobjListening->LoadedPairs().size(), 1U);
  world.mTimers.Advance(milliseconds(1));
  EXPECT_TRUE(world.mGeneral.gobjListening->LoadedPairs().empty());
}

TEST_F(FrmMainTest, Hiding_the_toolbar_hides_animation_and_lines_and_moves_the_tree_up) {
  Show();
  const Rect before = window.tvwSockets.Place();
  window.barToolbar.SetVisible(false);
  window.ResizeForm();
  EXPECT_FALSE(window.panWorking.Visible());
  EXPECT_FALSE(window.lneSep[0].Visible());
  EXPECT_FALSE(window.lneSep[1].Visible());
  EXPECT_EQ(window.tvwSockets.Place().height, before.height);
  EXPECT_EQ(window.tvwSockets.Place().top, before.top - window.barToolbar.Place().height);
  window.barToolbar.SetVisible(true);
  window.ResizeForm();
  EXPECT_TRUE(window.panWorking.Visible());
  EXPECT_EQ(window.tvwSockets.Place(), before);
}

TEST_F(FrmMainTest, The_windows_growth_goes_to_the_upper_pane_and_comes_back) {
  Show();
  const Rect pane = window.txtRealTime.Place();
  window.FaceResized({}, 15000, 12000);
  EXPECT_EQ(window.lvwDetails.Place().height, 5300 + 1500);
  EXPECT_EQ(window.txtRealTime.Place().height, pane.height);
  window.FaceResized({}, 15000, 100);
  window.FaceResized({}, 15000, 10500);
  EXPECT_EQ(window.lvwDetails.Place().height, 5300);
}

TEST_F(FrmMainTest, A_minimised_window_without_tray_skips_the_layout_and_has_it_back_on_restore) {
  Show();
  const Rect grid = window.lvwDetails.Place();
  window.FaceStateChanged(WindowState::kMinimized);
  window.FaceResized({}, 500, 300);
  EXPECT_EQ(window.lvwDetails.Place(), grid);
  EXPECT_TRUE(window.Visible());
  window.FaceResized({}, 15000, 10500);
  window.FaceStateChanged(WindowState::kNormal);
  EXPECT_EQ(window.lvwDetails.Place(), grid);
  window.FaceStateChanged(WindowState::kMinimized);
  window.FaceResized({}, 15000, 11500);
  window.FaceStateChanged(WindowState::kNormal);
  EXPECT_EQ(window.lvwDetails.Place().height, grid.height + 1000) << "the restore runs the layout";
}

TEST_F(FrmMainTest, The_close_box_and_the_dialog_hide_and_show_the_real_time_pane) {
  Show();
  EXPECT_EQ(window.txtRealTime.RightMargin(), 64000);
  window.chkCloseRealTime.SetValue(1);
  EXPECT_FALSE(chkShowRealTimeData.IsOn());
  for (const Control* control : std::initializer_list<const Control*>{
           &window.txtRealTime, &window.lblRealTime, &window.chkCloseRealTime, &window.imgSplitterHoriz})
    EXPECT_FALSE(control->Visible()) << control->Name().toStdString();
  EXPECT_EQ(window.lvwDetails.Place().height, window.tvwSockets.Place().height);
  chkShowRealTimeData.SetValue(1);
  EXPECT_TRUE(window.txtRealTime.Visible());
  EXPECT_EQ(window.lvwDetails.Place().height, 5300);
}

TEST_F(FrmMainTest, Dragging_past_the_limit_leaves_the_shape_and_the_stored_size_at_the_limit) {
  Show();
  const Rect grid = window.lvwDetails.Place();
  window.imgSplitterHoriz.MouseDown();
  EXPECT_TRUE(window.shpDrag.Visible());
  EXPECT_EQ(window.shpDrag.Place(), window.imgSplitterHoriz.Place());
  window.imgSplitterHoriz.MouseMove(0, 90000);
  EXPECT_EQ(window.lvwDetails.Place(), grid) << "the panes move only on release";
  window.imgSplitterHoriz.MouseUp();
  EXPECT_FALSE(window.shpDrag.Visible());
  EXPECT_EQ(DetailsHeight(), 10500 - 2800);
  EXPECT_EQ(window.lvwDetails.Place().height, 10500 - 2800);
  window.imgSplitterHoriz.MouseDown();
  window.imgSplitterHoriz.MouseMove(0, -90000);
  window.imgSplitterHoriz.MouseUp();
  EXPECT_EQ(DetailsHeight(), 1000);

  window.imgSplitterVert.MouseDown();
  window.imgSplitterVert.MouseMove(-90000, 0);
  window.imgSplitterVert.MouseUp();
  EXPECT_EQ(TreeWidth(), 500);
  window.imgSplitterVert.MouseDown();
  window.imgSplitterVert.MouseMove(90000, 0);
  window.imgSplitterVert.MouseUp();
  EXPECT_EQ(TreeWidth(), 14000);
}

TEST_F(FrmMainTest, A_click_on_a_splitter_and_a_move_without_one_change_nothing) {
  Show();
  window.imgSplitterVert.MouseMove(300, 0);
  window.imgSplitterVert.MouseUp();
  window.imgSplitterHoriz.MouseDown();
  window.imgSplitterHoriz.MouseUp();
  EXPECT_EQ(TreeWidth(), 3720);
  EXPECT_EQ(DetailsHeight(), 5300);
}

}  // namespace
}  // namespace veltrane
