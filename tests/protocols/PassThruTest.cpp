// Accepting, connecting, relaying, and what fails inside the operations.
#include "tests/protocols/PassThruTest.h"

namespace veltrane {
namespace {

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

INSTANTIATE_TEST_SUITE_P(Both, DirectionTest, testing::Bool(), DirectionName);

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

TEST_F(PassThruTest, While_the_first_words_are_on_their_way_more_is_buffered_and_a_close_waits) {
  Accept();
  server->Arrive("HELLO ");
  client->Connected();
  server->Arrive("AGAIN");
  EXPECT_EQ(client->mSent, "HELLO ");
  server->PeerCloses();
  EXPECT_FALSE(pair->Dead());
  client->Sent();
  EXPECT_EQ(client->mSent, "HELLO AGAIN");
  client->Sent();
  EXPECT_TRUE(pair->Dead());
}

TEST_F(PassThruTest, First_words_under_a_throttle_keep_their_rest) {
  Accept();
  server->Arrive("abcdef");
  world.mSchedule.mThrottleC2S = true;
  Take();
  client->Connected();
  EXPECT_TRUE(Take().contains(QStringLiteral("ClientBytesSendStart(abc, False, True)")));
  client->Sent();
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(client->mSent, "abcdef");
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
