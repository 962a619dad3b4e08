// What a throttle or a dangle holds back, and how it goes on.
#include "tests/protocols/PassThruTest.h"

namespace veltrane {
namespace {

struct HoldingTest : DirectionTest {};

INSTANTIATE_TEST_SUITE_P(Both, HoldingTest, testing::Bool(), DirectionName);

// The states of a throttled direction: the next piece goes when the previous one has left and the period is
// over, whichever comes last.

TEST_P(HoldingTest, Throttled_SendComplete_first_then_the_timer_sends) {
  Connect();
  Throttle(3);
  From().Arrive("abcdefgh");
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(abcdefgh, True)", "sck{out}.SendData abc",
                           "{out}BytesSendStart(abc, False, True)"}));
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()"}));
  world.mTimers.Advance(milliseconds(99));
  EXPECT_TRUE(Take().isEmpty());
  world.mTimers.Advance(milliseconds(1));
  EXPECT_EQ(Take(), Named({"sck{out}.SendData def", "{out}BytesSendStart(def, False, True)"}));
}

TEST_P(HoldingTest, Throttled_timer_first_waits_for_SendComplete_and_sends_at_the_next_period) {
  Connect();
  // A direct send toward the server does not set its pending flag, so the second piece shows the wait.
  Throttle(3);
  From().Arrive("abcdefghijkl");
  To().Sent();
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(To().mSent, "abcdef");
  Take();
  world.mTimers.Advance(milliseconds(100));
  EXPECT_TRUE(Take().isEmpty()) << "the piece is still out";
  world.mTimers.Advance(milliseconds(50));
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()"})) << "the period is not over";
  world.mTimers.Advance(milliseconds(50));
  EXPECT_EQ(Take(), Named({"sck{out}.SendData ghi", "{out}BytesSendStart(ghi, False, True)"}));
}

TEST_P(HoldingTest, A_throttled_direction_runs_dry_and_stops_its_timer) {
  Connect();
  Throttle(3);
  From().Arrive("abcd");
  To().Sent();
  world.mTimers.Advance(milliseconds(100));
  // The last piece is smaller than the allowance: period 0, which is silent.
  EXPECT_EQ(To().mSent, "abcd");
  Take();
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()"}));
  EXPECT_FALSE(world.mTimers.NextDeadline());
  From().Arrive("xyz1");
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(xyz1, True)", "sck{out}.SendData xyz",
                           "{out}BytesSendStart(xyz, False, True)"}))
      << "the direction is idle again";
}

TEST_P(HoldingTest, What_arrives_while_throttled_waits_behind) {
  Connect();
  Throttle(3);
  From().Arrive("abcdef");
  From().Arrive("ghi");
  EXPECT_EQ(Take().last(), Named({"{out}BytesBuffered(ghi, False, False)"}).last());
  for (int i = 0; i < 3; ++i) {
    To().Sent();
    world.mTimers.Advance(milliseconds(100));
  }
  EXPECT_EQ(To().mSent, "abcdefghi");
}

TEST_P(HoldingTest, Throttling_switched_off_takes_effect_at_the_next_send) {
  Connect();
  Throttle(3);
  From().Arrive("abcdefgh");
  To().Sent();
  world.mSchedule.mThrottleC2S = world.mSchedule.mThrottleS2C = false;
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(To().mSent, "abcdefgh");
}

TEST_P(HoldingTest, A_throttle_field_that_is_no_number_is_reported_by_the_send) {
  Connect();
  world.mSchedule.OnThrottle = [] { throw Failure(FailureNumber::kTypeMismatch); };
  From().Arrive("abc");
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].endsWith(QStringLiteral("(Low Level)")));
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(abc, True)", "{out}BytesSendStart(, False, False)"}));
}

// Dangling.

TEST_P(HoldingTest, During_a_dangle_data_is_held_and_afterwards_sent_whole_and_in_order) {
  Dangle(1);
  Connect();
  world.mTimers.Advance(milliseconds(500));
  EXPECT_EQ(Take(),
            QStringList{QStringLiteral("DanglingStatusChanged(True, %1, 1000)").arg(ToServer() ? 0 : 1)});
  From().Arrive("abc");
  From().Arrive("def");
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(abc, True)", "{out}BytesBuffered(abc, False, True)",
                           "{in}BytesReceived(def, True)", "{out}BytesBuffered(def, False, True)"}));
  To().Arrive("free");
  EXPECT_EQ(From().mSent, "free") << "the other direction goes on";
  Take();
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_EQ(Take().mid(1), Named({"sck{out}.SendData abcdef", "{out}BytesSendStart(abcdef, False, False)"}));
}

// The store may hold an end of which none is chosen.
TEST_P(HoldingTest, After_a_dangle_whose_end_is_not_chosen_what_was_held_goes_with_the_next_data_in_order) {
  Dangle(-1);
  Connect();
  world.mTimers.Advance(milliseconds(500));
  From().Arrive("abc");
  world.mTimers.Advance(milliseconds(1000));
  Take();
  world.mTimers.Advance(milliseconds(60000));
  EXPECT_EQ(To().mSent, "") << "nothing says that it is to be sent";
  From().Arrive("def");
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(def, True)", "{out}BytesBuffered(def, False, False)",
                           "sck{out}.SendData abcdef", "{out}BytesSendStart(abcdef, False, False)"}));
  From().Arrive("ghi");
  To().Sent();
  EXPECT_EQ(To().mSent, "abcdefghi");
  To().Sent();
  From().Arrive("!");
  EXPECT_EQ(To().mSent, "abcdefghi!") << "the direction is idle again";
}

TEST_P(HoldingTest, A_dangle_that_discards_empties_the_buffer) {
  Dangle(2);
  Connect();
  world.mTimers.Advance(milliseconds(500));
  From().Arrive("abc");
  Take();
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_EQ(Take().size(), 1);
  From().Arrive("def");
  EXPECT_EQ(To().mSent, "def");
}

TEST_P(HoldingTest, A_discard_during_a_run_of_sends_leaves_later_data_waiting_for_the_next_SendComplete) {
  Dangle(2);
  Connect();
  From().Arrive("first");
  world.mTimers.Advance(milliseconds(500));
  From().Arrive("held");
  world.mTimers.Advance(milliseconds(1000));
  Take();
  // The flag of the run is still set, for its SendComplete has not come.
  From().Arrive("later");
  EXPECT_EQ(Take().last(), Named({"{out}BytesBuffered(later, False, False)"}).last());
  To().Sent();
  EXPECT_EQ(To().mSent, "firstlater");
}

TEST_P(HoldingTest, SendComplete_during_a_dangle_ends_the_run_and_keeps_the_buffer) {
  Dangle(1);
  Connect();
  From().Arrive("first");
  From().Arrive("second");
  world.mTimers.Advance(milliseconds(500));
  Take();
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()"}));
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_EQ(To().mSent, "firstsecond");
}

TEST_P(HoldingTest, A_dangle_that_closes_ends_the_pair_as_if_the_server_had_gone) {
  Dangle(0);
  Connect();
  world.mTimers.Advance(milliseconds(1500));
  EXPECT_TRUE(Take().contains(
      QStringLiteral("RemoteServerDisconnected(True, [Connection terminated as per dangling schedule.])")));
  EXPECT_TRUE(pair->Dead());
}

TEST_P(HoldingTest, Resume_on_a_closed_socket_reports_the_bad_state) {
  Dangle(1);
  Connect();
  world.mTimers.Advance(milliseconds(500));
  From().Arrive("abc");
  Take();
  To().mState = SocketState::kClosed;
  world.mTimers.Advance(milliseconds(1000));
  // Only the variant toward the client closes the socket in question.
  QStringList expected = Named({"{out}InBadState(-1, Socket not connected, False)"});
  if (!ToServer()) expected += Named({"sckServer.Close", "LocalServerDisconnected(False)"});
  expected += Named({"sck{in}.Close", "Local{in}Disconnected(False)", "Dead()"});
  EXPECT_EQ(Take().mid(1), expected);
}

TEST_P(HoldingTest, Resume_with_an_empty_buffer_or_a_dangle_still_on_answers_no) {
  Connect();
  const auto resume = [&](bool discard) {
    return ToServer() ? handler->ResumeThrottledOrDangledClientSend(discard)
                      : handler->ResumeThrottledOrDangledServerSend(discard);
  };
  EXPECT_FALSE(resume(false));
  EXPECT_FALSE(resume(true));
  From().Arrive("a");
  // Nothing is left to send: the run of sends is over, and what comes next goes out at once.
  EXPECT_FALSE(resume(false));
  From().Arrive("b");
  EXPECT_EQ(To().mSent, "ab");
  From().Arrive("c");
  EXPECT_TRUE(resume(false));
}

TEST_P(HoldingTest, Resume_during_a_dangle_answers_no_and_ends_the_run_of_sends) {
  Dangle(1);
  Connect();
  From().Arrive("a");
  From().Arrive("b");
  world.mTimers.Advance(milliseconds(500));
  const auto resume = [&] {
    return ToServer() ? handler->ResumeThrottledOrDangledClientSend(false)
                      : handler->ResumeThrottledOrDangledServerSend(false);
  };
  EXPECT_FALSE(resume());
  EXPECT_EQ(To().mSent, "a");
  Take();
  To().mEvents.SendComplete();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()"}));
}

TEST_P(HoldingTest, Resume_on_a_closed_socket_answers_yes) {
  Dangle(1);
  Connect();
  world.mTimers.Advance(milliseconds(500));
  From().Arrive("abc");
  pair->tmrDangleStopTimer.SetEnabled(false);
  To().mState = SocketState::kClosed;
  EXPECT_TRUE(ToServer() ? handler->ResumeThrottledOrDangledClientSend(false)
                         : handler->ResumeThrottledOrDangledServerSend(false));
  EXPECT_TRUE(pair->Dead());
}

// A dangle and a throttle together.

TEST_P(HoldingTest, What_arrives_while_a_throttle_lets_held_data_out_goes_behind_it) {
  Dangle(1);
  Connect();
  world.mTimers.Advance(milliseconds(500));
  From().Arrive("abcdef");
  Throttle(3);
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_EQ(To().mSent, "abc");
  From().Arrive("xyz");
  for (int i = 0; i < 3; ++i) {
    To().Sent();
    world.mTimers.Advance(milliseconds(100));
  }
  EXPECT_EQ(To().mSent, "abcdefxyz");
  To().Sent();
  From().Arrive("!");
  EXPECT_EQ(To().mSent, "abcdefxyz!") << "the direction is idle again";
}

TEST_P(HoldingTest, A_close_while_a_throttle_lets_held_data_out_waits_for_it) {
  Dangle(1);
  Connect();
  world.mTimers.Advance(milliseconds(500));
  From().Arrive("abcdef");
  Throttle(3);
  world.mTimers.Advance(milliseconds(1000));
  From().PeerCloses();
  EXPECT_FALSE(pair->Dead());
  To().Sent();
  world.mTimers.Advance(milliseconds(100));
  To().Sent();
  EXPECT_EQ(To().mSent, "abcdef");
  EXPECT_TRUE(pair->Dead());
}

TEST_P(HoldingTest, A_close_waits_also_when_the_throttles_timer_fired_inside_the_dangle) {
  Dangle(1);
  Throttle(3);
  Connect();
  world.mTimers.Advance(milliseconds(450));
  From().Arrive("abcdefghi");
  EXPECT_EQ(To().mSent, "abc");
  // The dangle begins at 500, the timer fires at 550 and stops; the completion is late.
  world.mTimers.Advance(milliseconds(1050));
  From().PeerCloses();
  EXPECT_FALSE(pair->Dead());
  for (int i = 0; i < 4; ++i) {
    To().Sent();
    world.mTimers.Advance(milliseconds(100));
  }
  EXPECT_EQ(To().mSent, "abcdefghi");
  EXPECT_TRUE(pair->Dead());
}

// Throttles at their edges.

TEST_P(HoldingTest, A_throttle_wider_than_the_data_holds_nothing_back) {
  Connect();
  Throttle(10);
  From().Arrive("abc");
  From().Arrive("defghijklmnopq");
  EXPECT_EQ(To().mSent, "abc");
  // No timer will come for the first send, so its completion goes on, still at the throttle's pace.
  To().Sent();
  EXPECT_EQ(To().mSent, "abcdefghijklm");
  To().Sent();
  EXPECT_EQ(To().mSent, "abcdefghijklm");
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(To().mSent, "abcdefghijklmnopq");
}

TEST_P(HoldingTest, A_throttle_wider_than_a_piece_holds_nothing_back) {
  Connect();
  From().Arrive("a");
  From().Arrive(Bytes(20000));
  // Switched on while the buffer drains in pieces.
  Throttle(9000);
  To().Sent();
  EXPECT_EQ(To().mSent.size(), 1 + 8192);
  To().Sent();
  EXPECT_EQ(To().mSent.size(), 1 + 8192 + 9000);
  To().Sent();
  EXPECT_EQ(To().mSent.size(), 1 + 8192 + 9000);
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(To().mSent.size(), 20001);
}

TEST_P(HoldingTest, A_throttle_of_0_bytes_holds_everything_until_it_is_widened) {
  Connect();
  Throttle(0);
  From().Arrive("abc");
  world.mTimers.Advance(milliseconds(500));
  EXPECT_EQ(To().mSent, "");
  Throttle(3);
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(To().mSent, "abc");
}

TEST_P(HoldingTest, A_timer_that_comes_before_the_completion_of_a_piece_waits_for_it) {
  Connect();
  From().Arrive("a");
  From().Arrive(Bytes(20000));
  Throttle(100);
  To().Sent();
  EXPECT_EQ(To().mSent.size(), 101);
  world.mTimers.Advance(milliseconds(300));
  EXPECT_EQ(To().mSent.size(), 101);
  To().Sent();
  EXPECT_EQ(To().mSent.size(), 101) << "and the completion leaves it to the timer";
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(To().mSent.size(), 201);
}

TEST_P(HoldingTest, A_discard_under_a_throttle_leaves_later_data_to_the_timer) {
  Dangle(2);
  Throttle(3);
  Connect();
  From().Arrive("abcdef");
  To().Sent();
  world.mTimers.Advance(milliseconds(499));
  From().Arrive("xyzuvw");
  world.mTimers.Advance(milliseconds(1));
  To().Sent();
  world.mTimers.Advance(milliseconds(1000));
  From().Arrive("later");
  for (int i = 0; i < 4; ++i) {
    To().Sent();
    world.mTimers.Advance(milliseconds(100));
  }
  EXPECT_TRUE(To().mSent.endsWith("later"));
}

TEST_P(HoldingTest, What_meets_a_throttle_that_cannot_be_read_waits_for_the_timer_whole_and_in_order) {
  Connect();
  for (const int size : {8191, 8192, 20000}) {
    SCOPED_TRACE(size);
    To().mSent.clear();
    From().Arrive("a");
    From().Arrive(Bytes(size));
    world.mSchedule.OnThrottle = [] { throw Failure(FailureNumber::kTypeMismatch); };
    To().Sent();
    world.mSchedule.OnThrottle = nullptr;
    From().Arrive("z");
    world.mTimers.Advance(milliseconds(99));
    EXPECT_EQ(To().mSent, "a");
    world.mTimers.Advance(milliseconds(1));
    EXPECT_EQ(To().mSent, "a" + Bytes(size) + "z");
    To().Sent();
  }
}

}  // namespace
}  // namespace veltrane
