#include <gtest/gtest.h>

#include "engine/Listening.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

const QString kPassThrough = QStringLiteral("Pass Through");

struct ListeningTest : testing::Test {
  Listening& Start() {
    Listening& listening = world.StartListening();
    world.mJournal.Take();
    return listening;
  }
  static StubSocket& Stub(Socket* socket) { return *static_cast<StubSocket*>(socket); }
  StubSocket& Listener(qint32 port) {
    return Stub(world.mGeneral.gobjListening->mcolListeningSocket.Item(ListeningSocketKey(port)));
  }
  QString NodeText(qint32 port) { return world.mMain.tvwSockets.Node(ProtocolNodeKey(port)).Text(); }

  World world;
};

TEST_F(ListeningTest, An_empty_port_table_yields_no_sockets_and_no_failure) {
  EXPECT_EQ(Start().mcolListeningSocket.Count(), 0);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  EXPECT_EQ(world.mSockets.mCreated, 0);
}

TEST_F(ListeningTest, Every_port_listens_in_the_order_of_the_table_but_for_those_not_in_use) {
  world.AddPort(25, kPassThrough, QStringLiteral("SMTP"));
  world.AddPort(80, kDontUse, QStringLiteral("Web"));
  world.AddPort(1000, kPassThrough, QStringLiteral("Apps"));
  Listening& listening = world.StartListening();
  EXPECT_EQ(world.mJournal.Take(),
            (QStringList{QStringLiteral("socket.Listen 25"), QStringLiteral("socket.Listen 1000")}));
  EXPECT_EQ(listening.mcolListeningSocket.Count(), 3);
  EXPECT_EQ(listening.mcolListeningSocket.KeyAt(2), QStringLiteral("KEY80"));
  EXPECT_EQ(Listener(80).State(), SocketState::kClosed);
  EXPECT_EQ(Listener(25).State(), SocketState::kListening);
}

TEST_F(ListeningTest, A_taken_port_is_reported_with_the_long_text_and_the_other_listens) {
  world.AddPort(25, kPassThrough, QStringLiteral("SMTP"));
  world.AddPort(1000, kPassThrough, QStringLiteral("Apps"));
  world.mSockets.mListenFailures[1] = 10048;
  Start();
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral(
          "A problem occurred while attempting to listen on port 25. This generally indicates that another "
          "application is already listening on this port. Terminate this other application and then attempt "
          "to "
          "resume listening on this port. The operating system reports: 0x2740 (10048), failed on purpose")});
  EXPECT_EQ(Listener(25).State(), SocketState::kClosed);
  EXPECT_EQ(Listener(1000).State(), SocketState::kListening);
}

TEST_F(ListeningTest, A_row_whose_key_is_no_port_is_reported_and_passed_over) {
  world.Save(kProtocols, QStringLiteral("abc"), kPassThrough);
  world.AddPort(1000, kPassThrough, QStringLiteral("Apps"));
  Start();
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to listen on port \"abc\" of the port "
                                 "table.  The operating system reports: 13, Type mismatch")});
  EXPECT_EQ(Listener(1000).State(), SocketState::kListening);
}

TEST_F(ListeningTest, The_protocols_rule_what_is_served_and_not_the_descriptions) {
  world.Save(kProtocols, QStringLiteral("1000"), kPassThrough);
  world.Save(kPortsInUse, QStringLiteral("1001"), QStringLiteral("Described only"));
  Listening& listening = Start();
  EXPECT_EQ(Listener(1000).State(), SocketState::kListening);
  EXPECT_EQ(listening.mcolListeningSocket.Count(), 1);
}

TEST_F(ListeningTest, A_socket_that_is_slow_to_listen_is_waited_for_repainting_the_window) {
  Listening& listening = Start();
  int repaints = 0;
  world.mSockets.OnCreate = [](StubSocket& socket) { socket.mListensLate = true; };
  world.mMain.OnRepaint = [&] {
    if (++repaints == 3) world.mSockets.mSockets.last()->mState = SocketState::kListening;
  };
  Socket* socket = nullptr;
  qint32 number = 0;
  QString text;
  EXPECT_TRUE(listening.StartListeningOnSocket(socket, 81, number, text));
  EXPECT_EQ(repaints, 3);
}

TEST_F(ListeningTest, Port_0_takes_no_idle_socket_of_another_port_along) {
  Listening& listening = Start();
  listening.CreateNewSocket(25, QStringLiteral("Idle"));
  Socket* idle = listening.mcolListeningSocket.Item(ListeningSocketKey(25));
  Socket* socket = nullptr;
  qint32 number = 0;
  QString text;
  listening.StartListeningOnSocket(socket, 0, number, text);
  EXPECT_EQ(listening.mcolListeningSocket.Item(ListeningSocketKey(25)), idle);
  EXPECT_TRUE(world.mSockets.mSockets.contains(static_cast<StubSocket*>(idle))) << "it is still there";
  EXPECT_EQ(idle->State(), SocketState::kClosed);
}

TEST_F(ListeningTest, A_socket_that_cannot_be_made_is_reported_and_gives_the_failure_back) {
  Listening& listening = Start();
  world.mSockets.OnCreate = [](StubSocket&) { throw Failure(FailureNumber::kOutOfMemory); };
  Socket* socket = nullptr;
  qint32 number = 0;
  QString text;
  EXPECT_FALSE(listening.StartListeningOnSocket(socket, 81, number, text));
  EXPECT_EQ(number, 91);
  EXPECT_EQ(world.mErrors.mTexts, QStringList{QStringLiteral(
                                      "An error occurred while attempting to create a listening socket.  The "
                                      "operating system reports: 7, Out of memory")});
}

TEST_F(ListeningTest, A_socket_that_cannot_be_stopped_is_reported) {
  world.AddPort(1000, kPassThrough, QStringLiteral("Apps"));
  Listening& listening = Start();
  Listener(1000).mCloseFailure = 10038;
  listening.StopListeningOnSocket(Listener(1000));
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to stop the socket from listening.  "
                                 "The operating system reports: 10038, failed on purpose")});
}

TEST_F(ListeningTest, Starting_destroys_all_earlier_sockets_of_the_port) {
  world.AddPort(1000, kPassThrough, QStringLiteral("Apps"));
  Listening& listening = Start();
  const qsizetype before = world.mSockets.mSockets.size();
  Socket* socket = nullptr;
  qint32 number = 0;
  QString text;
  EXPECT_TRUE(listening.StartListeningOnSocket(socket, 1000, number, text));
  EXPECT_EQ(world.mSockets.mSockets.size(), before);
  EXPECT_EQ(&Listener(1000), socket);
  EXPECT_EQ(listening.mcolListeningSocket.Count(), 1);
}

TEST_F(ListeningTest, A_failed_start_reports_nothing_and_leaves_an_idle_socket_in_the_list) {
  Listening& listening = Start();
  world.mSockets.mListenFailure = 10013;
  Socket* socket = nullptr;
  qint32 number = 0;
  QString text;
  EXPECT_FALSE(listening.StartListeningOnSocket(socket, 81, number, text));
  EXPECT_EQ(number, 10013);
  EXPECT_EQ(text, QStringLiteral("failed on purpose"));
  EXPECT_EQ(&Listener(81), socket);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(ListeningTest, Stopping_closes_only_what_listens) {
  world.AddPort(1000, kPassThrough, QStringLiteral("Apps"));
  Listening& listening = Start();
  listening.StopListeningOnSocket(Listener(1000));
  listening.StopListeningOnSocket(Listener(1000));
  EXPECT_EQ(world.mJournal.Take(), QStringList{QStringLiteral("socket.Close")});
}

struct RequestTest : ListeningTest {
  RequestTest() {
    world.AddPort(1000, kPassThrough, QStringLiteral("Apps"));
    world.SetDestination(1000, QStringLiteral("server.example"), 2000);
    Start();
  }
};

TEST_F(RequestTest, A_request_makes_a_handler_a_pair_and_its_key_and_accepts) {
  world.mSockets.mNames = {QStringLiteral("sckServer"), QStringLiteral("sckClient")};
  Listener(1000).Request(31);
  EXPECT_EQ(world.mJournal.Take(),
            (QStringList{QStringLiteral("ask refuse"), QStringLiteral("sckServer.Accept 31"),
                         QStringLiteral("LocalServerAcceptedConnection(True, 1000)"),
                         QStringLiteral("GotProtocol(Pass Thru)"),
                         QStringLiteral("ConnectionAttemptToRemoteServer(enter-a-server.invalid, 80, False)")
                             .replace(QStringLiteral("enter-a-server.invalid"), kServerPlaceholder),
                         QStringLiteral("sckClient.Connect %1:80").arg(kServerPlaceholder),
                         QStringLiteral("RefreshPaneTitles"), QStringLiteral("CheckAnimation")}));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.KeyAt(1), QStringLiteral("KEY1"));
  EXPECT_EQ(world.mGeneral.gobjListening->LoadedPairs().size(), 1U);
}

TEST_F(RequestTest, A_refused_request_is_not_accepted) {
  world.mSchedule.mRefuse = true;
  Listener(1000).Request(31);
  EXPECT_EQ(
      world.mJournal.Take(),
      (QStringList{QStringLiteral("ask refuse"), QStringLiteral("LocalServerRejectedConnection(True, 1000)"),
                   QStringLiteral("GotProtocol(Pass Thru)"), QStringLiteral("Dead()"),
                   QStringLiteral("RefreshPaneTitles"), QStringLiteral("CheckAnimation")}));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 1);
}

TEST_F(RequestTest, A_public_peer_is_closed_before_any_handler_sees_it_and_told_once) {
  const QString stranger = QStringLiteral("8.8.4.4");
  Listener(1000).Request(31, stranger);
  Listener(1000).Request(32, stranger);
  EXPECT_TRUE(world.mJournal.Take().isEmpty()) << "no handler, no schedule, no accept";
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 0);
  EXPECT_EQ(world.mGeneral.gobjListening->LastSocketPairNumber(), 0);
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("A connection from the public address 8.8.4.4 to port 1000 was turned "
                                       "away. To let public addresses "
                                       "connect, set the key AcceptPublicPeers of the section \"Options\" in "
                                       "the settings to 1; whoever finds "
                                       "this computer can then use its ports.")});
  Listener(1000).Request(33, QStringLiteral("192.168.1.7"));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 1);
}

TEST_F(RequestTest, The_option_lets_public_peers_in_from_the_next_connection_on) {
  for (const char* value : {"0", "", "yes", "01"}) {
    world.Save(QStringLiteral("Options"), QStringLiteral("AcceptPublicPeers"), QLatin1String(value));
    Listener(1000).Request(31, QStringLiteral("8.8.4.4"));
    EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 0) << value;
  }
  world.Save(QStringLiteral("Options"), QStringLiteral("AcceptPublicPeers"), QStringLiteral("1"));
  Listener(1000).Request(32, QStringLiteral("8.8.4.4"));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 1);
}

TEST_F(RequestTest, A_store_that_cannot_be_read_lets_no_public_peer_in) {
  world.Save(QStringLiteral("Options"), QStringLiteral("AcceptPublicPeers"), QStringLiteral("1"));
  world.mStore.mFailReads = true;
  Listener(1000).Request(31, QStringLiteral("8.8.4.4"));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 0);
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].contains(QStringLiteral("turned away")));
}

TEST_F(RequestTest, So_many_addresses_are_told_and_the_last_one_says_so) {
  for (int i = 0; i < 2 * Strangers::kMostTold; ++i)
    Listener(1000).Request(i, QStringLiteral("9.9.%1.1").arg(i));
  ASSERT_EQ(world.mErrors.mTexts.size(), Strangers::kMostTold);
  const QString last = QStringLiteral("Further addresses are turned away without a word.");
  EXPECT_FALSE(world.mErrors.mTexts[Strangers::kMostTold - 2].endsWith(last));
  EXPECT_TRUE(world.mErrors.mTexts[Strangers::kMostTold - 1].endsWith(last));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 0);
}

TEST_F(RequestTest, A_port_without_a_protocol_gives_the_message_and_no_pair) {
  world.mStore.DeleteSetting(kApplicationName, kProtocols, QStringLiteral("1000"));
  Listener(1000).Request(31);
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{
                QStringLiteral("A socket connection request has been received on a listening socket with no "
                               "associated protocol.")});
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 0);
  EXPECT_EQ(world.mGeneral.gobjListening->LastSocketPairNumber(), 0);
  EXPECT_TRUE(world.mJournal.Take().isEmpty());
}

TEST_F(RequestTest, A_store_that_cannot_be_read_is_the_protocol_types_failure) {
  world.mStore.mFailReads = true;
  Listener(1000).Request(31);
  ASSERT_EQ(world.mErrors.mTexts.size(), 2);
  EXPECT_EQ(world.mErrors.mTexts[0],
            QStringLiteral(
                "An error occurred while attempting get the protocol type.  The operating system reports: "
                "1001, store cannot be read"));
}

TEST_F(RequestTest, A_failure_of_the_schedule_is_the_requests_failure) {
  world.mSchedule.OnAsked = [] { throw Failure(FailureNumber::kOverflow); };
  Listener(1000).Request(31);
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{
                QStringLiteral("An error occurred while attempting to process the remote client's connection "
                               "request.  The operating system reports: 6, Overflow")});
}

TEST_F(RequestTest, Pair_keys_count_on_and_wrap_and_a_key_still_in_use_is_not_served) {
  Listening& listening = *world.mGeneral.gobjListening;
  world.mSchedule.mRefuse = true;
  const auto purge = [&] {
    // Keeps the first pair of all, as a connection that lives on would be kept.
    while (listening.mobjSocketPairs.Count() > 1)
      listening.mobjSocketPairs.Remove(2);
    listening.UnloadTerminatedPairs();
    world.mJournal.Take();
  };
  Listener(1000).Request(1);
  for (int i = 2; i <= 32767; ++i) {
    Listener(1000).Request(i);
    if (i % 1000 == 0) purge();
  }
  EXPECT_EQ(listening.mobjSocketPairs.KeyAt(listening.mobjSocketPairs.Count()), QStringLiteral("KEY32767"));
  Listener(1000).Request(32768);
  EXPECT_EQ(listening.mobjSocketPairs.KeyAt(listening.mobjSocketPairs.Count()), QStringLiteral("KEY-32768"));
  for (int i = 32769; i <= 65536; ++i) {
    Listener(1000).Request(i);
    if (i % 1000 == 0) purge();
  }
  EXPECT_EQ(listening.mobjSocketPairs.KeyAt(listening.mobjSocketPairs.Count()), QStringLiteral("KEY0"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  const qsizetype before = listening.mobjSocketPairs.Count();
  world.mSchedule.mRefuse = false;
  world.mJournal.Take();
  Listener(1000).Request(65537);
  EXPECT_TRUE(world.mJournal.Take().isEmpty()) << "neither asked about nor accepted";
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral(
                "An error occurred while attempting to process the remote client's connection "
                "request.  The operating system reports: 457, This key is already in use in the "
                "list")});
  EXPECT_EQ(listening.mobjSocketPairs.Count(), before);
  // Once the old pair is purged the number is free again, when the count comes round to it.
  EXPECT_EQ(listening.LastSocketPairNumber(), 1);
}

struct EphemeralTest : ListeningTest {
  EphemeralTest() {
    world.AddPort(1500, kEphemeralProtocol, kEphemeralProtocol);
    Start();
    world.AddNode(1500, QStringLiteral("FTP Data - Dynamically allocated (1500)"));
    Listener(1500).SetTag(kEphemeralTag);
  }
};

TEST_F(EphemeralTest, An_accepted_connection_ends_the_port) {
  Listener(1500).Request(1);
  Listening& listening = *world.mGeneral.gobjListening;
  EXPECT_FALSE(listening.mcolListeningSocket.Contains(ListeningSocketKey(1500)));
  // Served before it is stopped.
  const QStringList lines = world.mJournal.Take();
  EXPECT_LT(lines.indexOf(QStringLiteral("GotProtocol(Pass Thru)")),
            lines.indexOf(QStringLiteral("socket.Close")));
  EXPECT_EQ(lines.mid(lines.indexOf(QStringLiteral("socket.Close")) + 1),
            (QStringList{QStringLiteral("RefreshPaneTitles"), QStringLiteral("CheckAnimation")}));
  EXPECT_EQ(NodeText(1500), QStringLiteral("FTP Data - Dynamically allocated (1500) - Not Listening"));
  // Only the pair's two sockets are left.
  EXPECT_EQ(world.mSockets.mSockets.size(), 2);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(EphemeralTest, A_public_peer_does_not_use_up_the_port) {
  Listener(1500).Request(1, QStringLiteral("8.8.4.4"));
  EXPECT_EQ(Listener(1500).State(), SocketState::kListening);
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 0);
}

TEST_F(EphemeralTest, The_peer_that_it_was_opened_for_is_served_wherever_it_is_and_no_other) {
  const QString site = QStringLiteral("8.8.4.4");
  world.mGeneral.gobjListening->ExpectPeer(1500, site);
  Listener(1500).Request(1, QStringLiteral("8.8.8.8"));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 0);
  Listener(1500).Request(2, site);
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 1);
}

TEST_F(EphemeralTest, A_refused_connection_leaves_the_port_listening) {
  world.mSchedule.mRefuse = true;
  Listener(1500).Request(1);
  EXPECT_EQ(Listener(1500).State(), SocketState::kListening);
  EXPECT_EQ(NodeText(1500), QStringLiteral("FTP Data - Dynamically allocated (1500)"));
  world.mSchedule.mRefuse = false;
  Listener(1500).Request(2);
  EXPECT_FALSE(world.mGeneral.gobjListening->mcolListeningSocket.Contains(ListeningSocketKey(1500)));
}

TEST_F(EphemeralTest, A_port_without_a_description_reads_unloaded) {
  world.mStore.DeleteSetting(kApplicationName, kPortsInUse, QStringLiteral("1500"));
  Listener(1500).Request(1);
  EXPECT_EQ(NodeText(1500), QStringLiteral("<Unloaded> (1500) - Not Listening"));
}

struct StatusTest : ListeningTest {
  StatusTest() {
    world.AddPort(1000, kPassThrough, QStringLiteral("Apps"));
    Start();
    world.AddNode(1000, QStringLiteral("Apps (1000)"));
  }
  Listening& Listens() { return *world.mGeneral.gobjListening; }
};

TEST_F(StatusTest, Checking_a_port_that_listens_changes_nothing_but_the_pane_titles) {
  const StubSocket* before = &Listener(1000);
  Listens().CheckListeningStatus(1000);
  EXPECT_EQ(&Listener(1000), before);
  EXPECT_EQ(world.mJournal.Take(), QStringList{QStringLiteral("RefreshPaneTitles")});
}

TEST_F(StatusTest, A_deleted_port_stops_and_is_forgotten_and_the_tree_is_not_touched) {
  world.mStore.DeleteSetting(kApplicationName, kProtocols, QStringLiteral("1000"));
  Listens().CheckListeningStatus(1000);
  EXPECT_EQ(world.mJournal.Take(), QStringList{QStringLiteral("socket.Close")});
  EXPECT_EQ(Listens().mcolListeningSocket.Count(), 0);
  EXPECT_EQ(NodeText(1000), QStringLiteral("Apps (1000)"));
}

TEST_F(StatusTest, Not_to_be_used_replaces_the_socket_by_an_idle_one_and_back_starts_a_third) {
  const StubSocket* first = &Listener(1000);
  world.Save(kProtocols, QStringLiteral("1000"), kDontUse);
  Listens().CheckListeningStatus(1000);
  const StubSocket* second = &Listener(1000);
  EXPECT_NE(first, second);
  EXPECT_EQ(second->State(), SocketState::kClosed);
  EXPECT_EQ(NodeText(1000), QStringLiteral("Apps (1000) - Not Listening"));
  EXPECT_EQ(world.mJournal.Take(),
            (QStringList{QStringLiteral("socket.Close"), QStringLiteral("RefreshPaneTitles")}));
  const int created = world.mSockets.mCreated;
  // The first one, closed, and the idle one.
  EXPECT_EQ(world.mSockets.mSockets.size(), 2);
  world.Save(kProtocols, QStringLiteral("1000"), kPassThrough);
  Listens().CheckListeningStatus(1000);
  EXPECT_EQ(world.mSockets.mCreated, created + 1);
  // The first one had that port; the idle one never got a port and stays in the array.
  EXPECT_EQ(world.mSockets.mSockets.size(), 2);
  EXPECT_EQ(std::count_if(world.mSockets.mSockets.begin(), world.mSockets.mSockets.end(),
                          [](const StubSocket* socket) { return socket->LocalPort() == 1000; }),
            1);
  EXPECT_EQ(Listener(1000).State(), SocketState::kListening);
  EXPECT_EQ(NodeText(1000), QStringLiteral("Apps (1000)"));
}

TEST_F(StatusTest, A_port_that_cannot_be_had_again_is_reported_with_the_short_text) {
  world.Save(kProtocols, QStringLiteral("1000"), kDontUse);
  Listens().CheckListeningStatus(1000);
  world.Save(kProtocols, QStringLiteral("1000"), kPassThrough);
  world.mSockets.mListenFailure = 10048;
  world.mJournal.Take();
  Listens().CheckListeningStatus(1000);
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("A problem occurred while attempting to listen on port 1000. This generally "
                                 "indicates that another application is already listening on this port.  The "
                                 "operating system reports: 10048, failed on purpose")});
  EXPECT_EQ(NodeText(1000), QStringLiteral("Apps (1000) - Not Listening"));
  EXPECT_EQ(world.mJournal.Take().last(), QStringLiteral("RefreshPaneTitles"));
  // The idle socket that the failure left is tried again.
  world.mSockets.mListenFailure = 0;
  Listens().CheckListeningStatus(1000);
  EXPECT_EQ(Listener(1000).State(), SocketState::kListening);
}

TEST_F(StatusTest, A_port_that_lost_its_description_reads_unloaded) {
  world.mStore.DeleteSetting(kApplicationName, kPortsInUse, QStringLiteral("1000"));
  world.Save(kProtocols, QStringLiteral("1000"), kDontUse);
  Listens().CheckListeningStatus(1000);
  EXPECT_EQ(NodeText(1000), QStringLiteral("<Unloaded> (1000) - Not Listening"));
  world.Save(kProtocols, QStringLiteral("1000"), kPassThrough);
  Listens().CheckListeningStatus(1000);
  EXPECT_EQ(NodeText(1000), QStringLiteral("<Unloaded> (1000)"));
}

TEST_F(StatusTest, A_port_without_a_socket_is_a_reported_failure) {
  world.Save(kProtocols, QStringLiteral("1001"), kPassThrough);
  Listens().CheckListeningStatus(1001);
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to check the listening status.  The "
                                 "operating system reports: 5, Invalid procedure call or argument")});
}

TEST_F(StatusTest, A_new_port_gets_an_idle_socket_and_a_node) {
  Listens().CreateNewSocket(1001, QStringLiteral("New"));
  EXPECT_EQ(Listener(1001).State(), SocketState::kClosed);
  const TreeNode& node = world.mMain.tvwSockets.Node(ProtocolNodeKey(1001));
  EXPECT_EQ(node.Text(), QStringLiteral("New (1001) - Not Listening"));
  EXPECT_EQ(node.Image(), QStringLiteral("Protocol"));
  EXPECT_EQ(node.Tag(), QStringLiteral("1001"));
  EXPECT_EQ(node.Parent()->Key(), QStringLiteral("ROOT"));
  EXPECT_EQ(world.mJournal.Take(), QStringList{QStringLiteral("RefreshPaneTitles")});
}

TEST_F(StatusTest, A_new_port_whose_node_exists_takes_its_description_from_the_store) {
  world.AddNode(1001, QStringLiteral("left over"));
  world.Save(kPortsInUse, QStringLiteral("1001"), QStringLiteral("Stored"));
  Listens().CreateNewSocket(1001, QStringLiteral("New"));
  EXPECT_EQ(NodeText(1001), QStringLiteral("Stored (1001) - Not Listening"));
  world.AddNode(1002, QStringLiteral("left over"));
  Listens().CreateNewSocket(1002, QStringLiteral("New"));
  EXPECT_EQ(NodeText(1002), QStringLiteral(" (1002) - Not Listening"));
}

TEST_F(StatusTest, A_new_port_that_has_a_socket_already_is_a_reported_failure) {
  Listens().CreateNewSocket(1000, QStringLiteral("Again"));
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].startsWith(QStringLiteral(
      "An error occurred while attempting to create a new socket.  The operating system reports: 457, ")));
}

TEST_F(StatusTest, Shut_down_terminates_all_pairs_and_leaves_no_socket) {
  Listener(1000).Request(1);
  Listener(1000).Request(2);
  world.mJournal.Take();
  Listening& listening = Listens();
  const std::shared_ptr<SocketPair> pair = listening.mobjSocketPairs.Item(1);
  listening.DeInitaliseListeningSockets();
  EXPECT_TRUE(pair->mblnTerminated);
  EXPECT_EQ(world.mJournal.Take(),
            (QStringList{QStringLiteral("socket.Close"), QStringLiteral("socket.Close"),
                         QStringLiteral("socket.Close")}));
  EXPECT_EQ(listening.mobjSocketPairs.Count(), 0);
  EXPECT_EQ(listening.mcolListeningSocket.Count(), 0);
  world.mGeneral.gobjListening.reset();
  EXPECT_EQ(world.mSockets.mSockets.size(), 2) << "the pair that this test still holds";
}

TEST_F(StatusTest, Shut_down_runs_past_what_fails_and_reports_nothing) {
  world.AddPort(1001, kPassThrough, QStringLiteral("More"));
  Listens().CheckListeningStatus(1001);
  world.mErrors.mTexts.clear();
  Listener(1000).Request(1);
  Listener(1000).Request(2);
  for (StubSocket* socket : world.mSockets.mSockets)
    socket->mCloseFailure = 10038;
  world.mJournal.Take();
  Listens().DeInitaliseListeningSockets();
  EXPECT_EQ(world.mJournal.Take().filter(QStringLiteral("Close")).size(), 3) << "two pairs and the listener";
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  EXPECT_EQ(Listens().mobjSocketPairs.Count(), 0);
  EXPECT_EQ(Listens().mcolListeningSocket.Count(), 0);
}

TEST_F(StatusTest, The_listening_object_lives_until_the_event_that_let_go_of_it_has_returned) {
  std::weak_ptr<Listening> watch = world.mGeneral.gobjListening;
  bool alive = false;
  world.mSchedule.OnAsked = [&] {
    world.mGeneral.gobjListening.reset();
    alive = !watch.expired();
  };
  world.mSchedule.mRefuse = true;
  Listener(1000).Request(1);
  EXPECT_TRUE(alive);
  EXPECT_TRUE(watch.expired());
}

TEST_F(StatusTest, The_sweep_unloads_terminated_pairs_and_leaves_their_entries) {
  Listener(1000).Request(1);
  Listener(1000).Request(2);
  Listening& listening = Listens();
  listening.mobjSocketPairs.Item(1)->Terminate();
  listening.UnloadTerminatedPairs();
  EXPECT_EQ(listening.LoadedPairs().size(), 1U);
  EXPECT_EQ(listening.mobjSocketPairs.Count(), 2);
  EXPECT_FALSE(listening.mobjSocketPairs.Item(1)->mobjProtocolHandler);
  EXPECT_TRUE(listening.mobjSocketPairs.Item(2)->mobjProtocolHandler);
}

TEST_F(StatusTest, A_pair_purged_from_the_list_is_still_swept) {
  Listener(1000).Request(1);
  Listening& listening = Listens();
  const std::weak_ptr<SocketPair> pair = listening.mobjSocketPairs.Item(1);
  pair.lock()->Terminate();
  listening.mobjSocketPairs.Remove(1);
  EXPECT_FALSE(pair.expired());
  listening.UnloadTerminatedPairs();
  EXPECT_TRUE(pair.expired());
}

TEST_F(StatusTest, A_shortage_of_descriptors_is_reported_under_the_requests_text) {
  Listener(1000).Fails(10024, QStringLiteral("Too many open sockets"));
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{
                QStringLiteral("An error occurred while attempting to process the remote client's connection "
                               "request.  The operating system reports: 10024, Too many open sockets")});
}

}  // namespace
}  // namespace veltrane
