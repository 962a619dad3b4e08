// The ports that an FTP connection opens for its data.
#include <algorithm>
#include <cmath>

#include "tests/protocols/FtpTest.h"

namespace veltrane {
namespace {

TEST_F(FtpTest, The_site_itself_may_connect_to_the_port_of_an_active_transfer_from_a_public_address) {
  LogIn();
  NextPorts({3012});
  client->mRemoteHostIP = QStringLiteral("8.8.4.4");
  server->Arrive("PORT 127,0,0,1,5,6\r\n");
  const qsizetype pairs = world.mGeneral.gobjListening->mobjSocketPairs.Count();
  DataListener(3012)->Request(1, QStringLiteral("8.8.8.8"));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), pairs);
  DataListener(3012)->Request(2, QStringLiteral("8.8.4.4"));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), pairs + 1);
}

TEST_F(FtpTest, The_site_cannot_let_itself_in_by_a_227) {
  LogIn();
  NextPorts({3012});
  client->mRemoteHostIP = QStringLiteral("8.8.4.4");
  client->Arrive("227 Entering Passive Mode (192,168,1,1,0,22)\r\n");
  const qsizetype pairs = world.mGeneral.gobjListening->mobjSocketPairs.Count();
  DataListener(3012)->Request(1, QStringLiteral("8.8.4.4"));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), pairs);
  ASSERT_TRUE(DataListener(3012)) << "the client is still to come";
  DataListener(3012)->Request(2, QStringLiteral("192.168.1.7"));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), pairs + 1);
}

TEST_F(FtpTest, A_227_on_a_port_of_an_earlier_active_transfer_does_not_let_the_site_in) {
  LogIn();
  NextPorts({3012, 3012});
  client->mRemoteHostIP = QStringLiteral("8.8.4.4");
  server->Arrive("PORT 127,0,0,1,5,6\r\n");
  client->Sent();
  DataListener(3012)->Close();
  client->Arrive("227 Entering Passive Mode (192,168,1,1,0,22)\r\n");
  ASSERT_EQ(DataListener(3012)->State(), SocketState::kListening);
  const qsizetype pairs = world.mGeneral.gobjListening->mobjSocketPairs.Count();
  DataListener(3012)->Request(1, QStringLiteral("8.8.4.4"));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), pairs);
}

TEST_F(FtpTest, A_port_command_opens_a_data_port_and_goes_on_with_its_address) {
  LogIn();
  NextPorts({3000});
  server->Arrive("PORT 192,0,2,5,4,1\r\n");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(PORT 192,0,2,5,4,1\r\n, True)", "socket.Listen 3000", "yield",
                           "sckClient.SendData PORT 10,0,0,7,11,184\r\n",
                           "ClientBytesSendStart(PORT 10,0,0,7,11,184\r\n, False, False)"}));
  EXPECT_EQ(RowsOf(3000), (QStringList{kEphemeralText, QStringLiteral("1025"), QStringLiteral("192.0.2.5"),
                                       kEphemeralText}));
  ASSERT_TRUE(DataListener(3000));
  EXPECT_EQ(DataListener(3000)->Tag(), QStringLiteral("Ephemeral"));
  const TreeNode& node = world.mMain.tvwSockets.Node(QStringLiteral("PROTO3000"));
  EXPECT_EQ(node.Text(), QStringLiteral("FTP Data - Dynamically allocated (3000)"));
  EXPECT_EQ(node.Image(), QStringLiteral("Protocol"));
  EXPECT_EQ(node.Tag(), QStringLiteral("3000"));
  EXPECT_EQ(node.Parent()->Key(), QStringLiteral("ROOT"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FtpTest, A_227_reply_opens_a_data_port_and_goes_on_with_its_address) {
  LogIn();
  NextPorts({5000});
  client->Arrive("227 entering PASSIVE mode (192,0,2,9,0,20). Bye\r\n200 lost\r\n");
  EXPECT_EQ(Take().mid(1), Lines({"socket.Listen 5000", "yield", "sckServer.SendData 45 bytes",
                                  "ServerBytesSendStart(45 bytes, False, False)"}));
  EXPECT_EQ(RowsOf(5000),
            (QStringList{kEphemeralText, QStringLiteral("20"), QStringLiteral("192.0.2.9"), kEphemeralText}));
}

TEST_F(FtpTest, The_command_in_lower_case_matches_and_goes_on_in_capitals) {
  LogIn();
  NextPorts({3000});
  server->Arrive("port 1,2,3,4,5,6\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\nPORT 10,0,0,7,11,184\r\n");
}

TEST_F(FtpTest, A_port_command_loses_further_lines_of_its_chunk) {
  LogIn();
  NextPorts({3000});
  server->Arrive("PORT 1,2,3,4,5,6\r\nNOOP\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\nPORT 10,0,0,7,11,184\r\n");
}

TEST_F(FtpTest, Other_forms_of_the_reply_and_the_extended_commands_pass_unchanged) {
  LogIn();
  server->mSent.clear();
  client->mSent.clear();
  for (const char* reply : {"227 Passive OK (1,2,3,4,5,6)\r\n",
                            "229 Entering Extended Passive Mode (|||99|)\r\n", "227 Entering Passive Mod"}) {
    client->Arrive(reply);
    server->Sent();
    EXPECT_TRUE(server->mSent.endsWith(reply)) << reply;
  }
  for (const char* command : {"EPSV\r\n", "EPRT |1|1.2.3.4|99|\r\n", "PASV\r\n", "PORTS 1,2,3,4,5,6\r\n"}) {
    server->Arrive(command);
    client->Sent();
    EXPECT_TRUE(client->mSent.endsWith(command)) << command;
  }
  EXPECT_EQ(world.mRandom.mDraws, 0);
}

TEST_F(FtpTest, During_a_dangle_a_227_is_rewritten_and_waits_but_a_port_command_waits_as_it_is) {
  Dangle(2, 1);
  LogIn();
  Pass(500);
  NextPorts({3000});
  Take();
  client->Arrive("227 Entering Passive Mode (1,2,3,4,5,6)\r\n");
  EXPECT_EQ(Take().mid(1),
            Lines({"socket.Listen 3000", "yield", "ServerBytesBuffered(45 bytes, False, True)"}));
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(Take().mid(1), Lines({"ClientBytesBuffered(PORT 1,2,3,4,5,6\r\n, False, True)"}));
  server->mSent.clear();
  client->mSent.clear();
  Pass(1000);
  EXPECT_EQ(server->mSent, "227 Entering Passive Mode (10,0,0,7,11,184)\r\n");
  EXPECT_EQ(client->mSent, "PORT 1,2,3,4,5,6\r\n");
}

TEST_F(FtpTest, A_dangle_toward_the_client_leaves_the_port_command_alone) {
  Dangle(1, 1);
  LogIn();
  Pass(500);
  NextPorts({3000});
  client->mSent.clear();
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(client->mSent, "PORT 10,0,0,7,11,184\r\n");
}

TEST_F(FtpTest, A_dangle_toward_the_server_holds_the_port_command_as_it_is_and_leaves_the_227_alone) {
  Dangle(0, 1);
  LogIn();
  Pass(500);
  NextPorts({3000});
  server->mSent.clear();
  client->mSent.clear();
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(client->mSent, "");
  EXPECT_EQ(world.mRandom.mDraws, 0);
  client->Arrive("227 Entering Passive Mode (1,2,3,4,5,6)\r\n");
  EXPECT_EQ(server->mSent, "227 Entering Passive Mode (10,0,0,7,11,184)\r\n");
  Pass(1000);
  EXPECT_EQ(client->mSent, "PORT 1,2,3,4,5,6\r\n");
}

TEST_F(FtpTest, A_port_command_before_the_connection_stands_waits_as_it_is) {
  AcceptAndSay("USER UserId@FTPSite\r\n");
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  Connect();
  client->Arrive("220 real\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\nPORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(world.mRandom.mDraws, 0);
}

TEST_F(FtpTest, A_malformed_port_command_is_reported_and_goes_back_to_the_client) {
  LogIn();
  server->mSent.clear();
  server->Arrive("PORT 1,2,3\r\n");
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to route the PORT command (FTP).  The "
                                 "operating system reports: 9, Subscript out of range")});
  EXPECT_EQ(server->mSent, "PORT 1,2,3\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\n");
  EXPECT_EQ(world.mRandom.mDraws, 0);
}

TEST_F(FtpTest, A_malformed_227_is_reported_and_goes_back_to_the_server) {
  LogIn();
  server->mSent.clear();
  client->mSent.clear();
  client->Arrive("227 Entering Passive Mode (1,2,3)\r\n");
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to route the PASV command (FTP).  The "
                                 "operating system reports: 9, Subscript out of range")});
  EXPECT_TRUE(server->mSent.isEmpty());
  EXPECT_EQ(client->mSent, "227 Entering Passive Mode (1,2,3)\r\n");
}

TEST_F(FtpTest, Ports_in_use_are_tried_again_up_to_ten_times) {
  LogIn();
  NextPorts({3000, 3001, 3002, 3003, 3004, 3005, 3006, 3007, 3008, 3009});
  FailListening(9, kSocketAddressInUse);
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\nPORT 10,0,0,7,11,193\r\n");
  EXPECT_EQ(world.mRandom.mDraws, 10);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  for (qint32 port = 3000; port < 3009; ++port)
    EXPECT_EQ(RowsOf(port), kNoRows) << port;
  EXPECT_EQ(RowsOf(3009)[0], kEphemeralText);
}

TEST_F(FtpTest, A_port_of_the_users_is_in_use_whether_it_listens_or_not) {
  const auto save = [&](const QString& section, const QString& key, const QString& value) {
    world.mGeneral.mSettings.Save(section, key, value);
  };
  save(kProtocols, QStringLiteral("3000"), kDontUse);
  save(kPortsInUse, QStringLiteral("3000"), QStringLiteral("Mine"));
  save(PortSection(QStringLiteral("Pass Through"), 3000), QStringLiteral("Server"), QStringLiteral("my.own"));
  const QStringList rows = RowsOf(3000);
  LogIn();
  NextPorts({3000, 3001});
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\nPORT 10,0,0,7,11,185\r\n");
  EXPECT_EQ(RowsOf(3000), rows);
  EXPECT_EQ(DataListener(3000), nullptr);
}

TEST_F(FtpTest, A_data_port_that_waits_for_its_connection_is_in_use) {
  LogIn();
  NextPorts({3000, 3000, 3001});
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  client->Sent();
  const QStringList rows = RowsOf(3000);
  client->mSent.clear();
  server->Arrive("PORT 1,2,3,4,7,8\r\n");
  EXPECT_EQ(client->mSent, "PORT 10,0,0,7,11,185\r\n");
  EXPECT_EQ(RowsOf(3000), rows);
  ASSERT_NE(DataListener(3000), nullptr);
  EXPECT_EQ(DataListener(3000)->State(), SocketState::kListening);
}

TEST_F(FtpTest, Ten_draws_of_the_users_own_ports_are_ten_collisions) {
  LogIn();
  server->mSent.clear();
  world.mGeneral.mSettings.Save(kPortsInUse, QStringLiteral("3000"), QStringLiteral("Mine"));
  NextPorts({3000, 3000, 3000, 3000, 3000, 3000, 3000, 3000, 3000, 3000});
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(world.mErrors.mTexts.size(), 2);
  EXPECT_EQ(server->mSent, "451 Veltrane: Address in use\r\n");
}

TEST_F(FtpTest, Ten_collisions_give_two_reports_and_a_451_to_the_client) {
  LogIn();
  server->mSent.clear();
  const qsizetype socketsBefore = world.mSockets.mSockets.size();
  NextPorts({3000, 3001, 3002, 3003, 3004, 3005, 3006, 3007, 3008, 3009});
  FailListening(10, kSocketAddressInUse);
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(world.mRandom.mDraws, 10);
  EXPECT_EQ(
      world.mErrors.mTexts,
      (QStringList{
          QStringLiteral("An error occurred while attempting to listen on an Ephemeral port (a short-lived "
                         "random port in the range 1024-5000).  The operating system reports: 10048, "
                         "failed on purpose"),
          QStringLiteral("An error occurred while attempting to listen on an Ephemeral port 3009 (a "
                         "short-lived random port in the range 1024-5000).  The operating system reports: "
                         "10048, failed on purpose")}));
  EXPECT_EQ(server->mSent, "451 Veltrane: failed on purpose\r\n");
  EXPECT_EQ(client->mSent, "USER UserId\r\n") << "the command goes no further";
  for (qint32 port = 3000; port <= 3009; ++port) {
    EXPECT_EQ(RowsOf(port), kNoRows) << port;
    EXPECT_EQ(Text(port), QStringLiteral("(none)")) << port;
    EXPECT_FALSE(DataListener(port)) << port;
  }
  EXPECT_EQ(world.mSockets.mSockets.size(), socketsBefore) << "no idle socket stays";
}

TEST_F(FtpTest, Any_other_failure_to_listen_gives_one_report_at_once) {
  LogIn();
  server->mSent.clear();
  NextPorts({3000});
  FailListening(1, 10013);
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(world.mRandom.mDraws, 1);
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral(
          "An error occurred while attempting to listen on an Ephemeral port 3000 (a short-lived random port "
          "in the range 1024-5000).  The operating system reports: 10013, failed on purpose")});
  EXPECT_EQ(server->mSent, "451 Veltrane: failed on purpose\r\n");
  EXPECT_EQ(RowsOf(3000), kNoRows);
}

TEST_F(FtpTest, The_451_of_a_227_goes_to_the_server) {
  LogIn();
  server->mSent.clear();
  client->mSent.clear();
  FailListening(1, 10013);
  client->Arrive("227 Entering Passive Mode (1,2,3,4,5,6)\r\n");
  EXPECT_EQ(client->mSent, "451 Veltrane: failed on purpose\r\n");
  EXPECT_TRUE(server->mSent.isEmpty());
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts.first().startsWith(
      QStringLiteral("An error occurred while attempting to listen on an Ephemeral port ")));
  EXPECT_TRUE(world.mErrors.mTexts.first().endsWith(
      QStringLiteral(" (a short-lived random port in the range 1024-5000).  The operating system reports: "
                     "10013, failed on purpose")));
}

TEST_F(FtpTest, A_data_port_that_listens_serves_although_it_cannot_be_shown) {
  LogIn();
  client->mSent.clear();
  NextPorts({3012});
  world.AddNode(3012, QStringLiteral("of an earlier connection"));
  world.mSockets.OnCreate = [this](StubSocket& socket) {
    socket.OnListen = [this] { world.mStore.mFailReads = true; };
  };
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  world.mStore.mFailReads = false;
  EXPECT_EQ(client->mSent, "PORT 10,0,0,7,11,196\r\n");
  EXPECT_EQ(Text(3012), QStringLiteral("of an earlier connection"));
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts.first().startsWith(QStringLiteral(
      "An error occurred while attempting to listen on a random port.  The operating system reports: ")));
}

TEST_F(FtpTest, A_451_while_data_is_on_its_way_to_the_client_waits) {
  LogIn();
  client->Arrive("reply");
  FailListening(1, 10013);
  Take();
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(Take().last(),
            QStringLiteral("ServerBytesBuffered(451 Veltrane: failed on purpose\r\n, False, False)"));
}

TEST_F(FtpTest, A_451_passes_what_a_dangle_holds_for_the_client_and_leaves_it_there) {
  Dangle(1, 1);
  LogIn();
  Pass(500);
  server->mSent.clear();
  client->Arrive("held");
  FailListening(1, 10013);
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(server->mSent, "451 Veltrane: failed on purpose\r\n");
  server->Sent();
  Pass(999);
  EXPECT_EQ(server->mSent, "451 Veltrane: failed on purpose\r\n");
  Pass(1);
  EXPECT_EQ(server->mSent, "451 Veltrane: failed on purpose\r\nheld");
}

TEST_F(FtpTest, A_451_passes_what_a_dangle_holds_for_the_server_and_leaves_it_there) {
  Dangle(0, 1);
  LogIn();
  Pass(500);
  client->mSent.clear();
  server->Arrive("held");
  FailListening(1, 10013);
  client->Arrive("227 Entering Passive Mode (1,2,3,4,5,6)\r\n");
  EXPECT_EQ(client->mSent, "451 Veltrane: failed on purpose\r\n");
  client->Sent();
  Pass(1000);
  EXPECT_EQ(client->mSent, "451 Veltrane: failed on purpose\r\nheld");
}

TEST_F(FtpTest, What_the_throttle_keeps_of_a_451_goes_before_what_a_dangle_holds) {
  Dangle(1, 1);
  LogIn();
  Pass(500);
  server->mSent.clear();
  client->Arrive("held");
  FailListening(1, 10013);
  world.mSchedule.mThrottleS2C = true;
  world.mSchedule.mThrottleBytes = 14;
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(server->mSent, "451 Veltrane: ");
  server->Sent();
  world.mSchedule.mThrottleS2C = false;
  Pass(1000);
  EXPECT_EQ(server->mSent, "451 Veltrane: failed on purpose\r\nheld");
}

TEST_F(FtpTest, A_login_that_waits_survives_a_bad_227_before_the_greeting) {
  AcceptAndSay("USER UserId@FTPSite\r\n");
  Connect();
  client->Arrive("227 Entering Passive Mode (1,2,3)\r\n");
  client->Sent();
  EXPECT_EQ(client->mSent, "227 Entering Passive Mode (1,2,3)\r\nUSER UserId\r\n");
}

TEST_F(FtpTest, A_store_that_cannot_be_written_is_reported_and_refuses_the_port_without_a_row) {
  LogIn();
  for (int writes = 0; writes < 4; ++writes) {
    SCOPED_TRACE(writes);
    server->mSent.clear();
    world.mErrors.mTexts.clear();
    world.mStore.mWritesBeforeFailure = writes;
    NextPorts({3000});
    server->Arrive("PORT 1,2,3,4,5,6\r\n");
    server->Sent();
    EXPECT_EQ(
        world.mErrors.mTexts,
        (QStringList{
            QStringLiteral("An error occurred while attempting to listen on a random port.  The operating "
                           "system reports: 1001, store is full"),
            QStringLiteral("An error occurred while attempting to listen on an Ephemeral port 3000 (a "
                           "short-lived random port in the range 1024-5000).  The operating system reports: "
                           "1001, store is full")}));
    EXPECT_EQ(server->mSent, "451 Veltrane: store is full\r\n");
    EXPECT_EQ(RowsOf(3000), kNoRows);
    EXPECT_FALSE(DataListener(3000));
  }
}

TEST_F(FtpTest, A_store_that_fails_behind_a_collision_gives_its_own_text) {
  LogIn();
  server->mSent.clear();
  NextPorts({3000, 3001});
  FailListening(1, kSocketAddressInUse);
  world.mStore.mWritesBeforeFailure = 6;
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(server->mSent, "451 Veltrane: store is full\r\n");
  EXPECT_EQ(RowsOf(3001), kNoRows);
}

TEST_F(FtpTest, A_store_that_cannot_be_read_costs_the_users_port_nothing) {
  world.AddPort(3000, QStringLiteral("HTTP"), QStringLiteral("Mine"));
  LogIn();
  server->mSent.clear();
  NextPorts({3000});
  world.mStore.mFailReads = true;
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  world.mStore.mFailReads = false;
  EXPECT_EQ(server->mSent, "451 Veltrane: store cannot be read\r\n");
  EXPECT_EQ(RowsOf(3000)[0], QStringLiteral("HTTP"));
}

TEST_F(FtpTest, The_lowest_and_the_highest_port_can_be_drawn) {
  LogIn();
  world.mRandom.mNumbers = {0.0F, std::nextafter(1.0F, 0.0F)};
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  client->Sent();
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_TRUE(DataListener(1024));
  EXPECT_TRUE(DataListener(5000));
  EXPECT_EQ(client->mSent, "USER UserId\r\nPORT 10,0,0,7,4,0\r\nPORT 10,0,0,7,19,136\r\n");
}

TEST_F(FtpTest, A_data_port_serves_one_connection_and_ends) {
  LogIn();
  NextPorts({3000});
  server->Arrive("PORT 192,0,2,5,4,1\r\n");
  Take();
  world.mSockets.mNames = {QStringLiteral("dataServer"), QStringLiteral("dataClient")};
  StubSocket* listener = DataListener(3000);
  // The accepted socket stands on the listener's port.
  world.mSchedule.OnAsked = [this] {
    world.mSockets.mSockets[world.mSockets.mSockets.size() - 2]->mLocalPort = 3000;
  };
  listener->Request(5);
  EXPECT_EQ(
      Take(),
      Lines({"ask refuse", "dataServer.Accept 5", "LocalServerAcceptedConnection(True, 3000)",
             "GotProtocol(Pass Thru)", "ConnectionAttemptToRemoteServer(192.0.2.5, 1025, False)",
             "dataClient.Connect 192.0.2.5:1025", "socket.Close", "RefreshPaneTitles", "CheckAnimation"}));
  EXPECT_FALSE(DataListener(3000));
  EXPECT_EQ(Text(3000), QStringLiteral("FTP Data - Dynamically allocated (3000) - Not Listening"));
}

TEST_F(FtpTest, A_refused_request_leaves_the_data_port_listening) {
  LogIn();
  NextPorts({3000});
  server->Arrive("PORT 192,0,2,5,4,1\r\n");
  world.mSchedule.mRefuse = true;
  DataListener(3000)->Request(5);
  ASSERT_TRUE(DataListener(3000));
  EXPECT_EQ(DataListener(3000)->mState, SocketState::kListening);
  EXPECT_EQ(Text(3000), QStringLiteral("FTP Data - Dynamically allocated (3000)"));
}

TEST_F(FtpTest, A_port_that_is_drawn_again_gets_its_node_back) {
  LogIn();
  NextPorts({3000, 3000});
  server->Arrive("PORT 192,0,2,5,4,1\r\n");
  client->Sent();
  DataListener(3000)->Request(5);
  EXPECT_EQ(Text(3000), QStringLiteral("FTP Data - Dynamically allocated (3000) - Not Listening"));
  server->Arrive("PORT 192,0,2,6,4,2\r\n");
  EXPECT_EQ(Text(3000), QStringLiteral("FTP Data - Dynamically allocated (3000)"));
  EXPECT_EQ(RowsOf(3000), (QStringList{kEphemeralText, QStringLiteral("1026"), QStringLiteral("192.0.2.6"),
                                       kEphemeralText}));
}

TEST_F(FtpTest, The_operation_is_open_to_all_and_gives_the_port) {
  NextPorts({4000});
  qint32 port = 0;
  qint32 error = 0;
  QString text;
  auto& ftp = static_cast<ProtocolFTP&>(*handler);
  EXPECT_TRUE(ftp.StartListeningOnRandomPort(port, QStringLiteral("Shown"), error, text, kEphemeralText, 77,
                                             QStringLiteral("10.1.1.1")));
  EXPECT_EQ(port, 4000);
  EXPECT_EQ(RowsOf(4000), (QStringList{kEphemeralText, QStringLiteral("77"), QStringLiteral("10.1.1.1"),
                                       QStringLiteral("Shown")}));
}

TEST_F(FtpTest, A_data_port_with_a_description_of_its_own_can_be_drawn_again) {
  NextPorts({4000, 4000});
  qint32 port = 0;
  qint32 error = 0;
  QString text;
  auto& ftp = static_cast<ProtocolFTP&>(*handler);
  ASSERT_TRUE(ftp.StartListeningOnRandomPort(port, QStringLiteral("Shown"), error, text, kEphemeralText, 77,
                                             QStringLiteral("10.1.1.1")));
  DataListener(4000)->Request(5);
  EXPECT_TRUE(ftp.StartListeningOnRandomPort(port, kEphemeralText, error, text, kEphemeralText, 78,
                                             QStringLiteral("10.1.1.2")));
  EXPECT_EQ(port, 4000);
  EXPECT_EQ(RowsOf(4000)[1], QStringLiteral("78"));
}

TEST_F(FtpTest, The_rows_stand_before_the_port_listens) {
  LogIn();
  NextPorts({3000});
  QStringList rows;
  world.mSockets.OnCreate = [&](StubSocket& socket) { socket.OnListen = [&] { rows = RowsOf(3000); }; };
  server->Arrive("PORT 192,0,2,5,4,1\r\n");
  EXPECT_EQ(rows, (QStringList{kEphemeralText, QStringLiteral("1025"), QStringLiteral("192.0.2.5"),
                               kEphemeralText}));
}

TEST_F(FtpTest, A_node_that_is_there_gets_the_description_of_the_port_and_the_tree_is_shown_anew) {
  TreeNode& node = world.AddNode(4000, QStringLiteral("left over (4000)"));
  TreeView& tree = world.mMain.tvwSockets;
  auto& ftp = static_cast<ProtocolFTP&>(*handler);
  qint32 port = 0;
  qint32 error = 0;
  QString text;
  const auto open = [&] {
    NextPorts({4000});
    return ftp.StartListeningOnRandomPort(port, QStringLiteral("Shown"), error, text, kEphemeralText, 77,
                                          QStringLiteral("10.1.1.1"));
  };
  ASSERT_TRUE(open());
  EXPECT_EQ(node.Text(), QStringLiteral("Shown (4000)"));
  DataListener(4000)->Close();
  tree.TakeChanges();
  int shown = 0;
  const QObject watch;
  QObject::connect(&tree, &TreeView::Changed, &watch, [&] { ++shown; });
  ASSERT_TRUE(open());
  EXPECT_TRUE(tree.TakeChanges().nodes.empty()) << "the text is the same";
  EXPECT_EQ(shown, 1);
}

// The yield in the middle of an operation.

TEST_F(FtpTest, A_client_that_leaves_during_the_yield_ends_the_pair_and_the_command_finds_it_so) {
  LogIn();
  world.mDesktop.OnDoEvents = [&] { server->PeerCloses(); };
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_TRUE(pair->Dead());
  EXPECT_EQ(client->mState, SocketState::kClosed);
  EXPECT_EQ(Take().last(), QStringLiteral("Dead()"));
}

TEST_F(FtpTest, A_pair_that_is_unloaded_during_the_yield_lives_until_the_event_is_over) {
  LogIn();
  std::weak_ptr<SocketPair> watched = pair;
  SocketEvents& events = server->mEvents;
  server->mArrived = Payload(QByteArray("PORT 1,2,3,4,5,6\r\n"));
  world.mDesktop.OnDoEvents = [&] {
    client->Fails(10054, QStringLiteral("reset"));
    pair->Unload();
    pair.reset();
    handler.reset();
    EXPECT_FALSE(watched.expired());
  };
  events.DataArrival(1);
  EXPECT_TRUE(watched.expired());
}

TEST_F(FtpTest, A_shut_down_during_the_yield_does_no_harm) {
  LogIn();
  world.mDesktop.OnDoEvents = [&] {
    world.mGeneral.gobjListening->DeInitaliseListeningSockets();
    world.mGeneral.gobjListening.reset();
    pair->Terminate();
  };
  client->Arrive("227 Entering Passive Mode (1,2,3,4,5,6)\r\n");
  EXPECT_TRUE(pair->Dead());
  EXPECT_EQ(server->mState, SocketState::kClosed);
}

TEST_F(FtpTest, The_site_is_expected_before_the_yield_and_not_at_what_became_of_the_port_in_it) {
  LogIn();
  NextPorts({3012});
  client->mRemoteHostIP = QStringLiteral("8.8.4.4");
  const qsizetype pairs = world.mGeneral.gobjListening->mobjSocketPairs.Count();
  world.mDesktop.OnDoEvents = [&] { DataListener(3012)->Request(1, QStringLiteral("8.8.4.4")); };
  server->Arrive("PORT 127,0,0,1,5,6\r\n");
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), pairs + 1);
}

TEST_F(FtpTest, What_arrives_during_the_yield_overtakes_the_rewritten_line) {
  LogIn();
  int yields = 0;
  world.mDesktop.OnDoEvents = [&] {
    if (++yields == 1) server->Arrive("LIST\r\n");
  };
  NextPorts({3000});
  client->mSent.clear();
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  client->Sent();
  EXPECT_EQ(client->mSent, "LIST\r\nPORT 10,0,0,7,11,184\r\n");
}

TEST_F(FtpTest, A_second_port_command_during_the_yield_opens_a_second_port) {
  LogIn();
  NextPorts({3000, 3001});
  int yields = 0;
  world.mDesktop.OnDoEvents = [&] {
    if (++yields == 1) server->Arrive("PORT 1,2,3,4,5,7\r\n");
  };
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_TRUE(DataListener(3000));
  EXPECT_TRUE(DataListener(3001));
  EXPECT_EQ(RowsOf(3000)[1], QStringLiteral("1286"));
  EXPECT_EQ(RowsOf(3001)[1], QStringLiteral("1287"));
}

TEST_F(FtpTest, Yields_lie_in_each_other_16_deep_and_no_deeper) {
  LogIn();
  for (qint32 port = 3000; port <= 3101; ++port)
    NextPorts({port});
  int toCome = 100;
  int depth = 0;
  int deepest = 0;
  world.mDesktop.OnDoEvents = [&] {
    deepest = std::max(deepest, ++depth);
    while (toCome > 0) {
      --toCome;
      server->Arrive("PORT 1,2,3,4,5,6\r\n");
    }
    --depth;
  };
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(deepest, 16);
  EXPECT_EQ(toCome, 0);
  for (qint32 port = 3000; port <= 3100; ++port)
    EXPECT_TRUE(DataListener(port)) << port;
  // When all is over it starts again.
  deepest = 0;
  server->Arrive("PORT 1,2,3,4,5,6\r\n");
  EXPECT_EQ(deepest, 1);
}

}  // namespace
}  // namespace veltrane
