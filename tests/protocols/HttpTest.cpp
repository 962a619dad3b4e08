#include "tests/protocols/HandlerTest.h"

namespace veltrane {
namespace {

struct HttpTest : HandlerTest {
  HttpTest() : HandlerTest(QStringLiteral("HTTP")) {}
};

TEST_F(HttpTest, An_accepted_connection_waits_for_the_first_bytes) {
  server->mRemoteHost = QStringLiteral("client.name");
  pair->ServerConnected(7, handler);
  EXPECT_EQ(Take(), Lines({"sckServer.Accept 7", "LocalServerAcceptedConnection(False, 2000)",
                           "GotProtocol(HTTP)", "GotNameOfRemoteClient(client.name)"}));
  EXPECT_EQ(handler->GetProtocolName(), QStringLiteral("HTTP"));
}

TEST_F(HttpTest, A_rejected_connection_is_recorded_as_pass_thru) {
  pair->ConnectionRejected(7, handler);
  EXPECT_EQ(Take(), Lines({"LocalServerRejectedConnection(True, 2000)", "GotProtocol(Pass Thru)", "Dead()"}));
}

TEST_F(HttpTest, The_first_chunk_starts_the_connection_and_waits_rewritten) {
  Accept();
  server->Arrive("GET http://host:8080/a HTTP/1.1\r\n\r\n");
  EXPECT_EQ(Take(),
            Lines({"ServerBytesReceived(GET http://host:8080/a HTTP/1.1\r\n\r\n, True)",
                   "ConnectionAttemptToRemoteServer(host, 8080, False)", "sckClient.Connect host:8080"}));
  client->Connected();
  EXPECT_EQ(Take().mid(2),
            Lines({"ConnectionAttemptSuccessful(False, [ ])", "sckClient.SendData GET /a HTTP/1.1\r\n\r\n",
                   "ClientBytesSendStart(GET /a HTTP/1.1\r\n\r\n, False, False)"}));
}

TEST_F(HttpTest, The_examples_reach_their_servers) {
  Set("SpecificPort", "81");
  struct Row {
    const char* first;
    const char* where;
    const char* sent;
  };
  const Row rows[] = {
      {"GET http://host/a/b HTTP/1.0\r\n", "host:81", "GET /a/b HTTP/1.0\r\n"},
      {"GET http://host:8080/a HTTP/1.1\r\n", "host:8080", "GET /a HTTP/1.1\r\n"},
      {"GET HTTP://Host/ HTTP/1.0\r\n", "Host:81", "GET / HTTP/1.0\r\n"},
      {"GET http://host HTTP/1.0\r\n", "host:81", "GET  HTTP/1.0\r\n"},
      {"GET http://host:x/ HTTP/1.0\r\n", "host:81", "GET / HTTP/1.0\r\n"},
      {"GET /a HTTP/1.0\r\n", ":81", "GET /a HTTP/1.0\r\n"},
      {"GET http://host/http/a HTTP/1.0\r\n", "host:81", "GET / http/a HTTP/1.0\r\n"},
  };
  for (const Row& row : rows) {
    NewConnection();
    Accept();
    server->Arrive(row.first);
    EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect ") + QLatin1String(row.where));
    client->Connected();
    EXPECT_EQ(client->mSent, row.sent);
  }
}

TEST_F(HttpTest, A_first_chunk_without_a_url_goes_to_an_empty_host_and_out_unchanged) {
  for (const char* first : {"nonsense", "GET /a and no more", "GET http://host/ "}) {
    NewConnection();
    Accept();
    server->Arrive(first);
    EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect :80")) << first;
    client->Connected();
    EXPECT_EQ(client->mSent, first);
  }
}

TEST_F(HttpTest, An_attempt_without_a_host_that_fails_at_once_closes_the_client_without_a_word) {
  Accept();
  client->mConnectFailure = 10049;
  server->Arrive("nonsense");
  EXPECT_EQ(Take().mid(1), Lines({"ConnectionAttemptToRemoteServer(, 80, False)", "sckClient.Connect :80",
                                  "ConnectionAttemptFailed(True, failed on purpose, 10049)",
                                  "sckServer.Close", "LocalServerDisconnected(False)", "Dead()"}));
  EXPECT_TRUE(pair->Dead());
  EXPECT_TRUE(server->mSent.isEmpty());
}

TEST_F(HttpTest, A_request_line_split_before_its_protocol_field_is_not_rewritten_and_has_no_host) {
  Accept();
  server->Arrive("GET http://host/a ");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect :80"));
  server->Arrive("HTTP/1.0\r\n\r\n");
  client->Connected();
  EXPECT_EQ(client->mSent, "GET http://host/a HTTP/1.0\r\n\r\n");
}

TEST_F(HttpTest, Any_first_word_is_a_method) {
  AcceptAndSay("x http://host/ HTTP/1.0\r\n\r\n");
  client->Connected();
  EXPECT_EQ(client->mSent, "x / HTTP/1.0\r\n\r\n");
}

TEST_F(HttpTest, With_another_proxy_the_request_goes_there_unchanged) {
  Set("ConnectToProxy", "True");
  Set("Proxy", "next.proxy");
  Set("Port", "3128");
  for (const char* first : {"GET http://host/a HTTP/1.0\r\n\r\n", "GET /a HTTP/1.0\r\n\r\n", "\1\2\3"}) {
    NewConnection();
    Accept();
    server->Arrive(first);
    EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect next.proxy:3128"));
    client->Connected();
    EXPECT_EQ(client->mSent, first);
  }
}

TEST_F(HttpTest, The_key_of_the_page_that_names_the_other_choice_is_not_read) {
  Set("ConnectToPort", "False");
  Accept();
  server->Arrive("GET http://host/ HTTP/1.0\r\n\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect host:80"));
}

TEST_F(HttpTest, The_settings_are_those_of_the_port_that_accepted) {
  handler->mlngWasListeningOnPort = 1;
  Set("SpecificPort", "8081");
  Accept();
  server->Arrive("GET http://host/ HTTP/1.0\r\n\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect host:8081"));
}

TEST_F(HttpTest, Bytes_between_the_first_chunk_and_the_connection_queue_behind_it) {
  AcceptAndSay("POST http://host/a HTTP/1.0\r\n\r\n");
  server->Arrive("one http://x/ HTTP/1.0 ");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(one http://x/ HTTP/1.0 , True)",
                           "ClientBytesBuffered(one http://x/ HTTP/1.0 , False, False)"}));
  server->Arrive("two");
  client->Connected();
  EXPECT_EQ(client->mSent, "POST /a HTTP/1.0\r\n\r\none http://x/ HTTP/1.0 two");
}

TEST_F(HttpTest, A_client_that_closes_without_a_word_is_dead_though_nothing_was_connected) {
  Accept();
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(False)", "Dead()"}));
  EXPECT_FALSE(pair->Dead());
  EXPECT_TRUE(pair->mblnTerminated);
}

TEST_F(HttpTest, A_client_that_closes_while_connecting_is_finished_by_the_outcome) {
  AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(False)"}));
  client->Connected();
  client->Sent();
  EXPECT_EQ(Take().last(), QStringLiteral("Dead()"));
  EXPECT_EQ(client->mState, SocketState::kClosed);
}

TEST_F(HttpTest, A_later_request_that_names_another_host_goes_to_the_first_server) {
  AcceptAndSay("GET http://host/ HTTP/1.1\r\n\r\n");
  Connect();
  client->Sent();
  client->Arrive("HTTP/1.1 200 OK\r\n\r\n");
  server->Sent();
  Take();
  server->Arrive("GET http://other/ HTTP/1.1\r\n\r\n");
  EXPECT_EQ(Take().mid(1), Lines({"sckClient.SendData GET http://other/ HTTP/1.1\r\n\r\n",
                                  "ClientBytesSendStart(GET http://other/ HTTP/1.1\r\n\r\n, False, False)"}));
}

TEST_F(HttpTest, A_buffer_goes_whole_whatever_its_length) {
  AcceptAndSay("GET http://host/ HTTP/1.1\r\n\r\n");
  Connect();
  server->Arrive(QByteArray(50000, 'x'));
  client->Arrive("y");
  client->Arrive(QByteArray(60000, 'y'));
  Take();
  client->Sent();
  server->Sent();
  EXPECT_EQ(Take().filter(QStringLiteral("SendStart")),
            Lines({"ClientBytesSendStart(50000 bytes, False, False)",
                   "ServerBytesSendStart(60000 bytes, False, False)"}));
}

// What the client sees of each failure.

struct HttpNameFailure : HttpTest, testing::WithParamInterface<qint32> {};

TEST_P(HttpNameFailure, The_text_goes_out_and_the_connection_closes) {
  SetNoSiteError("HTTP/1.0 504 None\r\n\r\n");
  AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
  client->Fails(GetParam(), QStringLiteral("why"));
  EXPECT_EQ(Take(),
            QStringList({QStringLiteral("ConnectionAttemptFailed(False, why, %1)").arg(GetParam()),
                         QStringLiteral("sckServer.SendData HTTP/1.0 504 None\r\n\r\n"),
                         QStringLiteral("ServerBytesSendStart(HTTP/1.0 504 None\r\n\r\n, False, False)"),
                         QStringLiteral("sckServer.Close"), QStringLiteral("LocalServerDisconnected(False)"),
                         QStringLiteral("Dead()")}));
  EXPECT_TRUE(pair->Dead());
}

INSTANTIATE_TEST_SUITE_P(NotFound_TryAgain_TimedOut, HttpNameFailure, testing::Values(11001, 11002, 10060));

TEST_F(HttpTest, Without_a_text_no_bytes_reach_the_client) {
  AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
  client->Fails(11001, QStringLiteral("why"));
  EXPECT_EQ(Take(),
            Lines({"ConnectionAttemptFailed(False, why, 11001)", "ServerBytesSendStart(, False, False)",
                   "sckServer.Close", "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(HttpTest, A_refused_connection_or_any_other_error_closes_without_a_text) {
  SetNoSiteError("text");
  for (const qint32 number : {10061, 10054, 10065, 0}) {
    NewConnection();
    AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
    client->Fails(number, QStringLiteral("why"));
    EXPECT_EQ(Take(),
              QStringList({QStringLiteral("ClientInBadState(%1, why, False)").arg(number),
                           QStringLiteral("sckServer.Close"),
                           QStringLiteral("LocalServerDisconnected(False)"), QStringLiteral("Dead()")}));
    EXPECT_TRUE(server->mSent.isEmpty());
  }
}

TEST_F(HttpTest, Data_for_a_server_that_is_gone_closes_the_client_and_says_so_in_the_history_only) {
  AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
  Connect();
  client->mState = SocketState::kPeerClosing;
  server->Arrive("more");
  EXPECT_EQ(Take(),
            Lines({"ServerBytesReceived(more, True)", "ClientInBadState(-1, Socket not connected, False)",
                   "sckServer.Close", "LocalServerDisconnected(False)", "Dead()"}));
  EXPECT_TRUE(server->mSent.isEmpty());
}

TEST_F(HttpTest, A_name_that_fails_after_the_client_has_left_ends_the_pair) {
  SetNoSiteError("text");
  AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
  server->PeerCloses();
  Take();
  client->Fails(11001, QStringLiteral("why"));
  // The text has nowhere to go, which ends the pair once more than needed.
  EXPECT_EQ(Take(), Lines({"ConnectionAttemptFailed(False, why, 11001)",
                           "ServerInBadState(-1, Socket not connected, False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()", "Dead()"}));
}

// What was on its way to the client when the outgoing socket failed ends the pair once more.
TEST_F(HttpTest, A_failure_while_a_send_is_out_ends_the_pair_again_when_that_has_left) {
  AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
  Connect();
  client->Arrive("reply");
  server->mState = SocketState::kPeerClosing;
  Take();
  client->Fails(10061, QStringLiteral("why"));
  EXPECT_EQ(Take(), Lines({"ClientInBadState(10061, why, False)", "sckClient.Close",
                           "LocalClientDisconnected(False)", "Dead()"}));
  server->Sent();
  EXPECT_EQ(Take(), Lines({"ServerBytesSendStop()", "Dead()"}));
}

TEST_F(HttpTest, A_text_while_data_is_on_its_way_to_the_client_is_buffered) {
  SetNoSiteError("text");
  AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
  Connect();
  client->Arrive("reply");
  Take();
  // The schedule ends a connection that stands by an error of the outgoing socket.
  client->Fails(10060, QStringLiteral("why"));
  EXPECT_EQ(Take(),
            Lines({"ConnectionAttemptFailed(False, why, 10060)", "ServerBytesBuffered(text, False, False)",
                   "sckClient.Close", "LocalClientDisconnected(False)", "sckServer.Close",
                   "LocalServerDisconnected(False)", "Dead()"}));
}

// Failures of the settings.

TEST_F(HttpTest, A_port_key_that_is_no_number_is_reported_and_the_attempt_goes_on_without_a_port) {
  Set("SpecificPort", "abc");
  Accept();
  server->Arrive("GET http://host/ HTTP/1.0\r\n\r\n");
  EXPECT_EQ(world.mErrors.mTexts, QStringList{QStringLiteral(
                                      "An error occurred while attempting to route the HTTP request (HTTP).  "
                                      "The operating system reports: 13, Type mismatch")});
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect host:0"));
}

// Dangling.

TEST_F(HttpTest, A_dangle_holds_data_and_lets_it_go) {
  Dangle(0, 1);
  AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
  Connect();
  client->Sent();
  Pass(500);
  Take();
  server->Arrive("held");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(held, True)", "ClientBytesBuffered(held, False, True)"}));
  Pass(1000);
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(False, 0, 1000)", "sckClient.SendData held",
                           "ClientBytesSendStart(held, False, False)"}));
}

TEST_F(HttpTest, A_change_of_the_dangle_only_records_and_a_waiting_close_is_finished_by_the_next_send) {
  Dangle(0, 1);
  AcceptAndSay("GET http://host/ HTTP/1.0\r\n\r\n");
  Connect();
  server->PeerCloses();
  Take();
  Pass(500);
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(True, 0, 1000)"}));
  client->Sent();
  EXPECT_EQ(Take(),
            Lines({"ClientBytesSendStop()", "sckClient.Close", "LocalClientDisconnected(False)", "Dead()"}));
}

}  // namespace
}  // namespace veltrane
