// How a connection ends: peers that leave, sockets that fail, terminations.
#include "tests/protocols/PassThruTest.h"

namespace veltrane {
namespace {

struct ClosingTest : PassThruTest {};
struct DirectionClosingTest : DirectionTest {};

INSTANTIATE_TEST_SUITE_P(Both, DirectionClosingTest, testing::Bool(), DirectionName);

TEST_P(DirectionClosingTest, Data_for_a_socket_that_is_gone_ends_the_pair) {
  Connect();
  To().mState = SocketState::kPeerClosing;
  From().Arrive("abc");
  QStringList expected =
      Named({"{in}BytesReceived(abc, True)", "{out}InBadState(-1, Socket not connected, False)"});
  // sckClient can still be connecting, so it is not closed here.
  if (!ToServer()) expected += Named({"sckServer.Close", "LocalServerDisconnected(False)"});
  expected += Named({"sck{in}.Close", "Local{in}Disconnected(False)", "Dead()"});
  EXPECT_EQ(Take(), expected);
  EXPECT_TRUE(pair->Dead());
}

TEST_P(DirectionClosingTest, A_drain_that_finds_its_socket_gone_closes_both) {
  Connect();
  From().Arrive("a");
  From().Arrive("b");
  Take();
  To().mState = SocketState::kPeerClosing;
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()", "{out}InBadState(-1, Socket not connected, False)",
                           "sck{out}.Close", "Local{out}Disconnected(False)", "sck{in}.Close",
                           "Local{in}Disconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, The_server_closes_and_the_client_is_closed_after_it) {
  Connect();
  client->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckClient.Close", "RemoteServerDisconnected(True, [])", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, The_server_closes_when_the_client_is_gone_already) {
  Connect();
  server->mState = SocketState::kClosed;
  client->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckClient.Close", "RemoteServerDisconnected(False, [])", "Dead()"}));
}

TEST_F(ClosingTest, The_client_closes_and_the_server_is_closed_after_it) {
  Connect();
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(True)", "sckClient.Close",
                           "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, The_client_closes_when_the_server_is_gone_already) {
  Connect();
  client->mState = SocketState::kClosed;
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, The_server_closes_while_a_long_buffer_drains_and_the_client_gets_all_of_it) {
  Connect();
  client->Arrive("x");
  client->Arrive(Bytes(20000));
  client->PeerCloses();
  EXPECT_EQ(Take().mid(5), Lines({"sckClient.Close", "RemoteServerDisconnected(False, [])"}));
  EXPECT_FALSE(pair->Dead());
  for (int i = 0; i < 3; ++i)
    server->Sent();
  EXPECT_EQ(server->mState, SocketState::kConnected);
  Take();
  server->Sent();
  EXPECT_EQ(Take(),
            Lines({"ServerBytesSendStop()", "sckServer.Close", "LocalServerDisconnected(False)", "Dead()"}));
  EXPECT_EQ(server->mSent, "x" + Bytes(20000));
}

TEST_F(ClosingTest, The_client_closes_while_a_buffer_drains_and_the_server_gets_all_of_it) {
  Connect();
  server->Arrive("x");
  server->Arrive(Bytes(9000));
  server->PeerCloses();
  client->Sent();
  client->Sent();
  Take();
  client->Sent();
  EXPECT_EQ(Take(),
            Lines({"ClientBytesSendStop()", "sckClient.Close", "LocalClientDisconnected(False)", "Dead()"}));
  EXPECT_EQ(client->mSent, "x" + Bytes(9000));
}

TEST_F(ClosingTest, Data_from_the_server_after_the_client_has_gone_ends_the_pair) {
  Connect();
  server->Arrive("request");
  server->PeerCloses();
  Take();
  client->Arrive("reply");
  EXPECT_EQ(Take(),
            Lines({"ClientBytesReceived(reply, True)", "ServerInBadState(-1, Socket not connected, False)",
                   "sckServer.Close", "LocalServerDisconnected(False)", "sckClient.Close",
                   "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, A_close_that_waits_when_a_dangle_starts_ends_the_pair_and_loses_the_buffer) {
  world.mSchedule.mDangle = true;
  world.mSchedule.mTimeBeforeDangle = 500;
  world.mSchedule.mDanglePeriod = 1000;
  world.mSchedule.mDangleDirection = 0;
  Connect();
  server->Arrive("a");
  server->Arrive("lost");
  server->PeerCloses();
  Take();
  world.mTimers.Advance(milliseconds(500));
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(True, 0, 1000)", "sckClient.Close",
                           "LocalClientDisconnected(False)", "Dead()"}));
  EXPECT_EQ(client->mSent, "a");
}

TEST_F(ClosingTest, A_server_that_left_during_a_dangle_is_finished_at_its_end) {
  world.mSchedule.mDangle = true;
  world.mSchedule.mTimeBeforeDangle = 500;
  world.mSchedule.mDanglePeriod = 1000;
  world.mSchedule.mDangleDirection = 1;
  Connect();
  world.mTimers.Advance(milliseconds(500));
  client->PeerCloses();
  EXPECT_FALSE(pair->Dead());
  Take();
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(False, 1, 1000)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, Both_sides_gone_and_a_dangle_of_both_directions_die_twice) {
  world.mSchedule.mDangle = true;
  world.mSchedule.mTimeBeforeDangle = 500;
  world.mSchedule.mDanglePeriod = 1000;
  world.mSchedule.mDangleDirection = 2;
  Connect();
  world.mTimers.Advance(milliseconds(500));
  client->PeerCloses();
  server->PeerCloses();
  Take();
  world.mTimers.Advance(milliseconds(1000));
  // The first end finds both sockets closed, and so does the second; then the resume finds nothing to send.
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(False, 2, 1000)", "Dead()", "Dead()"}));
}

TEST_P(DirectionClosingTest, A_sender_that_leaves_during_a_dangle_of_its_direction_waits_for_the_end) {
  Dangle(1);
  Connect();
  world.mTimers.Advance(milliseconds(500));
  From().PeerCloses();
  EXPECT_FALSE(pair->Dead());
  EXPECT_EQ(To().mState, SocketState::kConnected);
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_TRUE(pair->Dead());
}

TEST_P(DirectionClosingTest,
       A_sender_that_leaves_during_a_dangle_of_the_other_direction_ends_the_pair_at_once) {
  Dangle(1);
  world.mSchedule.mDangleDirection = ToServer() ? 1 : 0;
  Connect();
  world.mTimers.Advance(milliseconds(500));
  From().PeerCloses();
  EXPECT_TRUE(pair->Dead());
}

TEST_P(DirectionClosingTest, A_close_that_waits_when_a_dangle_of_its_direction_starts_ends_the_pair) {
  Dangle(1);
  Connect();
  From().Arrive("a");
  From().Arrive("lost");
  From().PeerCloses();
  EXPECT_FALSE(pair->Dead());
  world.mTimers.Advance(milliseconds(500));
  EXPECT_TRUE(pair->Dead());
  EXPECT_EQ(To().mSent, "a");
}

// The completion of the last send finds the dangle on and the close waiting. What is held is lost; the close
// is not made to wait for the end of the dangle.
TEST_P(DirectionClosingTest, A_completion_during_a_dangle_carries_out_a_close_that_waits) {
  Dangle(1);
  Connect();
  From().Arrive("a");
  world.mTimers.Advance(milliseconds(500));
  From().Arrive("held");
  From().PeerCloses();
  EXPECT_FALSE(pair->Dead());
  To().Sent();
  EXPECT_TRUE(pair->Dead());
  EXPECT_EQ(To().mSent, "a");
}

TEST_F(ClosingTest, The_clients_word_after_the_servers_close_ends_a_download_that_still_drains) {
  Connect();
  client->Arrive("x");
  client->Arrive(Bytes(20000));
  client->PeerCloses();
  Take();
  server->Arrive("more");
  EXPECT_EQ(Take(),
            Lines({"ServerBytesReceived(more, True)", "ClientInBadState(-1, Socket not connected, False)",
                   "sckServer.Close", "LocalServerDisconnected(False)", "Dead()"}));
  EXPECT_EQ(server->mSent, "x");
}

// In the three bad ends, the other socket is closed, and recorded, only when it is connected.

TEST_F(ClosingTest, A_bad_local_server_leaves_a_local_client_that_is_not_connected) {
  Connect();
  server->mState = SocketState::kClosed;
  client->mState = SocketState::kPeerClosing;
  client->Arrive("x");
  EXPECT_EQ(Take().mid(1), Lines({"ServerInBadState(-1, Socket not connected, False)", "sckServer.Close",
                                  "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, A_bad_local_client_found_while_draining_leaves_a_local_server_that_is_not_connected) {
  Connect();
  server->Arrive("a");
  server->Arrive("b");
  Take();
  server->mState = SocketState::kPeerClosing;
  client->mState = SocketState::kClosed;
  client->Sent();
  EXPECT_EQ(Take(), Lines({"ClientBytesSendStop()", "ClientInBadState(-1, Socket not connected, False)",
                           "sckClient.Close", "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, An_error_of_the_local_server_when_the_local_client_is_closing_is_no_late_connection) {
  Connect();
  client->mState = SocketState::kPeerClosing;
  server->Fails(10054, QStringLiteral("reset"));
  EXPECT_EQ(Take(), Lines({"ServerInBadState(10054, reset, False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
  // No close waits: a dangle that starts now carries none out.
  pair->tmrDangleStartTimer_Timer();
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(True, 0, 0)"}));
}

TEST_F(ClosingTest, A_dangle_of_the_other_direction_leaves_a_waiting_close_alone) {
  world.mSchedule.mDangle = true;
  world.mSchedule.mTimeBeforeDangle = 500;
  world.mSchedule.mDanglePeriod = 1000;
  world.mSchedule.mDangleDirection = 1;
  Connect();
  server->Arrive("a");
  server->PeerCloses();
  Take();
  world.mTimers.Advance(milliseconds(500));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("DanglingStatusChanged(True, 1, 1000)")});
}

TEST_F(ClosingTest, An_error_of_the_local_server_closes_both_sides) {
  Connect();
  server->Fails(10054, QStringLiteral("reset"));
  EXPECT_EQ(Take(), Lines({"ServerInBadState(10054, reset, False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "sckClient.Close",
                           "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, An_error_of_the_local_server_before_the_connection_stands_closes_it_when_it_comes_late) {
  Accept();
  server->Fails(10054, QStringLiteral("reset"));
  EXPECT_EQ(Take(), Lines({"ServerInBadState(10054, reset, False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])", "sckClient.Close",
                                  "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, An_error_of_the_local_client_closes_both_sides) {
  Connect();
  client->Fails(10054, QStringLiteral("reset"));
  EXPECT_EQ(Take(), Lines({"ClientInBadState(10054, reset, False)", "sckClient.Close",
                           "LocalClientDisconnected(False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, A_scheduled_termination_by_force_is_an_error_0_of_the_local_client) {
  world.mSchedule.mTerminate = true;
  world.mSchedule.mTerminatePeriod = 300;
  world.mSchedule.mGraceful = 1;
  Connect();
  world.mTimers.Advance(milliseconds(300));
  EXPECT_EQ(Take(), Lines({"ClientInBadState(0, Socket connection scheduled for termination by VLT., False)",
                           "sckClient.Close", "LocalClientDisconnected(False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, A_scheduled_termination_in_good_order_looks_like_the_servers_close) {
  world.mSchedule.mTerminate = true;
  world.mSchedule.mTerminatePeriod = 300;
  Connect();
  world.mTimers.Advance(milliseconds(300));
  EXPECT_EQ(Take(), Lines({"sckClient.Close",
                           "RemoteServerDisconnected(True, [Connection terminated as per schedule.])",
                           "sckServer.Close", "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(ClosingTest, A_dangle_that_ends_after_the_pair_has_died_reports_the_bad_state) {
  world.mSchedule.mDangle = true;
  world.mSchedule.mTimeBeforeDangle = 500;
  world.mSchedule.mDanglePeriod = 1000;
  world.mSchedule.mDangleDirection = 0;
  Connect();
  world.mTimers.Advance(milliseconds(500));
  server->Arrive("held");
  client->Fails(10054, QStringLiteral("reset"));
  Take();
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(False, 0, 1000)",
                           "ClientInBadState(-1, Socket not connected, False)", "Dead()"}));
}

}  // namespace
}  // namespace veltrane
