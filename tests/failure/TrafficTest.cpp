// Decisions carried out: the real schedule over pairs with the Pass Through handler, on a clock that moves
// when told to.
#include <gtest/gtest.h>

#include "protocols/ProtocolPassThru.h"
#include "tests/support/Directions.h"
#include "tests/support/FailureWorld.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;

struct TrafficTest : testing::Test {
  TrafficTest() {
    form.Load();
    NewPair();
  }
  void NewPair() {
    pair.reset();
    world.mSockets.mNames = {QStringLiteral("sckServer"), QStringLiteral("sckClient")};
    pair = std::make_shared<SocketPair>(world.mGeneral);
    server = world.mSockets.mSockets[0];
    client = world.mSockets.mSockets[1];
    handler = std::make_shared<ProtocolPassThru>(world.mGeneral);
  }
  QStringList Take() { return world.mJournal.Take(); }
  void Advance(int ms) { world.mTimers.Advance(milliseconds(ms)); }
  /// Both sides stand.
  void Connect() {
    pair->ServerConnected(1, handler);
    Take();
    client->Connected();
  }
  QString ConnectedComment() {
    return Take().filter(QStringLiteral("ConnectionAttemptSuccessful")).join(u'|');
  }
  void TerminateEvery(int nth, const char* ms) {
    form.chkTerminateConnections.SetValue(1);
    form.txtTerminateNthConnection.SetText(QString::number(nth));
    form.txtTerminateTime.SetText(QLatin1String(ms));
  }

  FailureWorld world;
  frmProblemSimulation& form = world.mForm;
  std::shared_ptr<SocketPair> pair;
  std::shared_ptr<ProtocolPassThru> handler;
  StubSocket* server = nullptr;
  StubSocket* client = nullptr;
};

// Termination.

TEST_F(TrafficTest, A_graceful_termination_comes_after_its_delay_and_not_before) {
  TerminateEvery(1, "300");
  Connect();
  EXPECT_EQ(ConnectedComment(), QStringLiteral("ConnectionAttemptSuccessful(False, [ ])"))
      << "the plan of a termination is not told";
  Advance(299);
  EXPECT_EQ(Take(), QStringList());
  Advance(1);
  EXPECT_EQ(
      Take(),
      (QStringList{QStringLiteral("sckClient.Close"),
                   QStringLiteral("RemoteServerDisconnected(True, [Connection terminated as per schedule.])"),
                   QStringLiteral("sckServer.Close"), QStringLiteral("LocalServerDisconnected(False)"),
                   QStringLiteral("Dead()")}));
}

TEST_F(TrafficTest, How_a_termination_ends_is_read_when_it_comes) {
  TerminateEvery(1, "300");
  Connect();
  Advance(299);
  form.optGracefulTermination.Select(1);
  // What was decided for the connection stays as decided.
  form.chkTerminateConnections.SetValue(0);
  form.txtTerminateTime.SetText(QStringLiteral("5000"));
  Take();
  Advance(1);
  EXPECT_EQ(
      Take()[0],
      QStringLiteral("ClientInBadState(0, Socket connection scheduled for termination by VLT., False)"));
  EXPECT_TRUE(pair->Dead());
}

TEST_F(TrafficTest, With_no_way_of_ending_chosen_the_connection_goes_on) {
  TerminateEvery(1, "300");
  form.optGracefulTermination.SetValue(0, false);
  Connect();
  Take();
  Advance(1000);
  EXPECT_EQ(Take(), QStringList());
  EXPECT_FALSE(pair->Dead());
}

TEST_F(TrafficTest, A_termination_whose_delay_is_not_numeric_has_an_enabled_timer_that_never_fires) {
  TerminateEvery(1, "soon");
  Connect();
  EXPECT_TRUE(pair->tmrTerminationTime.Enabled());
  EXPECT_EQ(pair->tmrTerminationTime.Interval(), 0);
  Take();
  Advance(10'000'000);
  EXPECT_EQ(Take(), QStringList());
}

TEST_F(TrafficTest, A_dangle_whose_delay_is_not_numeric_is_told_with_a_delay_of_0_and_never_starts) {
  form.chkDangleConnections.SetValue(1);
  form.txtDangleNthConnection.SetText(QStringLiteral("1"));
  form.txtDangleStartTime.SetText(QStringLiteral("soon"));
  Connect();
  EXPECT_EQ(ConnectedComment(),
            QStringLiteral("ConnectionAttemptSuccessful(False, [ Connection to be dangled in 0 mSecs and it "
                           "will dangled for 10000 mSecs])"));
  Advance(10'000'000);
  EXPECT_EQ(Take(), QStringList());
}

TEST_F(TrafficTest, A_delay_above_65535_works_as_written) {
  TerminateEvery(1, "100000");
  Connect();
  Take();
  Advance(99999);
  EXPECT_EQ(Take(), QStringList());
  Advance(1);
  EXPECT_TRUE(pair->Dead());
}

TEST_F(TrafficTest, Of_a_termination_and_a_dangle_the_earlier_acts_first) {
  TerminateEvery(1, "300");
  form.chkDangleConnections.SetValue(1);
  form.txtDangleNthConnection.SetText(QStringLiteral("1"));
  form.txtDangleStartTime.SetText(QStringLiteral("200"));
  form.txtDangleStopTime.SetText(QStringLiteral("500"));
  Connect();
  EXPECT_EQ(
      ConnectedComment(),
      QStringLiteral("ConnectionAttemptSuccessful(False, [ Connection to be dangled in 200 mSecs and it "
                     "will dangled for 500 mSecs])"));
  Advance(200);
  EXPECT_EQ(Take(), QStringList{QStringLiteral("DanglingStatusChanged(True, 2, 500)")});
  Advance(100);
  // In good order means: what the dangle holds is still owed, so the end waits for it.
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("sckClient.Close"),
                                 QStringLiteral("RemoteServerDisconnected(False, [Connection terminated as "
                                                "per schedule.])")}));
  Advance(399);
  EXPECT_EQ(Take(), QStringList());
  Advance(1);
  EXPECT_EQ(Take()[0], QStringLiteral("DanglingStatusChanged(False, 2, 500)"));
  EXPECT_TRUE(pair->Dead());
}

TEST_F(TrafficTest, An_Nth_field_that_overflows_is_reported_and_the_connection_goes_on) {
  TerminateEvery(1, "300");
  form.txtTerminateNthConnection.SetText(QStringLiteral("40000"));
  Connect();
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].endsWith(QStringLiteral("6, Overflow")));
  server->Arrive("hello");
  EXPECT_EQ(client->mSent, "hello");
}

// Refusal, through the listener.

TEST_F(TrafficTest, Of_20_requests_every_5th_is_rejected_and_the_others_are_accepted) {
  world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
  form.chkRefuseConnections.SetValue(1);
  auto* listener = static_cast<StubSocket*>(world.StartListening().mcolListeningSocket.Item(1));
  QList<int> rejected;
  for (int i = 1; i <= 20; ++i) {
    Take();
    listener->Request(i);
    const QStringList lines = Take();
    if (lines.contains(QStringLiteral("LocalServerRejectedConnection(True, 1000)"))) {
      rejected.append(i);
      EXPECT_TRUE(lines.filter(QStringLiteral("Accept")).isEmpty());
    } else {
      EXPECT_TRUE(lines.contains(QStringLiteral("socket.Accept %1").arg(i)));
    }
  }
  EXPECT_EQ(rejected, (QList<int>{5, 10, 15, 20}));
  EXPECT_EQ(form.mintConnectionCount, 0) << "a refused connection never reaches the other decisions";
}

TEST_F(TrafficTest, A_refusal_that_fails_is_reported_by_the_listener) {
  world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
  form.chkRefuseConnections.SetValue(1);
  form.txtRefuseNthConnection.SetText(QStringLiteral("99999"));
  auto* listener = static_cast<StubSocket*>(world.StartListening().mcolListeningSocket.Item(1));
  listener->Request(1);
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to process the remote client's "
                                       "connection request.  The operating system reports: 6, Overflow")});
  const Listening& listening = *world.mGeneral.gobjListening;
  EXPECT_EQ(listening.mobjSocketPairs.Count(), 0);
  EXPECT_TRUE(listening.LoadedPairs().empty());
  // The next one is served.
  form.chkRefuseConnections.SetValue(0);
  listener->Request(2);
  EXPECT_EQ(listening.mobjSocketPairs.Count(), 1);
}

// Throttling and dangling, told for both directions.

struct DirectionTrafficTest : InBothDirections<TrafficTest> {
  CheckBox& Throttle() { return ToServer() ? form.chkThrottleC2SData : form.chkThrottleS2CData; }
  OptionGroup& ThrottleChoice() { return ToServer() ? form.optC2SThrottle : form.optS2CThrottle; }
  TextBox& Field(const char* name) {
    const QString whole =
        (ToServer() ? QStringLiteral("txtC2S") : QStringLiteral("txtS2C")) + QLatin1String(name);
    return dynamic_cast<TextBox&>(*form.FindControl(whole));
  }
  void ThrottleBy(const char* bytes, const char* period) {
    Throttle().SetValue(1);
    Field("Bytes").SetText(QLatin1String(bytes));
    Field("Period").SetText(QLatin1String(period));
  }
  /// Of this direction, 500 ms after the connection stands, for 1000 ms.
  void DangleAndConnect(int choice) {
    form.chkDangleConnections.SetValue(1);
    form.txtDangleNthConnection.SetText(QStringLiteral("1"));
    form.txtDangleStartTime.SetText(QStringLiteral("500"));
    form.txtDangleStopTime.SetText(QStringLiteral("1000"));
    form.optDangleDirections.Select(ToServer() ? 0 : 1);
    form.optDangleClose.Select(choice);
    Connect();
    Take();
  }
};

INSTANTIATE_TEST_SUITE_P(Both, DirectionTrafficTest, testing::Bool(), DirectionName);

TEST_P(DirectionTrafficTest, Throttled_SendComplete_first_then_the_timer_sends_the_next_piece) {
  ThrottleBy("3", "100");
  Connect();
  Take();
  From().Arrive("abcdefgh");
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(abcdefgh, True)", "sck{out}.SendData abc",
                           "{out}BytesSendStart(abc, False, True)"}));
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()"}));
  Advance(99);
  EXPECT_EQ(Take(), QStringList());
  Advance(1);
  EXPECT_EQ(Take(), Named({"sck{out}.SendData def", "{out}BytesSendStart(def, False, True)"}));
}

TEST_P(DirectionTrafficTest, Throttled_timer_first_waits_for_SendComplete) {
  ThrottleBy("3", "100");
  Connect();
  From().Arrive("abcdefghijkl");
  To().Sent();
  Advance(100);
  Take();
  Advance(100);
  EXPECT_EQ(Take(), QStringList()) << "the piece is still out";
  Advance(50);
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()"})) << "the period is not over";
  Advance(49);
  EXPECT_EQ(Take(), QStringList());
  Advance(1);
  EXPECT_EQ(Take(), Named({"sck{out}.SendData ghi", "{out}BytesSendStart(ghi, False, True)"}));
}

TEST_P(DirectionTrafficTest, A_throttled_transfer_takes_its_computed_time_and_arrives_unchanged) {
  ThrottleBy("8000", "100");
  Connect();
  QByteArray all;
  for (int i = 0; i < 400000; ++i)
    all.append(static_cast<char>(i * 7 + i / 256));
  From().Arrive(all);
  // 50 pieces; the first goes at once.
  for (int piece = 1; piece < 50; ++piece) {
    EXPECT_EQ(To().mSent.size(), piece * 8000);
    To().Sent();
    Advance(99);
    EXPECT_EQ(To().mSent.size(), piece * 8000);
    Advance(1);
  }
  EXPECT_EQ(To().mSent, all);
}

TEST_P(DirectionTrafficTest, Each_send_of_a_range_has_its_own_size_and_wait) {
  Throttle().SetValue(1);
  ThrottleChoice().Select(1);
  Field("BytesFrom").SetText(QStringLiteral("2"));
  Field("BytesTo").SetText(QStringLiteral("6"));
  Field("PeriodFrom").SetText(QStringLiteral("100"));
  Field("PeriodTo").SetText(QStringLiteral("200"));
  world.mRandom.mNumbers = {0.5F, 0.25F, 0.0F, 0.75F, 0.25F, 0.0F};
  Connect();
  From().Arrive("abcdefghijkl");
  EXPECT_EQ(To().mSent, "abcd");
  To().Sent();
  Advance(124);
  EXPECT_EQ(To().mSent, "abcd");
  Advance(1);
  EXPECT_EQ(To().mSent, "abcdef");
  To().Sent();
  Advance(174);
  EXPECT_EQ(To().mSent, "abcdef");
  Advance(1);
  EXPECT_EQ(To().mSent, "abcdefghi");
}

TEST_P(DirectionTrafficTest, Throttling_switched_on_and_off_takes_effect_at_the_next_send) {
  Connect();
  From().Arrive("free");
  To().Sent();
  ThrottleBy("3", "100");
  From().Arrive("abcdefghijkl");
  EXPECT_EQ(To().mSent, "freeabc");
  To().Sent();
  Field("Bytes").SetText(QStringLiteral("5"));
  Advance(100);
  EXPECT_EQ(To().mSent, "freeabcdefgh");
  To().Sent();
  Throttle().SetValue(0);
  EXPECT_EQ(To().mSent, "freeabcdefgh") << "not before the period is over";
  Advance(100);
  EXPECT_EQ(To().mSent, "freeabcdefghijkl");
  To().Sent();
  EXPECT_FALSE(world.mTimers.NextDeadline());
}

TEST_P(DirectionTrafficTest, A_throttle_of_nothing_at_no_interval_goes_on_when_it_lets_something_through) {
  for (const char* period : {"0", "-5"}) {
    ThrottleBy("0", period);
    if (pair->ClientState() != SocketState::kConnected) Connect();
    To().mSent.clear();
    From().Arrive("abcdef");
    Advance(1000);
    EXPECT_EQ(To().mSent, "") << period;
    Field("Bytes").SetText(QStringLiteral("3"));
    Field("Period").SetText(QStringLiteral("100"));
    Advance(99);
    EXPECT_EQ(To().mSent, "") << period;
    Advance(1);
    EXPECT_EQ(To().mSent, "abc") << period;
    To().Sent();
    Advance(100);
    EXPECT_EQ(To().mSent, "abcdef") << period;
    To().Sent();
    Advance(100);
  }
}

TEST_P(DirectionTrafficTest, The_other_direction_is_not_throttled) {
  ThrottleBy("3", "100");
  Connect();
  To().Arrive("abcdefgh");
  EXPECT_EQ(From().mSent, "abcdefgh");
}

TEST_P(DirectionTrafficTest, A_throttle_field_that_is_not_numeric_is_reported_by_the_send) {
  ThrottleBy("few", "100");
  Connect();
  From().Arrive("abc");
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{ToServer() ? QStringLiteral("An error occurred while sending the data through the client "
                                              "(Low Level)")
                             : QStringLiteral("An error occurred while sending the data through the server "
                                              "(Low Level)")});
}

TEST_P(DirectionTrafficTest, A_throttle_field_that_is_typed_anew_in_the_middle_of_a_transfer_costs_nothing) {
  ThrottleBy("3", "100");
  Connect();
  From().Arrive("abcdefgh");
  To().Sent();
  Field("Bytes").SetText(QString());
  Advance(500);
  EXPECT_EQ(To().mSent, "abc");
  EXPECT_EQ(world.mErrors.mTexts.size(), 1) << "told once, however often the timer asks";
  Field("Bytes").SetText(QStringLiteral("5"));
  Advance(100);
  EXPECT_EQ(To().mSent, "abcdefgh");
  To().Sent();
  From().Arrive("more");
  EXPECT_EQ(To().mSent, "abcdefghmore");
  // The next time is news again.
  To().Sent();
  Field("Period").SetText(QStringLiteral("-"));
  From().Arrive("and");
  EXPECT_EQ(world.mErrors.mTexts.size(), 2);
}

TEST_P(DirectionTrafficTest,
       What_arrives_while_a_throttle_field_is_empty_goes_out_in_order_when_it_is_filled) {
  ThrottleBy("", "100");
  Connect();
  From().Arrive("first ");
  From().Arrive("second");
  EXPECT_EQ(To().mSent, "");
  Field("Bytes").SetText(QStringLiteral("50"));
  Advance(99);
  EXPECT_EQ(To().mSent, "");
  Advance(1);
  EXPECT_EQ(To().mSent, "first second");
}

TEST_P(DirectionTrafficTest, A_transfer_in_pieces_survives_a_throttle_field_that_is_empty_for_a_while) {
  Connect();
  From().Arrive("begin");
  const QByteArray bulk(20000, 'z');
  From().Arrive(bulk);
  To().Sent();
  ThrottleBy("", "1");
  To().Sent();
  EXPECT_EQ(To().mSent, "begin" + bulk.left(8192));
  Throttle().SetValue(0);
  Advance(100);
  EXPECT_EQ(To().mSent, "begin" + bulk);
}

TEST_P(DirectionTrafficTest, A_throttle_that_is_on_with_no_way_chosen_lets_all_through_until_one_is) {
  ThrottleBy("3", "100");
  ThrottleChoice().SetValue(0, false);
  Connect();
  for (const char* text : {"abcdefgh", "ijkl"}) {
    From().Arrive(text);
    To().Sent();
  }
  EXPECT_EQ(To().mSent, "abcdefghijkl");
  EXPECT_FALSE(world.mTimers.NextDeadline());
  ThrottleChoice().Select(0);
  From().Arrive("mnopq");
  EXPECT_EQ(To().mSent, "abcdefghijklmno");
}

TEST_P(DirectionTrafficTest,
       A_sender_that_leaves_in_the_middle_of_a_throttled_transfer_gets_all_of_it_through) {
  ThrottleBy("3", "100");
  Connect();
  From().Arrive("abcdefgh");
  From().PeerCloses();
  EXPECT_FALSE(pair->Dead());
  for (int i = 0; i < 2; ++i) {
    To().Sent();
    Advance(100);
  }
  EXPECT_EQ(To().mSent, "abcdefgh");
  EXPECT_FALSE(pair->Dead());
  To().Sent();
  EXPECT_TRUE(pair->Dead());
}

TEST_P(DirectionTrafficTest, A_receiver_that_fails_in_the_middle_of_a_throttled_transfer_ends_the_pair) {
  ThrottleBy("3", "100");
  Connect();
  From().Arrive("abcdefgh");
  To().Sent();
  To().Fails(10054, QStringLiteral("reset"));
  EXPECT_TRUE(pair->Dead());
  Take();
  // The timer runs until the pair is unloaded. What it finds is a closed socket.
  Advance(100);
  EXPECT_EQ(Take()[0], Named({"{out}InBadState(-1, Socket not connected, False)"})[0]);
  EXPECT_EQ(To().mSent, "abc");
}

TEST_P(DirectionTrafficTest, A_receiver_that_leaves_in_the_middle_of_a_throttled_transfer_ends_the_pair) {
  for (const bool complete : {true, false}) {
    SCOPED_TRACE(complete);
    NewPair();
    ThrottleBy("3", "100");
    Connect();
    From().Arrive("abcdefgh");
    if (complete) To().Sent();
    To().PeerCloses();
    Take();
    Advance(1000);
    EXPECT_TRUE(pair->Dead());
    EXPECT_EQ(To().mSent, "abc");
    // The timer runs until the pair is unloaded, but speaks once.
    EXPECT_EQ(Take().filter(QStringLiteral("InBadState")),
              Named({"{out}InBadState(-1, Socket not connected, False)"}));
  }
}

TEST_P(DirectionTrafficTest, A_throttled_piece_that_is_due_during_a_dangle_waits_for_its_end) {
  ThrottleBy("3", "400");
  DangleAndConnect(1);
  From().Arrive("abcdefghi");
  To().Sent();
  Advance(400);
  To().Sent();
  EXPECT_EQ(To().mSent, "abcdef");
  Advance(400);  // 800 ms: the dangle has begun at 500.
  EXPECT_EQ(To().mSent, "abcdef");
  Advance(699);
  EXPECT_EQ(To().mSent, "abcdef");
  Advance(1);
  EXPECT_EQ(To().mSent, "abcdefghi");
}

TEST_P(DirectionTrafficTest, Dangled_data_is_held_and_then_sent_whole_and_in_order) {
  DangleAndConnect(1);
  From().Arrive("before ");
  To().Sent();
  Advance(499);
  Take();
  Advance(1);
  EXPECT_EQ(Take(),
            QStringList{QStringLiteral("DanglingStatusChanged(True, %1, 1000)").arg(ToServer() ? 0 : 1)});
  From().Arrive("held ");
  From().Arrive("too");
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(held , True)", "{out}BytesBuffered(held , False, True)",
                           "{in}BytesReceived(too, True)", "{out}BytesBuffered(too, False, True)"}));
  Advance(999);
  EXPECT_EQ(Take(), QStringList());
  Advance(1);
  EXPECT_EQ(Take(),
            QStringList{QStringLiteral("DanglingStatusChanged(False, %1, 1000)").arg(ToServer() ? 0 : 1)} +
                Named({"sck{out}.SendData held too", "{out}BytesSendStart(held too, False, False)"}));
}

TEST_P(DirectionTrafficTest, Dangled_data_is_lost_when_the_end_discards_it_and_the_connection_goes_on) {
  DangleAndConnect(2);
  Advance(500);
  From().Arrive("lost");
  Take();
  Advance(1000);
  EXPECT_EQ(Take().size(), 1);
  From().Arrive("later");
  EXPECT_EQ(To().mSent, "later");
}

TEST_P(DirectionTrafficTest, A_dangle_that_closes_ends_the_pair) {
  DangleAndConnect(0);
  Advance(500);
  From().Arrive("lost");
  Take();
  Advance(1000);
  EXPECT_TRUE(Take().contains(
      QStringLiteral("RemoteServerDisconnected(True, [Connection terminated as per dangling schedule.])")));
  EXPECT_TRUE(pair->Dead());
  EXPECT_TRUE(To().mSent.isEmpty());
}

TEST_P(DirectionTrafficTest, How_a_dangle_ends_is_read_at_its_end) {
  DangleAndConnect(0);
  Advance(1499);
  From().Arrive("held");
  form.optDangleClose.Select(1);
  form.chkDangleConnections.SetValue(0);
  Advance(1);
  EXPECT_EQ(To().mSent, "held");
  EXPECT_FALSE(pair->Dead());
}

TEST_P(DirectionTrafficTest, A_sender_that_leaves_during_a_dangle_is_finished_at_its_end_and_its_data_lost) {
  DangleAndConnect(1);
  Advance(500);
  From().Arrive("held");
  From().PeerCloses();
  EXPECT_FALSE(pair->Dead());
  Advance(999);
  EXPECT_FALSE(pair->Dead());
  Advance(1);
  EXPECT_TRUE(pair->Dead());
  EXPECT_TRUE(To().mSent.isEmpty());
}

TEST_P(DirectionTrafficTest, A_receiver_that_leaves_during_a_dangle_ends_the_pair_at_once) {
  DangleAndConnect(1);
  Advance(500);
  From().Arrive("held");
  To().PeerCloses();
  EXPECT_TRUE(pair->Dead());
  EXPECT_TRUE(To().mSent.isEmpty());
}

TEST_F(TrafficTest, Both_directions_are_throttled_apart) {
  form.chkThrottleC2SData.SetValue(1);
  form.chkThrottleS2CData.SetValue(1);
  form.txtC2SBytes.SetText(QStringLiteral("3"));
  form.txtS2CBytes.SetText(QStringLiteral("5"));
  form.txtS2CPeriod.SetText(QStringLiteral("40"));
  Connect();
  server->Arrive("abcdefgh");
  client->Arrive("0123456789xyz");
  EXPECT_EQ(client->mSent, "abc");
  EXPECT_EQ(server->mSent, "01234");
  client->Sent();
  server->Sent();
  Advance(40);
  EXPECT_EQ(client->mSent, "abc");
  EXPECT_EQ(server->mSent, "0123456789");
  Advance(60);
  EXPECT_EQ(client->mSent, "abcdef");
}

// The same seed.

/// What happens to 60 connections with all failures on and drawn at random.
QStringList RunOfTraffic(unsigned seed) {
  SystemRandomGenerator random;
  random.Randomize(seed);
  FailureWorld world(nullptr, &random);
  frmProblemSimulation& form = world.mForm;
  form.Load();
  for (CheckBox* box : {&form.chkRefuseConnections, &form.chkTerminateConnections, &form.chkDangleConnections,
                        &form.chkThrottleC2SData, &form.chkThrottleS2CData})
    box->SetValue(1);
  for (OptionGroup* group :
       {&form.optRefuse, &form.optClose, &form.optCloseTime, &form.optDangle, &form.optDangleStartTime,
        &form.optDangleStopTime, &form.optC2SThrottle, &form.optS2CThrottle})
    group->Select(1);
  for (TextBox* percent : {&form.txtRefuseNPercOfConnections, &form.txtTerminateNPercOfConnections,
                           &form.txtDangleNPercOfConnections})
    percent->SetText(QStringLiteral("40"));
  world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
  auto* listener = static_cast<StubSocket*>(world.StartListening().mcolListeningSocket.Item(1));
  for (int i = 1; i <= 60; ++i) {
    listener->Request(i);
    const qsizetype count = world.mSockets.mSockets.size();
    StubSocket* server = world.mSockets.mSockets[count - 2];
    StubSocket* client = world.mSockets.mSockets[count - 1];
    if (server->mState != SocketState::kConnected) continue;
    client->Connected();
    server->Arrive(QByteArray(1000, 'q'));
    client->Arrive(QByteArray(1000, 'a'));
    world.mTimers.Advance(milliseconds(700));
  }
  world.mTimers.Advance(milliseconds(40000));
  return world.mJournal.Take();
}

TEST(Seed, The_same_traffic_gets_the_same_decisions_twice) {
  const QStringList once = RunOfTraffic(20261121);
  EXPECT_FALSE(once.filter(QStringLiteral("Rejected")).isEmpty());
  EXPECT_FALSE(once.filter(QStringLiteral("as per schedule")).isEmpty());
  EXPECT_FALSE(once.filter(QStringLiteral("DanglingStatusChanged(True")).isEmpty());
  EXPECT_EQ(RunOfTraffic(20261121), once);
  EXPECT_NE(RunOfTraffic(20261122), once);
}

}  // namespace
}  // namespace veltrane
