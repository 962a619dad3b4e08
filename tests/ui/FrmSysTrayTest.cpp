#include <gtest/gtest.h>

#include "tests/support/DialogFakes.h"
#include "ui/frmSysTray.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;

struct FrmSysTrayTest : testing::Test {
  FrmSysTrayTest() { world.Listen(); }
  /// The images of so many firings of the timer.
  QList<int> Images(int firings) {
    area.mImages.clear();
    world.mTimers.Advance(milliseconds(400 * firings));
    return std::exchange(area.mImages, {});
  }
  void LoadAndForget() {
    tray.Load();
    world.mMain.Show();
    world.mJournal.Take();
  }

  DialogWorld world;
  Form configure{world.mDesktop, QStringLiteral("frmConfigure")};
  Form error{world.mDesktop, QStringLiteral("frmError")};
  FakeNotificationArea area;
  frmSysTray tray{world.mDialogGeneral, world.mShell, area, {configure, error}};
};

TEST_F(FrmSysTrayTest, Loading_adds_the_icon_and_shows_no_window_and_unloading_takes_it_away) {
  EXPECT_EQ(tray.mnuRestore.Caption(), QStringLiteral("&Restore..."));
  EXPECT_EQ(tray.mnuConfigure.Caption(), QStringLiteral("&Configure..."));
  // The way in which the main window brings it up.
  tray.Hide();
  EXPECT_TRUE(tray.IsLoaded());
  EXPECT_FALSE(tray.Visible());
  EXPECT_TRUE(area.mHasIcon);
  EXPECT_EQ(area.mTip, QStringLiteral("Veltrane"));
  EXPECT_EQ(area.mImages.last(), 26);
  EXPECT_TRUE(tray.Unload());
  EXPECT_FALSE(area.mHasIcon);
  EXPECT_TRUE(Images(5).isEmpty()) << "the timer has stopped";
}

TEST_F(FrmSysTrayTest, Without_traffic_the_last_image_stays) {
  tray.Load();
  EXPECT_EQ(Images(3), (QList<int>{26, 26, 26}));
}

TEST_F(FrmSysTrayTest, The_image_changes_every_400_ms_and_no_earlier) {
  tray.Load();
  area.mImages.clear();
  world.mTimers.Advance(milliseconds(399));
  EXPECT_TRUE(area.mImages.isEmpty());
  world.mTimers.Advance(milliseconds(1));
  EXPECT_EQ(area.mImages.size(), 1);
}

TEST_F(FrmSysTrayTest, A_single_DataSent_gives_frames_1_to_5_and_then_the_idle_image) {
  tray.Load();
  tray.DataSent(true);
  EXPECT_TRUE(area.mImages == QList<int>{26}) << "the call itself shows nothing";
  EXPECT_EQ(Images(7), (QList<int>{1, 2, 3, 4, 5, 26, 26}));
}

TEST_F(FrmSysTrayTest, The_second_direction_goes_in_steps_of_five) {
  tray.Load();
  tray.DataSent(false);
  EXPECT_EQ(Images(6), (QList<int>{1, 6, 11, 16, 21, 26}));
}

TEST_F(FrmSysTrayTest, Both_directions_in_one_cycle_walk_through_a_diagonal) {
  tray.Load();
  tray.DataSent(true);
  tray.DataSent(false);
  EXPECT_EQ(Images(6), (QList<int>{1, 7, 13, 19, 25, 26}));
}

TEST_F(FrmSysTrayTest, A_direction_that_joins_later_walks_beside_the_first_and_ends_later) {
  tray.Load();
  tray.DataSent(true);
  EXPECT_EQ(Images(2), (QList<int>{1, 2}));
  tray.DataSent(false);
  EXPECT_EQ(Images(6), (QList<int>{3, 9, 15, 16, 21, 26}));
}

TEST_F(FrmSysTrayTest, Traffic_during_a_run_earns_exactly_one_run_more_however_much_it_is) {
  tray.Load();
  tray.DataSent(true);
  EXPECT_EQ(Images(2), (QList<int>{1, 2}));
  for (int i = 0; i < 100; ++i)
    tray.DataSent(true);
  EXPECT_EQ(Images(10), (QList<int>{3, 4, 5, 1, 2, 3, 4, 5, 26, 26}));
}

TEST_F(FrmSysTrayTest, A_burst_before_the_first_frame_is_one_run) {
  tray.Load();
  for (int i = 0; i < 100; ++i)
    tray.DataSent(true);
  EXPECT_EQ(Images(7), (QList<int>{1, 2, 3, 4, 5, 26, 26}));
}

TEST_F(FrmSysTrayTest, What_went_by_without_an_icon_is_not_shown_later) {
  tray.DataSent(true);
  EXPECT_FALSE(tray.IsLoaded()) << "data alone brings no icon up";
  tray.Load();
  EXPECT_EQ(Images(1), QList<int>{26});
}

TEST_F(FrmSysTrayTest, A_double_click_restores_the_main_window) {
  LoadAndForget();
  world.mMain.SetState(WindowState::kMinimized);
  world.mMain.Hide();
  world.mJournal.Take();
  tray.MouseMove(515);
  EXPECT_EQ(world.mMain.State(), WindowState::kNormal);
  EXPECT_TRUE(world.mMain.Visible());
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("to front frmMain"), QStringLiteral("show frmMain")}));
}

TEST_F(FrmSysTrayTest, The_right_button_brings_the_icons_window_to_the_front_and_names_the_entry_by_state) {
  LoadAndForget();
  tray.MouseMove(517);
  EXPECT_EQ(tray.mnuRestore.Caption(), QStringLiteral("Minimize"));
  EXPECT_EQ(world.mJournal.Take(), QStringList{QStringLiteral("to front frmSysTray")});
  world.mMain.SetState(WindowState::kMinimized);
  tray.MouseMove(517);
  EXPECT_EQ(tray.mnuRestore.Caption(), QStringLiteral("Restore..."));
}

TEST_F(FrmSysTrayTest, Any_other_message_does_nothing) {
  LoadAndForget();
  world.mMain.SetState(WindowState::kMinimized);
  for (const int message : {0, 512, 513, 514, 516, 518, -1})
    tray.MouseMove(message);
  EXPECT_EQ(world.mMain.State(), WindowState::kMinimized);
  EXPECT_TRUE(world.mJournal.lines.isEmpty());
}

TEST_F(FrmSysTrayTest, The_entry_minimises_and_hides_the_error_window_and_then_restores) {
  LoadAndForget();
  error.Show();
  tray.mnuRestore.Click();
  EXPECT_EQ(world.mMain.State(), WindowState::kMinimized);
  EXPECT_FALSE(error.Visible());
  world.mJournal.Take();
  tray.mnuRestore.Click();
  EXPECT_EQ(world.mMain.State(), WindowState::kNormal);
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("to front frmMain"), QStringLiteral("show frmMain")}));
}

TEST_F(FrmSysTrayTest, Restoring_keeps_the_window_on_top_when_it_is_to_be) {
  LoadAndForget();
  world.mMain.mKeepOnTop = true;
  world.mMain.SetState(WindowState::kMinimized);
  tray.mnuRestore.Click();
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("top-most frmMain"));
}

TEST_F(FrmSysTrayTest, Failures_of_the_mouse_and_of_restoring_are_passed_over) {
  LoadAndForget();
  world.mDesktop.mFailShow = true;
  world.mMain.SetState(WindowState::kMinimized);
  EXPECT_NO_THROW(tray.MouseMove(515));
  world.mMain.SetState(WindowState::kMinimized);
  EXPECT_NO_THROW(tray.mnuRestore.Click());
  EXPECT_EQ(world.mMain.State(), WindowState::kNormal) << "the steps that work are taken";
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmSysTrayTest, Configure_shows_the_ports_and_Exit_ends_the_program) {
  LoadAndForget();
  tray.mnuConfigure.Click();
  tray.mnuExit.Click();
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("show frmConfigure"), QStringLiteral("Terminate")}));
}

TEST_F(FrmSysTrayTest, A_window_hides_behind_the_icon_only_where_it_can_be_got_back) {
  EXPECT_FALSE(tray.HasIcon());
  tray.Load();
  EXPECT_TRUE(tray.HasIcon());
  area.mAvailable = false;
  EXPECT_FALSE(tray.HasIcon());
}

TEST_F(FrmSysTrayTest, When_the_notification_area_goes_a_hidden_main_window_comes_back_minimised) {
  LoadAndForget();
  world.mMain.SetState(WindowState::kMinimized);
  world.mMain.Hide();
  world.mJournal.Take();
  world.mTimers.Advance(milliseconds(2000));
  EXPECT_FALSE(world.mMain.Visible()) << "as long as there is an icon it stays hidden";
  area.mAvailable = false;
  world.mTimers.Advance(milliseconds(2000));
  EXPECT_TRUE(world.mMain.Visible());
  EXPECT_EQ(world.mMain.State(), WindowState::kMinimized);
}

TEST_F(FrmSysTrayTest, The_desktop_is_asked_seldom_and_only_while_the_main_window_is_hidden) {
  LoadAndForget();
  area.mAsked = 0;
  world.mTimers.Advance(milliseconds(60000));
  EXPECT_EQ(area.mAsked, 0);
  world.mMain.SetState(WindowState::kMinimized);
  world.mMain.Hide();
  world.mTimers.Advance(milliseconds(60000));
  EXPECT_GE(area.mAsked, 1);
  EXPECT_LE(area.mAsked, 30) << "once in two seconds";
}

TEST_F(FrmSysTrayTest, When_the_icon_is_taken_away_a_hidden_main_window_comes_back_minimised) {
  LoadAndForget();
  world.mMain.SetState(WindowState::kMinimized);
  world.mMain.Hide();
  EXPECT_TRUE(tray.Unload());
  EXPECT_TRUE(world.mMain.Visible());
  EXPECT_EQ(world.mMain.State(), WindowState::kMinimized);
}

TEST_F(FrmSysTrayTest, Taking_the_icon_away_shows_no_main_window_that_is_not_behind_it) {
  LoadAndForget();
  EXPECT_TRUE(world.mMain.Unload());
  world.mMain.SetState(WindowState::kMinimized);
  world.mJournal.Take();
  EXPECT_TRUE(tray.Unload());
  EXPECT_TRUE(world.mJournal.lines.isEmpty()) << "at the end of the program the main window goes first";
}

}  // namespace
}  // namespace veltrane
