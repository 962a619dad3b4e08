#include <gtest/gtest.h>

#include "protocols/ProtocolPassThru.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;

struct PassThruTest : testing::Test {
  PassThruTest() {
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    world.SetDestination(1000, QStringLiteral("server.example"), 2000);
    world.StartListening();
    auto* listener = static_cast<StubSocket*>(
        world.mGeneral.gobjListening->mcolListeningSocket.Item(QStringLiteral("KEY1000")));
    world.mSockets.mNames = {QStringLiteral("sckServer"), QStringLiteral("sckClient")};
    pair = std::make_shared<SocketPair>(world.mGeneral);
    server = world.mSockets.mSockets[1];
    client = world.mSockets.mSockets[2];
    server->mLocalPort = listener->LocalPort();
    handler = std::make_shared<ProtocolPassThru>(world.mGeneral);
    handler->mlngWasListeningOnPort = 1000;
    Take();
  }
  QStringList Take() { return world.mJournal.Take(); }
  void Accept() {
    pair->ServerConnected(1, handler);
    Take();
  }
  /// Both sides stand.
  void Connect() {
    Accept();
    client->Connected();
    Take();
  }
  static QByteArray Bytes(qsizetype count, char letter = 'x') { return QByteArray(count, letter); }

  World world;
  std::shared_ptr<SocketPair> pair;
  std::shared_ptr<ProtocolPassThru> handler;
  StubSocket* server = nullptr;
  StubSocket* client = nullptr;
};

QStringList Lines(std::initializer_list<const char*> lines) {
  QStringList result;
  for (const char* line : lines)
    result.append(QLatin1String(line));
  return result;
}

// Accepting and connecting.

TEST_F(PassThruTest, The_name_in_the_store_is_not_the_name_in_the_history) {
  EXPECT_EQ(handler->GetProtocolName(), QStringLiteral("Pass Through"));
  pair->ServerConnected(1, handler);
  EXPECT_TRUE(Take().contains(QStringLiteral("GotProtocol(Pass Thru)")));
}

TEST_F(PassThruTest, An_accepted_connection_is_recorded_and_goes_to_its_destination) {
  pair->ServerConnected(7, handler);
  EXPECT_EQ(Take(),
            Lines({"sckServer.Accept 7", "LocalServerAcceptedConnection(True, 1000)",
                   "GotProtocol(Pass Thru)", "ConnectionAttemptToRemoteServer(server.example, 2000, False)",
                   "sckClient.Connect server.example:2000"}));
}

TEST_F(PassThruTest, A_known_name_of_the_client_is_recorded) {
  server->mRemoteHost = QStringLiteral("client.name");
  pair->ServerConnected(7, handler);
  EXPECT_EQ(Take()[3], QStringLiteral("GotNameOfRemoteClient(client.name)"));
}

TEST_F(PassThruTest, The_store_is_read_afresh_for_every_connection) {
  world.SetDestination(1000, QStringLiteral("other.example"), 99);
  pair->ServerConnected(7, handler);
  EXPECT_TRUE(Take().contains(QStringLiteral("sckClient.Connect other.example:99")));
}

TEST_F(PassThruTest, Without_a_section_it_goes_to_port_80_of_the_placeholder) {
  world.mStore.DeleteSetting(kApplicationName, PortSection(QStringLiteral("Pass Through"), 1000));
  pair->ServerConnected(7, handler);
  EXPECT_TRUE(Take().contains(QStringLiteral("sckClient.Connect %1:80").arg(kServerPlaceholder)));
}

TEST_F(PassThruTest, A_port_that_is_no_number_is_reported_and_the_attempt_goes_on_without_a_server) {
  world.Save(PortSection(QStringLiteral("Pass Through"), 1000), QStringLiteral("Port"),
             QStringLiteral("abc"));
  pair->ServerConnected(7, handler);
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to get the destination server and port "
                                 "(Pass Through).  The operating system reports: 13, Type mismatch")});
  EXPECT_TRUE(Take().contains(QStringLiteral("sckClient.Connect :0")));
}

TEST_F(PassThruTest, An_attempt_that_cannot_start_ends_the_pair) {
  client->mConnectFailure = 10049;
  pair->ServerConnected(7, handler);
  EXPECT_EQ(Take().mid(4), Lines({"sckClient.Connect server.example:2000",
                                  "ConnectionAttemptFailed(True, failed on purpose, 10049)",
                                  "sckServer.Close", "LocalServerDisconnected(False)", "Dead()"}));
  EXPECT_TRUE(pair->Dead());
  EXPECT_TRUE(pair->mblnTerminated);
}

TEST_F(PassThruTest, A_rejected_connection_is_recorded_and_dead) {
  pair->ConnectionRejected(7, handler);
  EXPECT_EQ(Take(), Lines({"LocalServerRejectedConnection(True, 1000)", "GotProtocol(Pass Thru)", "Dead()"}));
  EXPECT_TRUE(pair->mblnTerminated);
}

TEST_F(PassThruTest, A_remote_client_that_speaks_first_is_held_and_sent_as_one_offer) {
  Accept();
  server->Arrive("hello ");
  server->Arrive("world");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(hello , True)", "ClientBytesBuffered(hello , False, False)",
                           "ServerBytesReceived(world, True)", "ClientBytesBuffered(world, False, False)"}));
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])", "sckClient.SendData hello world",
                                  "ClientBytesSendStart(hello world, False, False)"}));
}

TEST_F(PassThruTest, A_client_that_leaves_before_the_connection_stands_ends_the_pair_at_connect) {
  Accept();
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(False)"}));
  EXPECT_FALSE(pair->Dead());
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])", "sckClient.Close",
                                  "LocalClientDisconnected(False)", "Dead()"}));
  EXPECT_TRUE(client->mSent.isEmpty());
}

TEST_F(PassThruTest, A_client_that_speaks_and_leaves_early_gets_its_bytes_through) {
  Accept();
  server->Arrive("last will");
  server->PeerCloses();
  Take();
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])", "sckClient.SendData last will",
                                  "ClientBytesSendStart(last will, False, False)"}));
  client->Sent();
  EXPECT_EQ(Take(),
            Lines({"ClientBytesSendStop()", "sckClient.Close", "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(PassThruTest, A_name_that_cannot_be_resolved_is_a_failed_attempt_and_sckClient_is_not_closed) {
  for (const qint32 number : {11001, 11002, 10060}) {
    pair->SetDead(false);
    pair->ServerConnected(7, handler);
    Take();
    client->Fails(number, QStringLiteral("not found"));
    EXPECT_EQ(Take(),
              QStringList({QStringLiteral("ConnectionAttemptFailed(False, not found, %1)").arg(number),
                           QStringLiteral("sckServer.Close"),
                           QStringLiteral("LocalServerDisconnected(False)"), QStringLiteral("Dead()")}));
    EXPECT_TRUE(pair->Dead());
  }
}

TEST_F(PassThruTest, Any_other_error_of_the_attempt_is_a_bad_state) {
  Accept();
  client->Fails(10061, QStringLiteral("refused"));
  EXPECT_EQ(Take(), Lines({"ClientInBadState(10061, refused, False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
}

// Relaying, told for both directions.

struct DirectionTest : PassThruTest, testing::WithParamInterface<bool> {
  bool ToServer() const { return GetParam(); }
  StubSocket& From() const { return ToServer() ? *server : *client; }
  StubSocket& To() const { return ToServer() ? *client : *server; }
  /// Names by direction: S is the side that bytes come in on, C the one that they leave by.
  QStringList Named(std::initializer_list<const char*> lines) const {
    QStringList result;
    for (const char* line : lines) {
      QString text = QLatin1String(line);
      text.replace(QStringLiteral("{in}"), ToServer() ? QStringLiteral("Server") : QStringLiteral("Client"));
      text.replace(QStringLiteral("{out}"), ToServer() ? QStringLiteral("Client") : QStringLiteral("Server"));
      result.append(text);
    }
    return result;
  }
  void Throttle(qint64 bytes) {
    (ToServer() ? world.mSchedule.mThrottleC2S : world.mSchedule.mThrottleS2C) = true;
    world.mSchedule.mThrottleBytes = bytes;
  }
  void Dangle(int choice) {
    world.mSchedule.mDangle = true;
    world.mSchedule.mTimeBeforeDangle = 500;
    world.mSchedule.mDanglePeriod = 1000;
    world.mSchedule.mDangleDirection = ToServer() ? 0 : 1;
    world.mSchedule.mDangleClose = choice;
  }
};

INSTANTIATE_TEST_SUITE_P(Both, DirectionTest, testing::Bool(),
                         [](const auto& which) { return which.param ? "ToServer" : "ToClient"; });

TEST_P(DirectionTest, Idle_data_goes_straight_through_uncut) {
  Connect();
  From().Arrive(Bytes(20000));
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(20000 bytes, True)", "sck{out}.SendData 20000 bytes",
                           "{out}BytesSendStart(20000 bytes, False, False)"}));
  EXPECT_EQ(To().mSent, Bytes(20000));
}

TEST_P(DirectionTest, Sending_holds_what_arrives_and_drains_it_when_sent) {
  Connect();
  From().Arrive("one");
  From().Arrive("two");
  From().Arrive("three");
  EXPECT_EQ(Take().mid(3),
            Named({"{in}BytesReceived(two, True)", "{out}BytesBuffered(two, False, False)",
                   "{in}BytesReceived(three, True)", "{out}BytesBuffered(three, False, False)"}));
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()", "sck{out}.SendData twothree",
                           "{out}BytesSendStart(twothree, False, False)"}));
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()"}));
  From().Arrive("four");
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(four, True)", "sck{out}.SendData four",
                           "{out}BytesSendStart(four, False, False)"}));
  EXPECT_EQ(To().mSent, "onetwothreefour");
}

TEST_P(DirectionTest, A_buffer_of_exactly_8192_goes_by_the_piece_path) {
  Connect();
  From().Arrive("x");
  From().Arrive(Bytes(8192));
  Take();
  To().Sent();
  EXPECT_EQ(Take().last(), Named({"{out}BytesSendStart(8192 bytes, False, False)"}).last());
  To().Sent();
  EXPECT_EQ(Take(), Named({"{out}BytesSendStop()"}));
}

TEST_P(DirectionTest, A_buffer_one_byte_shorter_is_offered_whole) {
  Connect();
  From().Arrive("x");
  From().Arrive(Bytes(8191));
  Take();
  To().Sent();
  EXPECT_EQ(Take().last(), Named({"{out}BytesSendStart(8191 bytes, False, False)"}).last());
}

TEST_P(DirectionTest, A_long_buffer_drains_in_pieces_of_8192_in_order) {
  Connect();
  From().Arrive("x");
  QByteArray all;
  for (int i = 0; i < 5; ++i) {
    const QByteArray chunk = Bytes(5000, static_cast<char>('a' + i));
    all += chunk;
    From().Arrive(chunk);
  }
  Take();
  QStringList starts;
  for (int i = 0; i < 6; ++i) {
    To().Sent();
    starts += Take().filter(QStringLiteral("SendStart"));
  }
  EXPECT_EQ(starts, Named({"{out}BytesSendStart(8192 bytes, False, False)",
                           "{out}BytesSendStart(8192 bytes, False, False)",
                           "{out}BytesSendStart(8192 bytes, False, False)",
                           "{out}BytesSendStart(424 bytes, False, False)"}));
  EXPECT_EQ(To().mSent, "x" + all);
}

TEST_P(DirectionTest, A_throttled_rest_goes_back_to_the_front_of_a_long_buffer) {
  Connect();
  From().Arrive("x");
  const QByteArray all = Bytes(8192, 'a') + Bytes(100, 'b');
  From().Arrive(all);
  Take();
  Throttle(5000);
  To().Sent();
  EXPECT_EQ(Take().last(), Named({"{out}BytesSendStart(5000 bytes, False, True)"}).last());
  world.mSchedule.mThrottleC2S = world.mSchedule.mThrottleS2C = false;
  To().Sent();
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(To().mSent, "x" + all);
}

// The states of a throttled direction: the next piece goes when the previous one has left and the period is
// over, whichever comes last.

TEST_P(DirectionTest, Throttled_SendComplete_first_then_the_timer_sends) {
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

TEST_P(DirectionTest, Throttled_timer_first_waits_for_SendComplete_and_sends_at_the_next_period) {
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

TEST_P(DirectionTest, A_throttled_direction_runs_dry_and_stops_its_timer) {
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

TEST_P(DirectionTest, What_arrives_while_throttled_waits_behind) {
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

TEST_P(DirectionTest, Throttling_switched_off_takes_effect_at_the_next_send) {
  Connect();
  Throttle(3);
  From().Arrive("abcdefgh");
  To().Sent();
  world.mSchedule.mThrottleC2S = world.mSchedule.mThrottleS2C = false;
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(To().mSent, "abcdefgh");
}

TEST_P(DirectionTest, A_throttle_field_that_is_no_number_is_reported_by_the_send) {
  Connect();
  world.mSchedule.OnThrottle = [] { throw Failure(FailureNumber::kTypeMismatch); };
  From().Arrive("abc");
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].endsWith(QStringLiteral("(Low Level)")));
  EXPECT_EQ(Take(), Named({"{in}BytesReceived(abc, True)", "{out}BytesSendStart(, False, False)"}));
}

// Dangling.

TEST_P(DirectionTest, During_a_dangle_data_is_held_and_afterwards_sent_whole_and_in_order) {
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

TEST_P(DirectionTest, A_dangle_that_discards_empties_the_buffer) {
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

TEST_P(DirectionTest, A_discard_during_a_run_of_sends_leaves_later_data_waiting_for_the_next_SendComplete) {
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

TEST_P(DirectionTest, SendComplete_during_a_dangle_ends_the_run_and_keeps_the_buffer) {
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

TEST_P(DirectionTest, A_dangle_that_closes_ends_the_pair_as_if_the_server_had_gone) {
  Dangle(0);
  Connect();
  world.mTimers.Advance(milliseconds(1500));
  EXPECT_TRUE(Take().contains(
      QStringLiteral("RemoteServerDisconnected(True, [Connection terminated as per dangling schedule.])")));
  EXPECT_TRUE(pair->Dead());
}

TEST_P(DirectionTest, Resume_on_a_closed_socket_reports_the_bad_state) {
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

TEST_P(DirectionTest, Resume_with_an_empty_buffer_or_a_dangle_still_on_answers_no) {
  Connect();
  const auto resume = [&](bool discard) {
    return ToServer() ? handler->ResumeThrottledOrDangledClientSend(discard)
                      : handler->ResumeThrottledOrDangledServerSend(discard);
  };
  EXPECT_FALSE(resume(false));
  EXPECT_FALSE(resume(true));
  From().Arrive("a");
  From().Arrive("b");
  EXPECT_TRUE(resume(false));
}

TEST_F(PassThruTest, Only_a_direct_send_toward_the_client_sets_the_pending_flag) {
  Connect();
  server->Arrive("a");
  server->Arrive("b");
  Take();
  EXPECT_TRUE(handler->ResumeThrottledOrDangledClientSend(false));
  EXPECT_EQ(client->mSent, "ab") << "toward the server nothing holds the resume back";
  client->Arrive("a");
  client->Arrive("b");
  EXPECT_TRUE(handler->ResumeThrottledOrDangledServerSend(false));
  EXPECT_EQ(server->mSent, "a");
}

// Ends.

TEST_P(DirectionTest, Data_for_a_socket_that_is_gone_ends_the_pair) {
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

TEST_P(DirectionTest, A_drain_that_finds_its_socket_gone_closes_both) {
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

TEST_F(PassThruTest, The_server_closes_and_the_client_is_closed_after_it) {
  Connect();
  client->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckClient.Close", "RemoteServerDisconnected(True, [])", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(PassThruTest, The_server_closes_when_the_client_is_gone_already) {
  Connect();
  server->mState = SocketState::kClosed;
  client->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckClient.Close", "RemoteServerDisconnected(False, [])", "Dead()"}));
}

TEST_F(PassThruTest, The_client_closes_and_the_server_is_closed_after_it) {
  Connect();
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(True)", "sckClient.Close",
                           "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(PassThruTest, The_client_closes_when_the_server_is_gone_already) {
  Connect();
  client->mState = SocketState::kClosed;
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(False)", "Dead()"}));
}

TEST_F(PassThruTest, The_server_closes_while_a_long_buffer_drains_and_the_client_gets_all_of_it) {
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

TEST_F(PassThruTest, The_client_closes_while_a_buffer_drains_and_the_server_gets_all_of_it) {
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

TEST_F(PassThruTest, Data_from_the_server_after_the_client_has_gone_ends_the_pair) {
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

TEST_F(PassThruTest, A_close_that_waits_when_a_dangle_starts_ends_the_pair_and_loses_the_buffer) {
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

TEST_F(PassThruTest, A_server_that_left_during_a_dangle_is_finished_at_its_end) {
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

TEST_F(PassThruTest, Both_sides_gone_and_a_dangle_of_both_directions_die_twice) {
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
  EXPECT_EQ(Take().count(QStringLiteral("Dead()")), 2);
}

TEST_F(PassThruTest, A_dangle_of_the_other_direction_leaves_a_waiting_close_alone) {
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

TEST_F(PassThruTest, An_error_of_the_local_server_closes_both_sides) {
  Connect();
  server->Fails(10054, QStringLiteral("reset"));
  EXPECT_EQ(Take(), Lines({"ServerInBadState(10054, reset, False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "sckClient.Close",
                           "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(PassThruTest, An_error_of_the_local_server_before_the_connection_stands_closes_it_when_it_comes_late) {
  Accept();
  server->Fails(10054, QStringLiteral("reset"));
  EXPECT_EQ(Take(), Lines({"ServerInBadState(10054, reset, False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])", "sckClient.Close",
                                  "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(PassThruTest, An_error_of_the_local_client_closes_both_sides) {
  Connect();
  client->Fails(10054, QStringLiteral("reset"));
  EXPECT_EQ(Take(), Lines({"ClientInBadState(10054, reset, False)", "sckClient.Close",
                           "LocalClientDisconnected(False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(PassThruTest, A_scheduled_termination_by_force_is_an_error_0_of_the_local_client) {
  world.mSchedule.mTerminate = true;
  world.mSchedule.mTerminatePeriod = 300;
  world.mSchedule.mGraceful = 1;
  Connect();
  world.mTimers.Advance(milliseconds(300));
  EXPECT_EQ(Take(), Lines({"ClientInBadState(0, Socket connection scheduled for termination by VLT., False)",
                           "sckClient.Close", "LocalClientDisconnected(False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(PassThruTest, A_scheduled_termination_in_good_order_looks_like_the_servers_close) {
  world.mSchedule.mTerminate = true;
  world.mSchedule.mTerminatePeriod = 300;
  Connect();
  world.mTimers.Advance(milliseconds(300));
  EXPECT_EQ(Take(), Lines({"sckClient.Close",
                           "RemoteServerDisconnected(True, [Connection terminated as per schedule.])",
                           "sckServer.Close", "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(PassThruTest, A_dangle_that_ends_after_the_pair_has_died_reports_the_bad_state) {
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

// Failures inside the operations.

class ThrowingRecorder : public JournalRecorder {
 public:
  using JournalRecorder::JournalRecorder;
  [[noreturn]] static void Fail() { throw Failure(FailureNumber::kOverflow); }
  void LocalServerAcceptedConnection(SocketPair&, bool, qint32) override { Fail(); }
  void LocalServerRejectedConnection(SocketPair&, bool, qint32) override { Fail(); }
  void ConnectionAttemptFailed(SocketPair&, bool, const QString&, qint32) override { Fail(); }
  void ConnectionAttemptSuccessful(SocketPair&, bool, const QString&) override { Fail(); }
  void RemoteServerDisconnected(SocketPair&, bool, const QString&) override { Fail(); }
  void RemoteClientDisconnected(SocketPair&, bool) override { Fail(); }
  void ClientBytesReceived(SocketPair&, const Payload&, bool) override { Fail(); }
  void ServerBytesReceived(SocketPair&, const Payload&, bool) override { Fail(); }
  void ClientBytesSendStop(SocketPair&) override { Fail(); }
  void ServerBytesSendStop(SocketPair&) override { Fail(); }
  void ClientBytesSendStart(SocketPair&, const Payload&, bool, bool) override { Fail(); }
  void ServerBytesSendStart(SocketPair&, const Payload&, bool, bool) override { Fail(); }
  void ServerInBadState(SocketPair&, qint32, const QString&, bool) override { Fail(); }
  void ClientInBadState(SocketPair&, qint32, const QString&, bool) override { Fail(); }
};

TEST_F(PassThruTest, Each_operation_reports_its_failure_under_its_own_text) {
  Connect();
  server->Arrive("a");
  server->Arrive("held");
  client->Arrive("a");
  client->Arrive("held");
  client->Sent();
  server->Sent();
  ThrowingRecorder recorder(world.mJournal);
  handler->mobjLogging = &recorder;
  const auto text = [&](const char* what, const std::function<void()>& operation) {
    world.mErrors.mTexts.clear();
    operation();
    EXPECT_EQ(
        world.mErrors.mTexts,
        QStringList{QStringLiteral("An error occurred while attempting to process ") + QLatin1String(what) +
                    QStringLiteral(" (Pass Through).  The operating system reports: 6, "
                                   "Overflow")});
  };
  text("the connection request from the remote client", [&] { handler->LocalServerAcceptedConnection(); });
  text("the rejected connection request", [&] { handler->LocalServerRejectedConnection(); });
  text("the successful connection to the remote server", [&] { handler->ConnectedToRemoteServer({}); });
  text("the remote server's disconnection", [&] { handler->RemoteServerInitiatedDisconnection({}); });
  text("the data arriving on the local client", [&] { handler->ClientBytesReceived(QByteArray("x")); });
  text("the data sent through the local client", [&] { handler->ClientBytesSent(); });
  text("the remote client's disconnection", [&] { handler->RemoteClientInitiatedDisconnection(); });
  text("the data arriving on the local server", [&] { handler->ServerBytesReceived(QByteArray("x")); });
  text("the local server's error", [&] { handler->ServerError(1, {}); });
  text("the local client's error", [&] { handler->ClientError(1, {}); });
  text("the data sent through the local server", [&] { handler->ServerBytesSent(); });
}

TEST_F(PassThruTest, The_resume_operations_report_under_their_own_texts) {
  Connect();
  server->Arrive("a");
  server->Arrive("held");
  client->Arrive("a");
  client->Arrive("held");
  ThrowingRecorder recorder(world.mJournal);
  client->mState = server->mState = SocketState::kClosed;
  handler->mobjLogging = &recorder;
  EXPECT_FALSE(handler->ResumeThrottledOrDangledClientSend(false));
  EXPECT_FALSE(handler->ResumeThrottledOrDangledServerSend(false));
  EXPECT_EQ(world.mErrors.mTexts,
            (QStringList{
                QStringLiteral(
                    "An error occurred while attempting to process the data during the throttled send "
                    "through the local client (Pass Through).  The operating system reports: 6, Overflow"),
                QStringLiteral(
                    "An error occurred while attempting to process the data during the throttled send "
                    "through the local server (Pass Through).  The operating system reports: 6, Overflow")}));
}

}  // namespace
}  // namespace veltrane
