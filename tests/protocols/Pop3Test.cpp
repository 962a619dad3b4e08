#include "tests/protocols/HandlerTest.h"

namespace veltrane {
namespace {

struct Pop3Test : HandlerTest {
  Pop3Test() : HandlerTest(QStringLiteral("POP3")) {}

  /// The login line is on its way to the server.
  void LogIn() {
    AcceptAndSay("USER Fred#Server\r\n");
    Connect();
    client->Arrive("+OK ready\r\n");
    client->Sent();
    Take();
  }
};

TEST_F(Pop3Test, The_client_is_greeted_when_it_is_accepted) {
  pair->ServerConnected(7, handler);
  EXPECT_EQ(Take(),
            Lines({"sckServer.Accept 7", "LocalServerAcceptedConnection(False, 2000)", "GotProtocol(POP3)",
                   "sckServer.SendData +OK\r\n", "ServerBytesSendStart(+OK\r\n, False, False)"}));
  EXPECT_EQ(handler->GetProtocolName(), QStringLiteral("POP3"));
}

TEST_F(Pop3Test, A_rejected_connection_is_recorded_by_its_protocol) {
  pair->ConnectionRejected(7, handler);
  EXPECT_EQ(Take(), Lines({"LocalServerRejectedConnection(True, 2000)", "GotProtocol(POP3)", "Dead()"}));
}

TEST_F(Pop3Test, The_login_goes_to_the_server_after_its_greeting_without_the_servers_name) {
  Accept();
  server->Arrive("USER Fred#Server\r\n");
  EXPECT_EQ(Take().mid(1),
            Lines({"ConnectionAttemptToRemoteServer(Server, 110, False)", "sckClient.Connect Server:110"}));
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])"})) << "the line waits";
  client->Arrive("+OK real <1@x>\r\n");
  EXPECT_EQ(Take(),
            Lines({"ClientBytesReceived(+OK real <1@x>\r\n, False)", "sckClient.SendData USER Fred\r\n",
                   "ClientBytesSendStart(USER Fred\r\n, False, False)"}));
  EXPECT_EQ(server->mSent, "+OK\r\n") << "the greeting goes no further";
  client->Sent();
  client->Arrive("+OK send pass\r\n");
  EXPECT_EQ(server->mSent, "+OK\r\n+OK send pass\r\n");
}

TEST_F(Pop3Test, The_port_is_the_key_of_this_port) {
  Set("Port", "1110");
  Accept();
  server->Arrive("USER Fred#Server\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect Server:1110"));
}

TEST_F(Pop3Test, A_login_without_a_server_fails_and_the_client_sees_the_greeting_and_the_end) {
  for (const char* login : {"USER Fred\r\n", "USER a#b#c\r\n", "CAPA\r\n"}) {
    NewConnection();
    Accept();
    server->Arrive(login);
    EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect :110")) << login;
    client->Fails(11001, QStringLiteral("no host"));
    EXPECT_EQ(server->mSent, "+OK\r\n");
    EXPECT_EQ(server->mState, SocketState::kClosed);
    EXPECT_TRUE(pair->Dead());
  }
}

TEST_F(Pop3Test, A_first_line_that_is_no_login_does_not_wait_for_one) {
  AcceptAndSay("CAPA\r\n");
  server->Arrive("USER Fred#Server\r\n");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(USER Fred#Server\r\n, True)",
                           "ClientBytesBuffered(USER Fred#Server\r\n, False, False)"}));
}

TEST_F(Pop3Test, A_greeting_counts_in_any_case) {
  for (const char* greeting : {"+OK\r\n", "+Ok x\r\n", "+oK\r\n", "+ok\r\n", "+OKAY\r\n"}) {
    NewConnection();
    AcceptAndSay("USER Fred#Server\r\n");
    Connect();
    client->Arrive(greeting);
    EXPECT_EQ(client->mSent, "USER Fred\r\n") << greeting;
    EXPECT_EQ(server->mSent, "+OK\r\n") << greeting;
  }
}

TEST_F(Pop3Test, A_greeting_that_says_no_is_relayed_and_the_login_keeps_waiting) {
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  client->Arrive("-ERR busy\r\n");
  EXPECT_EQ(Take(), Lines({"ClientBytesReceived(-ERR busy\r\n, True)", "sckServer.SendData -ERR busy\r\n",
                           "ServerBytesSendStart(-ERR busy\r\n, False, False)"}));
  EXPECT_TRUE(client->mSent.isEmpty());
  client->Arrive("+OK now\r\n");
  EXPECT_EQ(client->mSent, "USER Fred\r\n");
}

TEST_F(Pop3Test, After_a_greeting_that_says_no_the_client_is_heard_and_the_login_goes_behind) {
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  client->Arrive("-ERR busy\r\n");
  Take();
  server->Arrive("QUIT\r\n");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(QUIT\r\n, True)", "sckClient.SendData QUIT\r\n",
                           "ClientBytesSendStart(QUIT\r\n, False, False)"}));
  // All that waits goes out behind what was sent.
  client->Sent();
  EXPECT_EQ(client->mSent, "QUIT\r\nUSER Fred\r\n");
}

TEST_F(Pop3Test, A_greeting_that_comes_after_all_sends_the_login_before_what_the_client_says_then) {
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  client->Arrive("-ERR wait\r\n");
  client->Arrive("+OK now\r\n");
  server->Arrive("PASS x\r\n");
  EXPECT_EQ(client->mSent, "USER Fred\r\nPASS x\r\n");
}

TEST_F(Pop3Test, A_greeting_cut_below_three_characters_is_none) {
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  client->Arrive("+O");
  EXPECT_TRUE(client->mSent.isEmpty());
  EXPECT_EQ(server->mSent, "+OK\r\n+O");
}

TEST_F(Pop3Test, After_the_greeting_replies_pass_unchanged) {
  LogIn();
  for (const char* reply : {"+OK one\r\n", "+OK two\r\n"}) {
    server->mSent.clear();
    client->Arrive(reply);
    server->Sent();
    EXPECT_EQ(server->mSent, reply);
  }
}

TEST_F(Pop3Test, A_greeting_when_nothing_waits_is_recorded_twice_and_relayed) {
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  // The end of the outgoing connection is on its way while its greeting arrives.
  client->mState = SocketState::kPeerClosing;
  client->Arrive("+OK real\r\n");
  EXPECT_EQ(Take(),
            Lines({"ClientBytesReceived(+OK real\r\n, False)", "ClientBytesReceived(+OK real\r\n, True)",
                   "sckServer.SendData +OK real\r\n", "ServerBytesSendStart(+OK real\r\n, False, False)"}));
  EXPECT_TRUE(client->mSent.isEmpty());
}

TEST_F(Pop3Test, Without_a_login_that_waits_each_ok_is_recorded_twice_and_relayed) {
  Dangle(0, 2);
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  // The dangle discards the login.
  Pass(1500);
  Take();
  for (int greeting = 0; greeting < 2; ++greeting) {
    client->Arrive("+OK real\r\n");
    EXPECT_EQ(Take(),
              Lines({"ClientBytesReceived(+OK real\r\n, False)", "ClientBytesReceived(+OK real\r\n, True)",
                     "sckServer.SendData +OK real\r\n", "ServerBytesSendStart(+OK real\r\n, False, False)"}));
    server->Sent();
    Take();
  }
  EXPECT_TRUE(client->mSent.isEmpty());
}

TEST_F(Pop3Test, Once_the_login_has_left_behind_what_passed_it_an_ok_is_no_greeting) {
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  client->Arrive("-ERR busy\r\n");
  server->Sent();
  server->Arrive("QUIT\r\n");
  client->Sent();
  Take();
  client->Arrive("+OK bye\r\n");
  EXPECT_EQ(Take(), Lines({"ClientBytesReceived(+OK bye\r\n, True)", "sckServer.SendData +OK bye\r\n",
                           "ServerBytesSendStart(+OK bye\r\n, False, False)"}));
}

TEST_F(Pop3Test, A_login_that_the_end_of_a_dangle_sends_waits_for_no_greeting_any_more) {
  Dangle(0, 1);
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  Pass(1500);
  EXPECT_EQ(client->mSent, "USER Fred\r\n");
  server->Arrive("PASS x\r\n");
  Take();
  client->Arrive("+OK slow\r\n");
  EXPECT_EQ(Take(), Lines({"ClientBytesReceived(+OK slow\r\n, True)", "sckServer.SendData +OK slow\r\n",
                           "ServerBytesSendStart(+OK slow\r\n, False, False)"}));
  client->Sent();
  EXPECT_EQ(client->mSent, "USER Fred\r\nPASS x\r\n");
}

TEST_F(Pop3Test, A_greeting_is_swallowed_and_the_login_sent_also_during_a_dangle_of_both) {
  Dangle(2, 1);
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  Pass(500);
  Take();
  client->Arrive("+OK real\r\n");
  EXPECT_EQ(Take(), Lines({"ClientBytesReceived(+OK real\r\n, False)", "sckClient.SendData USER Fred\r\n",
                           "ClientBytesSendStart(USER Fred\r\n, False, False)"}));
}

TEST_F(Pop3Test, What_the_client_says_before_the_login_has_left_goes_out_on_its_own) {
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  client->Arrive("+OK real\r\n");
  Take();
  server->Arrive("PASS x\r\n");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(PASS x\r\n, True)", "sckClient.SendData PASS x\r\n",
                           "ClientBytesSendStart(PASS x\r\n, False, False)"}));
  EXPECT_EQ(client->mSent, "USER Fred\r\nPASS x\r\n");
}

TEST_F(Pop3Test, What_the_client_says_between_connection_and_greeting_waits_behind_the_login) {
  AcceptAndSay("USER Fred#Server\r\n");
  Connect();
  server->Arrive("PASS x\r\n");
  EXPECT_TRUE(client->mSent.isEmpty());
  client->Arrive("+OK real\r\n");
  EXPECT_EQ(client->mSent, "USER Fred\r\nPASS x\r\n");
  EXPECT_EQ(server->mSent, "+OK\r\n");
}

TEST_F(Pop3Test, The_password_is_relayed_and_recorded) {
  LogIn();
  server->Arrive("PASS secret\r\n");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(PASS secret\r\n, True)", "sckClient.SendData PASS secret\r\n",
                           "ClientBytesSendStart(PASS secret\r\n, False, False)"}));
}

TEST_F(Pop3Test, A_client_that_leaves_before_the_connection_stands_is_finished_by_it) {
  AcceptAndSay("USER Fred#Server\r\n");
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(False)"}));
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])", "sckClient.Close",
                                  "LocalClientDisconnected(False)", "Dead()"}));
  EXPECT_TRUE(client->mSent.isEmpty());
}

TEST_F(Pop3Test, A_client_that_leaves_without_a_word_is_dead) {
  Accept();
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(False)", "Dead()"}));
}

TEST_F(Pop3Test, A_name_failure_sends_its_own_text) {
  SetNoSiteError("-ERR no such server\r\n");
  AcceptAndSay("USER Fred#Server\r\n");
  client->Fails(11001, QStringLiteral("why"));
  EXPECT_EQ(server->mSent, "+OK\r\n-ERR no such server\r\n");
}

TEST_F(Pop3Test, A_port_key_that_is_no_number_is_reported_and_the_attempt_has_no_destination) {
  Set("Port", "abc");
  Accept();
  server->Arrive("USER Fred#Server\r\n");
  EXPECT_EQ(world.mErrors.mTexts, QStringList{QStringLiteral(
                                      "An error occurred while attempting to route the POP3 request (POP3).  "
                                      "The operating system reports: 13, Type mismatch")});
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect :0"));
}

}  // namespace
}  // namespace veltrane
