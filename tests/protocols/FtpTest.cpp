#include "tests/protocols/FtpTest.h"

namespace veltrane {
namespace {

// The login.

TEST_F(FtpTest, The_client_is_greeted_when_it_is_accepted) {
  pair->ServerConnected(7, handler);
  EXPECT_EQ(Take(), Lines({"sckServer.Accept 7", "LocalServerAcceptedConnection(False, 2000)",
                           "GotProtocol(FTP)", "sckServer.SendData 220 Veltrane FTP Server\r\n",
                           "ServerBytesSendStart(220 Veltrane FTP Server\r\n, False, False)"}));
  EXPECT_EQ(handler->GetProtocolName(), QStringLiteral("FTP"));
}

TEST_F(FtpTest, A_rejected_connection_is_recorded_by_its_protocol) {
  pair->ConnectionRejected(7, handler);
  EXPECT_EQ(Take(), Lines({"LocalServerRejectedConnection(True, 2000)", "GotProtocol(FTP)", "Dead()"}));
}

TEST_F(FtpTest, The_login_goes_to_the_server_after_its_greeting_without_the_site) {
  Accept();
  server->Arrive("USER UserId@FTPSite\r\n");
  EXPECT_EQ(Take().mid(1),
            Lines({"ConnectionAttemptToRemoteServer(FTPSite, 21, False)", "sckClient.Connect FTPSite:21"}));
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])"})) << "the line waits";
  client->Arrive("220 real\r\n");
  EXPECT_EQ(Take(), Lines({"ClientBytesReceived(220 real\r\n, False)", "sckClient.SendData USER UserId\r\n",
                           "ClientBytesSendStart(USER UserId\r\n, False, False)"}));
  client->Sent();
  client->Arrive("331 password\r\n");
  EXPECT_EQ(server->mSent, "220 Veltrane FTP Server\r\n331 password\r\n");
}

TEST_F(FtpTest, A_site_with_a_port_goes_to_that_port) {
  Accept();
  server->Arrive("USER UserId@FTPSite:2121\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect FTPSite:2121"));
  client->Connected();
  client->Arrive("220 real\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\n");
}

TEST_F(FtpTest, The_last_sign_parts_user_and_site) {
  Accept();
  server->Arrive("USER a@b@FTPSite\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect FTPSite:21"));
  client->Connected();
  client->Arrive("220 real\r\n");
  EXPECT_EQ(client->mSent, "USER a@b\r\n");
}

TEST_F(FtpTest, A_login_without_a_site_is_reported_and_goes_to_the_text_of_the_line_with_nothing_to_read) {
  Accept();
  server->Arrive("USER UserId\r\n");
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to route the FTP request (FTP).  The "
                                 "operating system reports: 5, Invalid procedure call or argument")});
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect USER UserId:21"));
  client->Connected();
  client->Arrive("220 real\r\n");
  EXPECT_TRUE(client->mSent.isEmpty());
}

TEST_F(FtpTest, A_site_with_a_port_that_is_no_number_is_reported_and_keeps_the_line) {
  Accept();
  server->Arrive("USER UserId@FTPSite:abc\r\n");
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to route the FTP request (FTP).  The "
                                 "operating system reports: 13, Type mismatch")});
  EXPECT_EQ(Take().last(), QStringLiteral("sckClient.Connect FTPSite:0"));
  client->Connected();
  client->Arrive("220 real\r\n");
  EXPECT_EQ(client->mSent, "USER UserId@FTPSite:abc\r\n");
}

TEST_F(FtpTest, A_greeting_of_several_lines_is_relayed_until_a_chunk_begins_with_220_and_a_blank) {
  AcceptAndSay("USER UserId@FTPSite\r\n");
  Connect();
  server->mSent.clear();
  client->Arrive("220-welcome\r\n220-more\r\n");
  EXPECT_EQ(server->mSent, "220-welcome\r\n220-more\r\n");
  EXPECT_TRUE(client->mSent.isEmpty());
  server->Sent();
  client->Arrive("220 ready\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\n");
  EXPECT_EQ(server->mSent, "220-welcome\r\n220-more\r\n");
}

TEST_F(FtpTest, A_chunk_that_begins_with_the_greeting_is_swallowed_whole) {
  AcceptAndSay("USER UserId@FTPSite\r\n");
  Connect();
  server->mSent.clear();
  client->Arrive("220 real\r\nand more\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\n");
  EXPECT_TRUE(server->mSent.isEmpty());
}

TEST_F(FtpTest, A_greeting_of_several_lines_in_one_chunk_is_relayed_and_the_login_keeps_waiting) {
  AcceptAndSay("USER UserId@FTPSite\r\n");
  Connect();
  server->mSent.clear();
  client->Arrive("220-welcome\r\n220 ready\r\n");
  EXPECT_EQ(server->mSent, "220-welcome\r\n220 ready\r\n");
  EXPECT_TRUE(client->mSent.isEmpty());
}

TEST_F(FtpTest, What_the_client_answers_to_something_else_than_the_greeting_passes_the_login) {
  AcceptAndSay("USER UserId@FTPSite\r\n");
  Connect();
  client->Arrive("421 busy\r\n");
  Take();
  server->Arrive("QUIT\r\n");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(QUIT\r\n, True)", "sckClient.SendData QUIT\r\n",
                           "ClientBytesSendStart(QUIT\r\n, False, False)"}));
  client->Sent();
  EXPECT_EQ(client->mSent, "QUIT\r\nUSER UserId\r\n");
}

// The empty send again: what a dangle let go is not there for the greeting.
TEST_F(FtpTest, A_greeting_behind_a_login_that_the_end_of_a_dangle_sent_finds_nothing) {
  Dangle(0, 1);
  AcceptAndSay("USER UserId@FTPSite\r\n");
  Connect();
  Pass(1500);
  EXPECT_EQ(client->mSent, "USER UserId\r\n");
  client->Sent();
  client->Arrive("220 slow\r\n");
  Take();
  server->Arrive("PASS x\r\n");
  EXPECT_EQ(Take().last(), QStringLiteral("ClientBytesBuffered(PASS x\r\n, False, False)"));
}

TEST_F(FtpTest, A_220_when_nothing_waits_starts_an_empty_send_and_later_client_data_waits) {
  LogIn();
  client->Arrive("220 again\r\n");
  EXPECT_EQ(Take(),
            Lines({"ClientBytesReceived(220 again\r\n, False)", "ClientBytesSendStart(, False, False)"}));
  server->Arrive("NOOP\r\n");
  EXPECT_EQ(Take(),
            Lines({"ServerBytesReceived(NOOP\r\n, True)", "ClientBytesBuffered(NOOP\r\n, False, False)"}));
  // Until a further one sends what waits, behind the send that never was.
  client->Arrive("220 again\r\n");
  EXPECT_EQ(Take(), Lines({"ClientBytesReceived(220 again\r\n, False)",
                           "ClientBytesBuffered(NOOP\r\n, False, False)"}));
}

TEST_F(FtpTest, What_the_client_says_between_connection_and_greeting_waits_behind_the_login) {
  AcceptAndSay("USER UserId@FTPSite");
  Connect();
  const QByteArray login = "USER UserId\r\n";
  server->Arrive("PASS x\r\n");
  EXPECT_TRUE(client->mSent.isEmpty());
  client->Arrive("220 real\r\n");
  EXPECT_EQ(client->mSent, login + "PASS x\r\n");
}

TEST_F(FtpTest, A_greeting_that_finds_its_socket_gone_closes_both) {
  AcceptAndSay("USER UserId@FTPSite\r\n");
  Connect();
  client->mState = SocketState::kPeerClosing;
  client->Arrive("220 real\r\n");
  EXPECT_EQ(Take(), Lines({"ClientBytesReceived(220 real\r\n, False)",
                           "ClientInBadState(-1, Socket not connected, False)", "sckClient.Close",
                           "LocalClientDisconnected(False)", "sckServer.Close",
                           "LocalServerDisconnected(False)", "Dead()"}));
}

TEST_F(FtpTest, A_client_that_leaves_without_a_word_gets_no_end_from_the_handler) {
  Accept();
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(False)"}));
  EXPECT_FALSE(pair->mblnTerminated);
}

TEST_F(FtpTest, A_client_that_leaves_before_the_connection_stands_is_finished_by_it) {
  AcceptAndSay("USER UserId@FTPSite\r\n");
  server->PeerCloses();
  Take();
  client->Connected();
  EXPECT_EQ(Take().mid(2), Lines({"ConnectionAttemptSuccessful(False, [ ])", "sckClient.Close",
                                  "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_F(FtpTest, A_site_that_cannot_be_found_closes_after_the_greeting_without_a_text) {
  SetNoSiteError("text");
  for (const qint32 number : {11001, 11002, 10060}) {
    NewConnection();
    AcceptAndSay("USER UserId@FTPSite\r\n");
    client->Fails(number, QStringLiteral("why"));
    EXPECT_EQ(Take(),
              QStringList({QStringLiteral("ConnectionAttemptFailed(False, why, %1)").arg(number),
                           QStringLiteral("sckServer.Close"),
                           QStringLiteral("LocalServerDisconnected(False)"), QStringLiteral("Dead()")}));
    EXPECT_EQ(server->mSent, "220 Veltrane FTP Server\r\n");
  }
}

TEST_F(FtpTest, A_change_of_the_dangle_only_records) {
  Dangle(2, 1);
  AcceptAndSay("USER UserId@FTPSite\r\n");
  Connect();
  client->Arrive("220 real\r\n");
  server->PeerCloses();
  Take();
  Pass(500);
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(True, 2, 1000)"}));
}

}  // namespace
}  // namespace veltrane
