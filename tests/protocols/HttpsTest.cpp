#include "tests/protocols/HandlerTest.h"

namespace veltrane {
namespace {

const QByteArray kReply =
    "HTTP/1.0 200 Connection established\r\nProxy-agent: Netscape -Proxy / 1.1 \r\n\r\n";

struct HttpsTest : HandlerTest {
  HttpsTest() : HandlerTest(QStringLiteral("HTTPS")) {}
};

TEST_F(HttpsTest, Accepted_and_rejected_connections_are_recorded) {
  pair->ServerConnected(7, handler);
  EXPECT_EQ(Take(), Lines({"sckServer.Accept 7", "LocalServerAcceptedConnection(False, 2000)",
                           "GotProtocol(HTTPS)"}));
  EXPECT_EQ(handler->GetProtocolName(), QStringLiteral("HTTPS"));
  NewConnection();
  pair->ConnectionRejected(7, handler);
  EXPECT_EQ(Take(), Lines({"LocalServerRejectedConnection(True, 2000)", "GotProtocol(Pass Thru)", "Dead()"}));
}

TEST_F(HttpsTest, A_connect_request_goes_to_its_host_and_none_of_it_reaches_the_server) {
  Accept();
  server->Arrive("CONNECT host:443 HTTP/1.1\r\nHost: host:443\r\n\r\n");
  EXPECT_EQ(Take().mid(1),
            Lines({"ConnectionAttemptToRemoteServer(host, 443, False)", "sckClient.Connect host:443"}));
  EXPECT_TRUE(server->mSent.isEmpty()) << "the reply waits for the connection";
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])", "sckServer.SendData 76 bytes",
                                  "ServerBytesSendStart(76 bytes, False, False)"}));
  EXPECT_EQ(server->mSent, kReply);
  server->Sent();
  server->Arrive("hello");
  EXPECT_EQ(client->mSent, "hello");
}

TEST_F(HttpsTest, A_connect_request_without_a_port_goes_to_the_specific_port) {
  AcceptAndSay("CONNECT host HTTP/1.0\r\n\r\n");
  EXPECT_EQ(client->mState, SocketState::kConnecting);
  NewConnection();
  Set("SpecificPort", "444");
  Accept();
  server->Arrive("CONNECT host HTTP/1.0\r\n\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect host:444"));
}

TEST_F(HttpsTest, The_default_of_the_specific_port_is_80_here_too) {
  Accept();
  server->Arrive("CONNECT host HTTP/1.0\r\n\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect host:80"));
}

TEST_F(HttpsTest, A_split_connect_request_has_no_host) {
  Accept();
  server->Arrive("CONNECT host:443 ");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect :80"));
}

TEST_F(HttpsTest, What_a_client_sends_early_waits_and_goes_out_after_the_reply) {
  AcceptAndSay("CONNECT host:443 HTTP/1.1\r\n\r\n");
  server->Arrive("early ");
  server->Arrive("hello");
  Take();
  client->Connected();
  EXPECT_EQ(Take().mid(3),
            Lines({"sckServer.SendData 76 bytes", "ServerBytesSendStart(76 bytes, False, False)",
                   "sckClient.SendData early hello", "ClientBytesSendStart(early hello, False, False)"}));
}

TEST_F(HttpsTest, A_first_chunk_that_is_no_connect_is_treated_alike_and_dropped) {
  Accept();
  server->Arrive("GET https://host:8443/a HTTP/1.0\r\n\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect host:8443"));
  client->Connected();
  EXPECT_TRUE(client->mSent.isEmpty());
  EXPECT_EQ(server->mSent, kReply);
}

TEST_F(HttpsTest, A_plain_absolute_url_makes_a_host_of_its_scheme) {
  Accept();
  server->Arrive("GET http://host/a HTTP/1.0\r\n\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect http:80"));
}

TEST_F(HttpsTest, With_another_proxy_the_request_does_not_reach_that_proxy_either) {
  Set("ConnectToProxy", "True");
  Set("Proxy", "next.proxy");
  Set("Port", "3128");
  Accept();
  server->Arrive("CONNECT host:443 HTTP/1.1\r\n\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect next.proxy:3128"));
  client->Connected();
  EXPECT_EQ(server->mSent, kReply);
  EXPECT_TRUE(client->mSent.isEmpty());
  server->Arrive("hello");
  EXPECT_EQ(client->mSent, "hello");
}

TEST_F(HttpsTest, A_client_that_leaves_while_connecting_gets_no_reply) {
  AcceptAndSay("CONNECT host:443 HTTP/1.1\r\n\r\n");
  server->PeerCloses();
  Take();
  client->Connected();
  // The reply finds its socket gone, which ends the pair; the left client ends it once more.
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])",
                                  "ServerInBadState(-1, Socket not connected, False)", "sckServer.Close",
                                  "LocalServerDisconnected(False)", "sckClient.Close",
                                  "LocalClientDisconnected(False)", "Dead()", "Dead()"}));
  EXPECT_TRUE(server->mSent.isEmpty());
}

TEST_F(HttpsTest, What_a_client_sent_early_before_it_left_finds_its_socket_gone) {
  AcceptAndSay("CONNECT host:443 HTTP/1.1\r\n\r\n");
  server->Arrive("early");
  server->PeerCloses();
  Take();
  client->Connected();
  // The reply has ended the pair; what waits is offered all the same, and nothing takes it.
  EXPECT_EQ(
      Take().mid(2),
      Lines({"ConnectionAttemptSuccessful(False, [ ])", "ServerInBadState(-1, Socket not connected, False)",
             "sckServer.Close", "LocalServerDisconnected(False)", "sckClient.Close",
             "LocalClientDisconnected(False)", "Dead()", "ClientBytesSendStart(, False, False)"}));
  EXPECT_TRUE(client->mSent.isEmpty());
}

TEST_F(HttpsTest, A_client_that_closes_without_a_word_is_dead) {
  Accept();
  server->PeerCloses();
  EXPECT_EQ(Take().last(), QStringLiteral("Dead()"));
}

TEST_F(HttpsTest, A_name_failure_shows_its_own_text_in_place_of_the_reply) {
  SetNoSiteError("HTTP/1.0 504 None\r\n\r\n");
  AcceptAndSay("CONNECT host:443 HTTP/1.1\r\n\r\n");
  client->Fails(11001, QStringLiteral("why"));
  EXPECT_EQ(server->mSent, "HTTP/1.0 504 None\r\n\r\n");
  EXPECT_EQ(server->mState, SocketState::kClosed);
}

TEST_F(HttpsTest, Any_other_failure_shows_nothing) {
  SetNoSiteError("text");
  AcceptAndSay("CONNECT host:443 HTTP/1.1\r\n\r\n");
  client->Fails(10061, QStringLiteral("refused"));
  EXPECT_TRUE(server->mSent.isEmpty());
  EXPECT_EQ(server->mState, SocketState::kClosed);
}

TEST_F(HttpsTest, The_reply_of_the_server_waits_behind_the_proxys_own) {
  AcceptAndSay("CONNECT host:443 HTTP/1.1\r\n\r\n");
  Connect();
  client->Arrive("server speaks first");
  EXPECT_EQ(Take().last(), QStringLiteral("ServerBytesBuffered(server speaks first, False, False)"));
  server->Sent();
  EXPECT_EQ(server->mSent, kReply + "server speaks first");
}

}  // namespace
}  // namespace veltrane
