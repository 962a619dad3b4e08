// The window: its settings, its checks, its panes and its buttons.
#include <gtest/gtest.h>

#include "protocols/ProtocolPassThru.h"
#include "tests/support/FailureWorld.h"
#include "tests/support/RealNet.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;
using Rows = QList<std::pair<QString, QString>>;

const QString kSection = QStringLiteral("FailureSim");

/// All settings with their defaults, in their order.
Rows Defaults() {
  static const char* const kRows[][2] = {
      {"chkTerminateConnections", "0"},
      {"optClose_0", "True"},
      {"optClose_1", "False"},
      {"txtTerminateNthConnection", "5"},
      {"txtTerminateNPercOfConnections", "10"},
      {"optCloseTime_0", "True"},
      {"optCloseTime_1", "False"},
      {"txtTerminateTime", "20000"},
      {"txtTerminateTimeFrom", "5000"},
      {"txtTerminateTimeTo", "20000"},
      {"optGracefulTermination_0", "True"},
      {"optGracefulTermination_1", "False"},
      {"chkRefuseConnections", "0"},
      {"optRefuse_0", "True"},
      {"optRefuse_1", "False"},
      {"txtRefuseNthConnection", "5"},
      {"txtRefuseNPercOfConnections", "10"},
      {"chkThrottleS2CData", "0"},
      {"optS2CThrottle_0", "True"},
      {"optS2CThrottle_1", "False"},
      {"txtS2CBytes", "200"},
      {"txtS2CPeriod", "100"},
      {"txtS2CBytesFrom", "100"},
      {"txtS2CBytesTo", "300"},
      {"txtS2CPeriodFrom", "50"},
      {"txtS2CPeriodTo", "500"},
      {"chkThrottleC2SData", "0"},
      {"optC2SThrottle_0", "True"},
      {"optC2SThrottle_1", "False"},
      {"txtC2SBytes", "200"},
      {"txtC2SPeriod", "100"},
      {"txtC2SBytesFrom", "100"},
      {"txtC2SBytesTo", "300"},
      {"txtC2SPeriodFrom", "50"},
      {"txtC2SPeriodTo", "500"},
      {"chkDangleConnections", "0"},
      {"optDangle_0", "True"},
      {"optDangle_1", "False"},
      {"txtDangleNthConnection", "5"},
      {"txtDangleNPercOfConnections", "10"},
      {"optDangleStartTime_0", "True"},
      {"optDangleStartTime_1", "False"},
      {"txtDangleStartTime", "10000"},
      {"txtDangleStartTimeFrom", "5000"},
      {"txtDangleStartTimeTo", "30000"},
      {"optDangleStopTime_0", "True"},
      {"optDangleStopTime_1", "False"},
      {"txtDangleStopTime", "10000"},
      {"txtDangleStopTimeFrom", "5000"},
      {"txtDangleStopTimeTo", "30000"},
      {"optDangleClose_0", "False"},
      {"optDangleClose_1", "True"},
      {"optDangleClose_2", "False"},
      {"optDangleDirections_0", "False"},
      {"optDangleDirections_1", "False"},
      {"optDangleDirections_2", "True"},
  };
  Rows rows;
  for (const auto& row : kRows)
    rows.append({QLatin1String(row[0]), QLatin1String(row[1])});
  return rows;
}

struct FrmProblemSimulationTest : testing::Test {
  void Store(const char* key, const char* value) {
    world.Save(kSection, QLatin1String(key), QLatin1String(value));
  }
  /// At the end of the program the listener goes before the windows.
  void EndProgram() {
    world.mGeneral.gblnClosing = true;
    world.mGeneral.gobjListening.reset();
    EXPECT_TRUE(form.Unload());
  }
  Rows Stored() { return world.mGeneral.mSettings.All(kSection); }
  TextBox& Text(const QString& name) { return dynamic_cast<TextBox&>(*form.FindControl(name)); }
  /// The texts of the boxes since the last call.
  QStringList Boxes() {
    QStringList texts;
    for (const MessageBox& box : std::exchange(world.mDesktop.mBoxes, {}))
      texts.append(box.text);
    return texts;
  }
  /// The user types into a field and leaves it; gives what the window says.
  QStringList Leave(TextBox& box, const QString& text) {
    box.SetText(text);
    box.LeaveFocus();
    return Boxes();
  }

  FailureWorld world;
  frmProblemSimulation& form = world.mForm;
};

const QString kNotNumeric = QStringLiteral("This value must be numeric.");
const QString kOutOfRange = QStringLiteral("This value lie between 1 and 60000.");
const QString kTooSmall = QStringLiteral("This value be greater than 0.");

// Settings.

TEST_F(FrmProblemSimulationTest, There_are_56_settings_each_with_its_default_in_the_order_of_the_table) {
  form.Load();
  EXPECT_TRUE(Stored().isEmpty()) << "loading writes nothing";
  EndProgram();
  ASSERT_EQ(Stored().size(), 56);
  EXPECT_EQ(Stored(), Defaults());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmProblemSimulationTest, Every_setting_comes_back_as_it_was_stored) {
  Rows rows = Defaults();
  int number = 100;
  for (auto& [key, value] : rows) {
    if (key.startsWith(QStringLiteral("chk"))) value = QStringLiteral("1");
    if (key.startsWith(QStringLiteral("txt"))) value = QStringLiteral(" text %1 ").arg(number++);
    if (key.startsWith(QStringLiteral("opt"))) {
      value = key.endsWith(QStringLiteral("_1")) ? QStringLiteral("True") : QStringLiteral("False");
    }
    world.Save(kSection, key, value);
  }
  form.Load();
  world.mStore.mRows.clear();
  EndProgram();
  EXPECT_EQ(Stored(), rows);
}

TEST_F(FrmProblemSimulationTest, Stored_values_stand_in_the_controls_of_their_names) {
  Store("chkDangleConnections", "1");
  Store("optDangleClose_1", "False");
  Store("optDangleClose_2", "True");
  Store("TXTDANGLESTOPTIME", "1234");
  form.Load();
  EXPECT_TRUE(form.chkDangleConnections.IsOn());
  EXPECT_EQ(form.optDangleClose.Selected(), 2);
  EXPECT_EQ(form.txtDangleStopTime.Text(), QStringLiteral("1234"));
  EXPECT_EQ(form.txtDangleStartTime.Text(), QStringLiteral("10000"));
}

TEST_F(FrmProblemSimulationTest, Of_two_options_stored_as_set_the_later_stands_and_of_none_none) {
  Store("optClose_0", "True");
  Store("optClose_1", "True");
  Store("optRefuse_0", "False");
  Store("optRefuse_1", "False");
  form.Load();
  EXPECT_EQ(form.optClose.Selected(), 1);
  EXPECT_EQ(form.optRefuse.Selected(), -1);
}

TEST_F(FrmProblemSimulationTest, Unusable_values_are_reported_and_the_default_stands_for_that_control_alone) {
  Store("chkTerminateConnections", "yes");
  Store("chkRefuseConnections", "2");
  Store("chkThrottleS2CData", "1");
  Store("optClose_0", "perhaps");
  Store("optDangleClose_1", "");
  Store("txtTerminateTime", "no number at all");
  form.Load();
  EXPECT_EQ(world.mErrors.mTexts,
            (QStringList{
                QStringLiteral("An error occurred while attempting to load the failure setting "
                               "chkTerminateConnections.  The operating system reports: 13, Type mismatch"),
                QStringLiteral("An error occurred while attempting to load the failure setting optClose_0.  "
                               "The operating system reports: 13, Type mismatch"),
                QStringLiteral("An error occurred while attempting to load the failure setting "
                               "chkRefuseConnections.  The operating system reports: 5, Invalid procedure "
                               "call or argument"),
                QStringLiteral("An error occurred while attempting to load the failure setting "
                               "optDangleClose_1.  The operating system reports: 13, Type mismatch"),
            }));
  EXPECT_EQ(form.chkTerminateConnections.Value(), 0);
  EXPECT_EQ(form.chkRefuseConnections.Value(), 0);
  EXPECT_EQ(form.chkThrottleS2CData.Value(), 1);
  EXPECT_EQ(form.optClose.Selected(), 0);
  EXPECT_EQ(form.optDangleClose.Selected(), 1);
  EXPECT_EQ(form.txtTerminateTime.Text(), QStringLiteral("no number at all"));
  EXPECT_EQ(world.mPanes.mTexts[6], QStringLiteral("Throttle: ON "));
  // And it works.
  form.chkTerminateConnections.SetValue(1);
  form.txtTerminateNthConnection.SetText(QStringLiteral("1"));
  qint32 period = 0;
  EXPECT_TRUE(form.ShouldConnectionBeTerminated(period, {}));
}

TEST_F(FrmProblemSimulationTest, A_store_that_cannot_be_read_is_reported_once_and_not_written_over) {
  Store("txtTerminateTime", "7");
  world.mStore.mFailReads = true;
  form.Load();
  EXPECT_EQ(world.mErrors.mTexts, QStringList{QStringLiteral(
                                      "An error occurred while attempting to load the failure settings.  The "
                                      "operating system reports: 1001, store cannot be read")});
  EXPECT_EQ(form.txtTerminateTime.Text(), QStringLiteral("20000"));
  world.mStore.mFailReads = false;
  EndProgram();
  EXPECT_EQ(Stored(), (Rows{{QStringLiteral("txtTerminateTime"), QStringLiteral("7")}}));
}

TEST_F(FrmProblemSimulationTest, Of_settings_that_could_not_be_read_only_what_the_user_changed_is_written) {
  Store("txtTerminateTime", "7");
  Store("txtDangleStopTime", "8");
  world.mStore.mFailReads = true;
  form.Load();
  world.mStore.mFailReads = false;
  world.StartListening();
  form.txtTerminateTime.SetText(QStringLiteral("300"));
  form.Unload();
  EXPECT_EQ(Stored(), (Rows{{QStringLiteral("txtTerminateTime"), QStringLiteral("300")},
                            {QStringLiteral("txtDangleStopTime"), QStringLiteral("8")}}));
  // A change back to the default is one too, and what the store took in between is not written again.
  form.txtTerminateTime.SetText(QStringLiteral("20000"));
  Store("txtDangleStopTime", "9");
  EndProgram();
  EXPECT_EQ(Stored(), (Rows{{QStringLiteral("txtTerminateTime"), QStringLiteral("20000")},
                            {QStringLiteral("txtDangleStopTime"), QStringLiteral("9")}}));
}

TEST_F(FrmProblemSimulationTest, Of_options_that_could_not_be_read_a_changed_group_is_written_whole) {
  // Of two that are stored as set the later would stand: the middle one of the store must go.
  Store("optDangleDirections_1", "True");
  world.mStore.mFailReads = true;
  form.Load();
  world.mStore.mFailReads = false;
  form.optDangleDirections.Select(0);
  EndProgram();
  EXPECT_EQ(Stored(), (Rows{{QStringLiteral("optDangleDirections_1"), QStringLiteral("False")},
                            {QStringLiteral("optDangleDirections_0"), QStringLiteral("True")},
                            {QStringLiteral("optDangleDirections_2"), QStringLiteral("False")}}));
}

TEST_F(FrmProblemSimulationTest, Close_only_hides_and_the_values_hold_and_reach_the_store_at_the_end) {
  form.Load();
  form.Show();
  form.chkRefuseConnections.SetValue(1);
  form.txtRefuseNthConnection.SetText(QStringLiteral("1"));
  form.cmdOK.Click();
  EXPECT_FALSE(form.Visible());
  EXPECT_TRUE(form.IsLoaded());
  EXPECT_TRUE(form.ShouldConnectionRequestBeRefused());
  EXPECT_TRUE(Stored().isEmpty()) << "a crash now loses the change";
  EndProgram();
  EXPECT_EQ(world.Get(kSection, QStringLiteral("chkRefuseConnections")), QStringLiteral("1"));
  EXPECT_EQ(world.Get(kSection, QStringLiteral("txtRefuseNthConnection")), QStringLiteral("1"));
}

TEST_F(FrmProblemSimulationTest, Closing_its_frame_saves_and_hides_and_keeps_it_loaded) {
  world.StartListening();
  form.Show();
  form.chkRefuseConnections.SetValue(1);
  EXPECT_FALSE(form.Unload());
  EXPECT_FALSE(form.Visible());
  EXPECT_TRUE(form.IsLoaded());
  EXPECT_EQ(world.Get(kSection, QStringLiteral("chkRefuseConnections")), QStringLiteral("1"));
  form.Show();
  EXPECT_TRUE(form.chkRefuseConnections.IsOn());
}

TEST_F(FrmProblemSimulationTest, It_stays_loaded_after_a_closing_of_the_program_that_was_called_off) {
  world.StartListening();
  form.Show();
  world.mGeneral.gblnClosing = true;
  EXPECT_FALSE(form.Unload());
  EXPECT_TRUE(form.IsLoaded());
  // A switch from outside the window, as a double click on its pane makes it.
  form.chkRefuseConnections.SetValue(1);
  form.txtRefuseNthConnection.SetText(QStringLiteral("1"));
  EXPECT_TRUE(form.ShouldConnectionRequestBeRefused());
  EXPECT_TRUE(form.chkRefuseConnections.IsOn());
}

TEST_F(FrmProblemSimulationTest, A_save_that_fails_is_reported_once_and_does_not_hold_the_window) {
  world.StartListening();
  form.Show();
  form.txtTerminateTime.SetText(QStringLiteral("7"));
  world.mStore.mWritesBeforeFailure = 10;
  EXPECT_FALSE(form.Unload());
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(world.mErrors.mTexts, QStringList{QStringLiteral(
                                      "An error occurred while attempting to save the failure settings.  The "
                                      "operating system reports: 1001, store is full")});
  EXPECT_TRUE(Stored().isEmpty()) << "no schedule by half";
  EXPECT_EQ(form.txtTerminateTime.Text(), QStringLiteral("7"));
  // The next save has another try at all of them.
  world.mStore.mWritesBeforeFailure = -1;
  EndProgram();
  EXPECT_EQ(Stored().size(), 56);
  EXPECT_EQ(world.Get(kSection, QStringLiteral("txtTerminateTime")), QStringLiteral("7"));
}

TEST_F(FrmProblemSimulationTest, A_failing_save_at_the_end_goes_to_who_caused_it) {
  form.Load();
  world.mStore.mWritesBeforeFailure = 10;
  world.mGeneral.gblnClosing = true;
  EXPECT_THROW(form.Unload(), Failure);
  EXPECT_TRUE(Stored().isEmpty());
}

TEST_F(FrmProblemSimulationTest, It_is_titled_and_comes_up_with_its_first_tab) {
  form.tabOptions.SetTab(2);
  form.Load();
  EXPECT_EQ(form.tabOptions.Tab(), 0);
  EXPECT_EQ(form.Caption(), QStringLiteral("Connection Failure Simulation Strategies"));
}

// Checks.

TEST_F(FrmProblemSimulationTest, Each_field_is_checked_as_a_period_or_as_an_amount) {
  form.Show();
  QStringList periods;
  QStringList amounts;
  for (const auto& row : Defaults()) {
    const QString& key = row.first;
    if (!key.startsWith(QStringLiteral("txt"))) continue;
    TextBox& box = Text(key);
    EXPECT_EQ(Leave(box, QStringLiteral("1")), QStringList());
    EXPECT_EQ(Leave(box, QStringLiteral("x")), QStringList{kNotNumeric});
    const QStringList said = Leave(box, QStringLiteral("60001"));
    (said.isEmpty() ? amounts : periods).append(key);
    EXPECT_EQ(Leave(box, QStringLiteral("0")), QStringList{said.isEmpty() ? kTooSmall : kOutOfRange});
  }
  EXPECT_EQ(periods, QStringLiteral("txtTerminateTime txtTerminateTimeFrom txtTerminateTimeTo txtS2CPeriod "
                                    "txtS2CPeriodFrom txtS2CPeriodTo txtC2SPeriod txtC2SPeriodFrom "
                                    "txtC2SPeriodTo txtDangleStartTime txtDangleStartTimeFrom "
                                    "txtDangleStartTimeTo txtDangleStopTime txtDangleStopTimeFrom "
                                    "txtDangleStopTimeTo")
                         .split(u' '));
  EXPECT_EQ(amounts.size(), 12);
}

TEST_F(FrmProblemSimulationTest, A_period_above_60000_is_out_of_range_and_60000_passes) {
  form.Show();
  EXPECT_EQ(Leave(form.txtTerminateTime, QStringLiteral("60000")), QStringList());
  EXPECT_EQ(Leave(form.txtTerminateTime, QStringLiteral("60000.1")), QStringList{kOutOfRange});
  EXPECT_EQ(Leave(form.txtTerminateTime, QStringLiteral("0.99")), QStringList{kOutOfRange});
  EXPECT_EQ(Leave(form.txtTerminateTime, QStringLiteral("-5")), QStringList{kOutOfRange});
}

TEST_F(FrmProblemSimulationTest, An_amount_between_0_and_1_is_too_small_and_1_passes) {
  form.Show();
  EXPECT_EQ(Leave(form.txtTerminateNthConnection, QStringLiteral("0.5")), QStringList{kTooSmall});
  EXPECT_EQ(Leave(form.txtS2CBytes, QStringLiteral("0.99")), QStringList{kTooSmall});
  EXPECT_EQ(Leave(form.txtS2CBytes, QStringLiteral("1")), QStringList());
}

TEST_F(FrmProblemSimulationTest, A_number_beyond_all_is_out_of_range_for_a_period_and_passes_as_an_amount) {
  form.Show();
  int focused = 0;
  QObject::connect(&form.txtTerminateTime, &Control::FocusAsked, &form, [&] { ++focused; });
  EXPECT_EQ(Leave(form.txtTerminateTime, QStringLiteral("1e400")), QStringList{kOutOfRange});
  EXPECT_EQ(focused, 1);
  EXPECT_EQ(Leave(form.txtTerminateTime, QStringLiteral("-1e400")), QStringList{kOutOfRange});
  EXPECT_EQ(Leave(form.txtTerminateNthConnection, QStringLiteral("1e400")), QStringList());
  EXPECT_EQ(Leave(form.txtTerminateNthConnection, QStringLiteral("-1e400")), QStringList{kTooSmall});
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmProblemSimulationTest, A_text_of_one_and_a_half_passes_either_check) {
  form.Show();
  EXPECT_EQ(Leave(form.txtTerminateTime, QStringLiteral("1.5")), QStringList());
  EXPECT_EQ(Leave(form.txtTerminateNthConnection, QStringLiteral("1.5")), QStringList());
}

TEST_F(FrmProblemSimulationTest, An_empty_field_is_not_numeric) {
  form.Show();
  EXPECT_EQ(Leave(form.txtTerminateTime, QString()), QStringList{kNotNumeric});
  EXPECT_EQ(Leave(form.txtS2CBytes, QString()), QStringList{kNotNumeric});
}

TEST_F(FrmProblemSimulationTest, A_percentage_of_500_passes_and_0_does_not) {
  form.Show();
  EXPECT_EQ(Leave(form.txtRefuseNPercOfConnections, QStringLiteral("500")), QStringList());
  EXPECT_EQ(Leave(form.txtRefuseNPercOfConnections, QStringLiteral("0")), QStringList{kTooSmall});
}

TEST_F(FrmProblemSimulationTest, A_field_of_an_unselected_option_is_checked_too) {
  form.Show();
  ASSERT_FALSE(form.optCloseTime.Value(1));
  EXPECT_EQ(Leave(form.txtTerminateTimeFrom, QString()), QStringList{kNotNumeric});
}

TEST_F(FrmProblemSimulationTest, The_box_has_the_products_name_and_the_information_icon) {
  form.Show();
  form.txtTerminateTime.SetText(QStringLiteral("x"));
  form.txtTerminateTime.LeaveFocus();
  ASSERT_EQ(world.mDesktop.mBoxes.size(), 1);
  EXPECT_EQ(world.mDesktop.mBoxes[0].title, QStringLiteral("Veltrane"));
  EXPECT_EQ(world.mDesktop.mBoxes[0].icon, BoxIcon::kInformation);
  EXPECT_EQ(world.mDesktop.mBoxes[0].buttons, BoxButtons::kOk);
}

TEST_F(FrmProblemSimulationTest, After_the_box_the_focus_goes_back_and_the_text_stays_however_often) {
  form.Show();
  int focused = 0;
  bool told = false;
  QObject::connect(&form.txtS2CPeriod, &Control::FocusAsked, &form.txtS2CPeriod, [&] {
    ++focused;
    EXPECT_TRUE(told) << "first the box, then the focus";
  });
  world.mDesktop.OnBox = [&](const MessageBox&) { told = true; };
  for (int i = 1; i <= 3; ++i) {
    EXPECT_EQ(Leave(form.txtS2CPeriod, QStringLiteral("never")), QStringList{kNotNumeric});
    EXPECT_EQ(focused, i);
    EXPECT_EQ(form.txtS2CPeriod.Text(), QStringLiteral("never"));
  }
  Leave(form.txtS2CPeriod, QStringLiteral("100"));
  EXPECT_EQ(focused, 3);
}

TEST_F(FrmProblemSimulationTest, Nothing_relates_a_From_to_its_To) {
  form.Show();
  EXPECT_EQ(Leave(form.txtS2CBytesFrom, QStringLiteral("9999")), QStringList());
  EXPECT_EQ(Leave(form.txtS2CBytesTo, QStringLiteral("1")), QStringList());
}

TEST_F(FrmProblemSimulationTest, A_window_that_goes_asks_nothing) {
  form.Show();
  form.txtS2CBytes.SetText(QString());
  form.Hide();
  form.txtS2CBytes.LeaveFocus();
  EXPECT_EQ(Boxes(), QStringList());
}

// Panes.

TEST_F(FrmProblemSimulationTest, Loading_writes_the_four_panes) {
  Store("chkRefuseConnections", "1");
  form.Load();
  EXPECT_EQ(world.mPanes.mTexts, (QMap<int, QString>{{4, QStringLiteral("Terminate: Off ")},
                                                     {5, QStringLiteral("Refuse: ON ")},
                                                     {6, QStringLiteral("Throttle: Off ")},
                                                     {7, QStringLiteral("Dangle: Off ")}}));
}

TEST_F(FrmProblemSimulationTest, Each_check_box_writes_its_pane) {
  form.Load();
  const struct {
    CheckBox& box;
    int pane;
    QString word;
  } rows[] = {{form.chkTerminateConnections, 4, QStringLiteral("Terminate")},
              {form.chkRefuseConnections, 5, QStringLiteral("Refuse")},
              {form.chkThrottleS2CData, 6, QStringLiteral("Throttle")},
              {form.chkThrottleC2SData, 6, QStringLiteral("Throttle")},
              {form.chkDangleConnections, 7, QStringLiteral("Dangle")}};
  for (const auto& row : rows) {
    row.box.SetValue(1);
    EXPECT_EQ(world.mPanes.mTexts[row.pane], row.word + QStringLiteral(": ON "));
    row.box.SetValue(0);
    EXPECT_EQ(world.mPanes.mTexts[row.pane], row.word + QStringLiteral(": Off "));
  }
}

TEST_F(FrmProblemSimulationTest, Pane_6_is_on_while_one_of_the_two_throttles_is) {
  form.Load();
  form.chkThrottleC2SData.SetValue(1);
  form.chkThrottleS2CData.SetValue(1);
  form.chkThrottleC2SData.SetValue(0);
  EXPECT_EQ(world.mPanes.mTexts[6], QStringLiteral("Throttle: ON "));
  form.chkThrottleS2CData.SetValue(0);
  EXPECT_EQ(world.mPanes.mTexts[6], QStringLiteral("Throttle: Off "));
}

// The buttons that act on all connections.

struct ButtonsTest : FrmProblemSimulationTest {
  ButtonsTest() {
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    form.Load();
    listener = static_cast<StubSocket*>(world.StartListening().mcolListeningSocket.Item(1));
  }
  /// A new connection; gives its pair's two sockets, the accepted one first.
  std::pair<StubSocket*, StubSocket*> Connect(bool stands = true) {
    listener->Request(++requests);
    const qsizetype count = world.mSockets.mSockets.size();
    const std::pair sockets(world.mSockets.mSockets[count - 2], world.mSockets.mSockets[count - 1]);
    if (stands) sockets.second->Connected();
    return sockets;
  }
  SocketPair& Pair(int position) { return *world.mGeneral.gobjListening->mobjSocketPairs.Item(position); }
  QStringList Recorded(const QString& what) { return world.mJournal.Take().filter(what); }

  StubSocket* listener = nullptr;
  qint32 requests = 0;
};

TEST_F(ButtonsTest, With_no_open_connection_and_with_no_listener_they_do_nothing) {
  world.mJournal.Take();
  form.cmdTerminateAllConnections.Click();
  form.cmdDangleAll.Click();
  world.mGeneral.gobjListening.reset();
  form.cmdTerminateAllConnections.Click();
  form.cmdDangleAll.Click();
  EXPECT_EQ(Recorded(QStringLiteral("(")), QStringList());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(ButtonsTest, Terminate_all_ends_every_connection_that_is_not_dead_as_the_option_says) {
  Connect();
  Connect().second->PeerCloses();
  Connect();
  ASSERT_TRUE(Pair(2).Dead());
  world.mJournal.Take();
  form.cmdTerminateAllConnections.Click();
  EXPECT_EQ(Recorded(QStringLiteral("RemoteServerDisconnected")),
            QStringList(2, QStringLiteral(
                               "RemoteServerDisconnected(True, [Connection terminated as per schedule.])")));
  EXPECT_TRUE(Pair(1).Dead());
  EXPECT_TRUE(Pair(3).Dead());
  Connect();
  form.optGracefulTermination.Select(1);
  form.cmdTerminateAllConnections.Click();
  EXPECT_EQ(Recorded(QStringLiteral("InBadState")),
            QStringList{QStringLiteral(
                "ClientInBadState(0, Socket connection scheduled for termination by VLT., False)")});
}

TEST_F(ButtonsTest, Terminate_all_takes_a_planned_termination_forward) {
  form.chkTerminateConnections.SetValue(1);
  form.txtTerminateNthConnection.SetText(QStringLiteral("1"));
  Connect();
  EXPECT_TRUE(world.mTimers.NextDeadline());
  form.cmdTerminateAllConnections.Click();
  EXPECT_FALSE(Pair(1).tmrTerminationTime.Enabled());
  EXPECT_FALSE(world.mTimers.NextDeadline());
}

TEST_F(ButtonsTest, Dangle_all_uses_what_was_worked_out_when_each_connection_was_made) {
  form.txtDangleStopTime.SetText(QStringLiteral("1000"));
  form.optDangleDirections.Select(0);
  Connect();
  // No schedule has marked either, and what the window says now is for later connections.
  form.txtDangleStopTime.SetText(QStringLiteral("2000"));
  form.optDangleDirections.Select(1);
  Connect();
  form.txtDangleStopTime.SetText(QStringLiteral("5"));
  world.mJournal.Take();
  form.cmdDangleAll.Click();
  EXPECT_EQ(Recorded(QStringLiteral("Dangling")),
            (QStringList{QStringLiteral("DanglingStatusChanged(True, 0, 1000)"),
                         QStringLiteral("DanglingStatusChanged(True, 1, 2000)")}));
  EXPECT_TRUE(Pair(1).IsDanglingCurrentlyOn(true));
  EXPECT_TRUE(Pair(2).IsDanglingCurrentlyOn(false));
  world.mTimers.Advance(milliseconds(999));
  EXPECT_EQ(Recorded(QStringLiteral("Dangling")), QStringList());
  world.mTimers.Advance(milliseconds(1));
  EXPECT_EQ(Recorded(QStringLiteral("Dangling")),
            QStringList{QStringLiteral("DanglingStatusChanged(False, 0, 1000)")});
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_EQ(Recorded(QStringLiteral("Dangling")),
            QStringList{QStringLiteral("DanglingStatusChanged(False, 1, 2000)")});
}

TEST_F(ButtonsTest, Dangle_all_records_a_connection_that_is_not_up_yet_but_holds_nothing_of_it) {
  Connect(false);
  world.mJournal.Take();
  form.cmdDangleAll.Click();
  EXPECT_EQ(Recorded(QStringLiteral("Dangling")),
            QStringList{QStringLiteral("DanglingStatusChanged(True, 0, 0)")});
  EXPECT_FALSE(Pair(1).IsDanglingCurrentlyOn(true));
  EXPECT_FALSE(Pair(1).IsDanglingCurrentlyOn(false));
  EXPECT_FALSE(world.mTimers.NextDeadline());
}

TEST_F(ButtonsTest, A_pair_that_dies_or_leaves_the_list_on_the_way_does_not_disturb_the_walk) {
  for (int i = 0; i < 3; ++i)
    Connect();
  const std::weak_ptr<SocketPair> third = world.mGeneral.gobjListening->mobjSocketPairs.Item(3);
  world.mRecorder.OnDead = [&](SocketPair& dead) {
    world.mRecorder.OnDead = nullptr;
    // The first one's end takes the second along, and the list's rows of both.
    world.mGeneral.gobjListening->mobjSocketPairs.Item(2)->SetDead(true);
    world.mGeneral.gobjListening->mobjSocketPairs.Remove(2);
    world.mGeneral.gobjListening->mobjSocketPairs.Remove(dead.SocketPairKey());
  };
  world.mJournal.Take();
  form.cmdTerminateAllConnections.Click();
  EXPECT_EQ(Recorded(QStringLiteral("Dead()")).size(), 2);
  EXPECT_TRUE(third.lock()->Dead());
}

TEST_F(ButtonsTest, The_program_may_end_in_the_middle_of_the_walk) {
  for (int i = 0; i < 3; ++i)
    Connect();
  world.mRecorder.OnDead = [&](SocketPair&) {
    world.mRecorder.OnDead = nullptr;
    const std::shared_ptr<Listening> listening = std::move(world.mGeneral.gobjListening);
    listening->DeInitaliseListeningSockets();
  };
  form.cmdTerminateAllConnections.Click();
  EXPECT_FALSE(world.mGeneral.gobjListening);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

// Two hundred real connections.

struct RealButtonsTest : testing::Test {
  static constexpr int kCount = 200;

  RealButtonsTest() {
    // A port that was free a moment ago.
    const qint32 port = net.DeadPort();
    world.AddPort(port, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    world.SetDestination(port, QStringLiteral("127.0.0.1"), server->Port());
    form.Load();
    form.txtDangleStopTime.SetText(QStringLiteral("1000"));
    world.StartListening();
    for (int i = 0; i < kCount; ++i)
      clients.push_back(net.ConnectTo(port));
    EXPECT_TRUE(net.Pump([&] {
      while (auto peer = server->Accept())
        servers.push_back(std::move(peer));
      return servers.size() == kCount && form.mintConnectionCount == kCount;
    }));
  }
  ~RealButtonsTest() override { world.mGeneral.gobjListening->DeInitaliseListeningSockets(); }
  static bool AllSawEnd(const std::vector<std::unique_ptr<Peer>>& peers) {
    return std::all_of(peers.begin(), peers.end(), [](const auto& peer) { return peer->SawEnd(); });
  }
  static bool AllReceived(const std::vector<std::unique_ptr<Peer>>& peers, const QByteArray& bytes) {
    return std::all_of(peers.begin(), peers.end(),
                       [&](const auto& peer) { return peer->Received() == bytes; });
  }

  RealNet net;
  FailureWorld world{&net.Sockets()};
  frmProblemSimulation& form = world.mForm;
  std::unique_ptr<PeerListener> server = net.Listen();
  std::vector<std::unique_ptr<Peer>> clients;
  std::vector<std::unique_ptr<Peer>> servers;
};

TEST_F(RealButtonsTest, Terminate_all_closes_both_sides_of_200_connections) {
  form.cmdTerminateAllConnections.Click();
  EXPECT_TRUE(net.Pump([&] { return AllSawEnd(clients) && AllSawEnd(servers); }));
  EXPECT_EQ(world.mJournal.lines.count(
                QStringLiteral("RemoteServerDisconnected(True, [Connection terminated as per schedule.])")),
            kCount);
  EXPECT_EQ(world.mJournal.lines.count(QStringLiteral("Dead()")), kCount);
}

TEST_F(RealButtonsTest, Dangle_all_holds_both_directions_of_200_connections_and_lets_go_of_them) {
  form.cmdDangleAll.Click();
  for (const auto& peer : clients)
    peer->Send("question");
  for (const auto& peer : servers)
    peer->Send("answer");
  net.Settle();
  EXPECT_TRUE(AllReceived(servers, {}));
  EXPECT_TRUE(AllReceived(clients, {}));
  world.mTimers.Advance(milliseconds(999));
  net.Settle();
  EXPECT_TRUE(AllReceived(clients, {}));
  world.mTimers.Advance(milliseconds(1));
  EXPECT_TRUE(net.Pump([&] { return AllReceived(servers, "question") && AllReceived(clients, "answer"); }));
  EXPECT_FALSE(AllSawEnd(clients));
}

}  // namespace
}  // namespace veltrane
