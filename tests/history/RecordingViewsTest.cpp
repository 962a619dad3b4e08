// What recording changes in tree and grid.
#include "forms/ListView.h"
#include "tests/history/HistoryTest.h"

namespace veltrane {
namespace {

using RecordingViewsTest = LoggingTest;

const QString kAwaiting = QStringLiteral("CON100010.0.0.1");
const QString kStanding = QStringLiteral("CON100010.0.0.110.0.0.9");
const QString kFailed = QStringLiteral("CON100010.0.0.1<Error>");
const QString kKey = QStringLiteral("KEY1");

TEST_F(RecordingViewsTest, Nothing_is_added_to_a_branch_that_is_closed) {
  world.AddNode(1000, QStringLiteral("Apps (1000)"));
  SocketPair& pair = Connected();
  logging.ServerBytesReceived(pair, Bytes(1), false);
  EXPECT_EQ(Node(ProtocolNodeKey(1000)).ChildCount(), 0);
}

TEST_F(RecordingViewsTest, A_new_connection_stands_under_its_open_port_as_awaiting) {
  OpenPort();
  Accepted();
  const TreeNode& node = Node(kAwaiting);
  EXPECT_EQ(node.Text(), QStringLiteral("10.0.0.1 to <Awaiting>"));
  EXPECT_EQ(node.Image(), QStringLiteral("Connection"));
  EXPECT_EQ(node.Tag(), QStringLiteral("10.0.0.1 "));
  EXPECT_EQ(node.Parent(), &Node(ProtocolNodeKey(1000)));
  EXPECT_EQ(node.ChildCount(), 0);
  Node(kAwaiting).SetExpanded(true);
  Accepted(QStringLiteral("KEY2"));
  const TreeNode& socket = Node(QStringLiteral("KEY2"));
  EXPECT_EQ(socket.Parent(), &node);
  EXPECT_EQ(socket.Text(), QStringLiteral("Alive"));
  EXPECT_EQ(socket.Image(), QStringLiteral("Socket"));
  EXPECT_EQ(socket.Tag(), QStringLiteral("KEY2"));
}

TEST_F(RecordingViewsTest, A_rejected_connection_reads_unknown_to_rejected) {
  OpenPort();
  SocketPair& pair = MakePair();
  logging.LocalServerRejectedConnection(pair, false, 1000);
  const TreeNode& node = Node(QStringLiteral("CON1000<Unknown>"));
  EXPECT_EQ(node.Text(), QStringLiteral("<Unknown> to <Rejected>"));
  EXPECT_EQ(node.Tag(), QStringLiteral("<Unknown> "));
}

TEST_F(RecordingViewsTest, A_connection_that_stands_gets_a_branch_with_its_server) {
  OpenPort();
  Connected();
  EXPECT_FALSE(Tree().Contains(kAwaiting)) << "nothing is left in it";
  const TreeNode& node = Node(kStanding);
  EXPECT_EQ(node.Text(), QStringLiteral("10.0.0.1 to 10.0.0.9"));
  EXPECT_EQ(node.Tag(), QStringLiteral("10.0.0.1 10.0.0.9"));
  EXPECT_EQ(node.ChildCount(), 0);
  Node(kStanding).SetExpanded(true);
  Connected(QStringLiteral("KEY2"));
  EXPECT_EQ(Children(node), QStringList{QStringLiteral("KEY2")});
  EXPECT_EQ(Node(QStringLiteral("KEY2")).Text(), QStringLiteral("Alive"));
}

TEST_F(RecordingViewsTest, An_open_branch_of_waiting_connections_stays_while_it_has_some) {
  OpenPort();
  Accepted(QStringLiteral("KEY2"));
  Node(kAwaiting).SetExpanded(true);
  Connected();
  EXPECT_EQ(Children(Node(kAwaiting)), QStringList{kKey}) << "found in its new branch when that is opened";
  Node(kStanding).SetExpanded(true);
  logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.9"), 1000);
  EXPECT_EQ(Children(Node(kStanding)), QStringList{kKey});
  EXPECT_FALSE(Tree().Contains(kAwaiting)) << "its only child moved";
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(RecordingViewsTest, A_connection_moves_from_an_open_branch_to_another_open_one) {
  OpenPort();
  Connected(QStringLiteral("KEY2"));
  Node(kStanding).SetExpanded(true);
  Accepted(QStringLiteral("KEY3"));
  Node(kAwaiting).SetExpanded(true);
  Connected();
  EXPECT_EQ(Children(Node(kStanding)), QStringList{kKey});
  EXPECT_FALSE(Tree().Contains(kAwaiting)) << "its only child moved";
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(RecordingViewsTest, A_selected_connection_stays_selected_with_its_events_where_it_moves_to) {
  OpenPort();
  Connected(QStringLiteral("KEY2"));
  Node(kStanding).SetExpanded(true);
  SocketPair& pair = Accepted();
  Node(kAwaiting).SetExpanded(true);
  logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QString(), 1000);
  Node(kKey).SetExpanded(true);
  logging.LoadAllEvents(kKey);
  Tree().SetSelectedItem(&Node(kKey));
  int lost = 0;
  Tree().OnSelectionLost = [&lost](TreeNode&) { ++lost; };
  client->mRemoteHostIP = client->mRemoteHost = QStringLiteral("10.0.0.9");
  logging.ConnectionAttemptSuccessful(pair, false, QString());
  EXPECT_EQ(Node(kKey).Parent(), &Node(kStanding));
  EXPECT_EQ(Tree().SelectedItem(), &Node(kKey));
  EXPECT_EQ(lost, 0);
  EXPECT_TRUE(Node(kKey).Expanded());
  EXPECT_EQ(Node(kKey).ChildCount(), logging.mobjSocketPairHistory.Item(kKey)->mobjSocketPairEvents.Count());
  EXPECT_FALSE(Tree().Contains(kAwaiting));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(RecordingViewsTest, Of_two_that_wait_each_gets_the_branch_of_its_own_server) {
  OpenPort();
  SocketPair& other = Accepted(QStringLiteral("KEY2"));
  StubSocket* otherClient = client;
  Connected();
  EXPECT_FALSE(Tree().Contains(kAwaiting));
  otherClient->mRemoteHostIP = QStringLiteral("10.0.0.8");
  logging.ConnectionAttemptSuccessful(other, false, QString());
  EXPECT_TRUE(Tree().Contains(QStringLiteral("CON100010.0.0.110.0.0.8")));
}

TEST_F(RecordingViewsTest, Under_a_folded_port_a_waiting_connection_gets_the_branch_of_its_server_too) {
  OpenPort();
  Accepted();
  Node(ProtocolNodeKey(1000)).SetExpanded(false);
  SocketPair& pair = *world.mGeneral.gobjListening->mobjSocketPairs.Item(kKey);
  client->mRemoteHostIP = QStringLiteral("10.0.0.9");
  logging.ConnectionAttemptSuccessful(pair, false, QString());
  EXPECT_EQ(Children(Node(ProtocolNodeKey(1000))), QStringList{kStanding}) << "it waits no longer";
  // Without such a node nothing is added to what is folded.
  Connected(QStringLiteral("KEY2"));
  SocketPair& other = Accepted(QStringLiteral("KEY3"));
  client->mRemoteHostIP = QStringLiteral("10.0.0.8");
  logging.ConnectionAttemptSuccessful(other, false, QString());
  EXPECT_EQ(Node(ProtocolNodeKey(1000)).ChildCount(), 1);
}

TEST_F(RecordingViewsTest, A_failed_attempt_moves_to_the_branch_of_errors) {
  OpenPort();
  Accepted();
  Node(kAwaiting).SetExpanded(true);
  SocketPair& pair = Accepted(QStringLiteral("KEY2"));
  logging.GotNameOfRemoteClient(pair, QStringLiteral("client.example"));
  logging.ConnectionAttemptFailed(pair, false, QStringLiteral("no such host"), 11001);
  const TreeNode& node = Node(kFailed);
  EXPECT_EQ(node.Text(), QStringLiteral("10.0.0.1 (client.example) to <Error>"));
  EXPECT_EQ(node.Tag(), QStringLiteral("10.0.0.1 <Error>"));
  EXPECT_FALSE(Tree().Contains(QStringLiteral("KEY2"))) << "found again when the new branch is opened";
  EXPECT_FALSE(Tree().Contains(kAwaiting));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(RecordingViewsTest, Death_is_shown_on_node_and_row) {
  OpenPort();
  Connected(QStringLiteral("KEY2"));
  Node(kStanding).SetExpanded(true);
  SocketPair& pair = Connected();
  ASSERT_TRUE(Grid().Contains(kKey));
  logging.Dead(pair);
  EXPECT_EQ(Node(kKey).Text(), QStringLiteral("Dead (07:05:03.042)"));
  EXPECT_EQ(Node(kKey).Image(), QStringLiteral("SocketDisconnected"));
  EXPECT_EQ(Grid().Item(kKey).SmallIcon(), QStringLiteral("SocketDisconnected"));
}

TEST_F(RecordingViewsTest, Only_an_error_number_other_than_0_makes_it_dead_with_error) {
  OpenPort();
  for (const qint32 number : {0, 10054}) {
    const QString key = QStringLiteral("KEY%1").arg(number);
    if (Tree().Contains(kStanding)) Node(kStanding).SetExpanded(true);
    SocketPair& pair = Connected(key);
    Node(kStanding).SetExpanded(true);
    logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.9"), 1000);
    logging.ServerInBadState(pair, number, QStringLiteral("x"), false);
    logging.Dead(pair);
    EXPECT_EQ(Node(key).Text(), number == 0 ? QStringLiteral("Dead (07:05:03.042)")
                                            : QStringLiteral("Dead With Error (07:05:03.042)"));
  }
}

TEST_F(RecordingViewsTest, Names_change_the_connections_node_and_row) {
  OpenPort();
  SocketPair& pair = Connected();
  logging.GotNameOfRemoteServer(pair, QStringLiteral("server.example"));
  logging.GotNameOfRemoteClient(pair, QStringLiteral("client.example"));
  EXPECT_EQ(Node(kStanding).Text(), QStringLiteral("10.0.0.1 (client.example) to 10.0.0.9 (server.example)"));
  EXPECT_EQ(Grid().Item(kKey).Text(), QStringLiteral("10.0.0.1:4000 (client.example)"));
  EXPECT_EQ(Grid().Item(kKey).SubItem(1), QStringLiteral("10.0.0.9:80 (server.example)"));
}

TEST_F(RecordingViewsTest, A_name_that_is_told_as_empty_stands_in_empty_brackets) {
  SocketPair& pair = Accepted();
  client->mRemoteHostIP = QStringLiteral("10.0.0.9");
  client->mRemotePort = 80;
  logging.ConnectionAttemptSuccessful(pair, false, QString());
  EXPECT_EQ(Grid().Item(kKey).SubItem(1), QStringLiteral("10.0.0.9:80 ()"));
  logging.GotNameOfRemoteClient(pair, QString());
  EXPECT_EQ(Grid().Item(kKey).Text(), QStringLiteral("10.0.0.1:4000 ()"));
  logging.RefreshAllDetails(QStringLiteral("AllActivity"));
  EXPECT_EQ(Grid().Item(kKey).Text(), QStringLiteral("10.0.0.1:4000")) << "listed anew it has no name";
}

TEST_F(RecordingViewsTest, A_rejected_connection_stands_below_the_open_node_of_the_unknown) {
  OpenPort();
  logging.LocalServerRejectedConnection(MakePair(), false, 1000);
  TreeNode& unknown = Node(QStringLiteral("CON1000<Unknown>"));
  EXPECT_EQ(unknown.ChildCount(), 0);
  unknown.SetExpanded(true);
  logging.LocalServerRejectedConnection(MakePair(QStringLiteral("KEY2")), false, 1000);
  EXPECT_EQ(Children(unknown), QStringList{QStringLiteral("KEY2")});
  EXPECT_EQ(Node(QStringLiteral("KEY2")).Text(), QStringLiteral("Alive"));
  EXPECT_EQ(Grid().Item(QStringLiteral("KEY2")).Text(), QStringLiteral("<Unknown>:-1"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(RecordingViewsTest, A_failed_attempt_with_the_number_0_shows_as_plain_dead) {
  OpenPort();
  for (const qint32 number : {0, 11001}) {
    const QString key = QStringLiteral("KEY%1").arg(number);
    SocketPair& pair = Accepted(key);
    logging.ConnectionAttemptFailed(pair, false, QStringLiteral("x"), number);
    logging.Dead(pair);
    Node(kFailed).SetExpanded(true);
    logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("<Error>"), 1000);
    EXPECT_EQ(Node(key).Text(), number == 0 ? QStringLiteral("Dead (07:05:03.042)")
                                            : QStringLiteral("Dead With Error (07:05:03.042)"));
  }
}

TEST_F(RecordingViewsTest, The_protocol_stands_in_column_2) {
  SocketPair& pair = Accepted();
  EXPECT_EQ(Grid().Item(kKey).SubItem(2), QStringLiteral("<NA>"));
  logging.GotProtocol(pair, QStringLiteral("Pass Thru"));
  EXPECT_EQ(History().mstrProtocol, QStringLiteral("Pass Thru"));
  EXPECT_EQ(Grid().Item(kKey).SubItem(2), QStringLiteral("Pass Thru"));
}

TEST_F(RecordingViewsTest, A_new_connection_gets_a_row_when_the_grid_lists_connections) {
  Accepted();
  const ListItem& row = Grid().Item(kKey);
  EXPECT_EQ(row.Text(), QStringLiteral("10.0.0.1:4000"));
  EXPECT_EQ(row.SmallIcon(), QStringLiteral("Socket"));
  EXPECT_EQ(row.SubItem(1), QStringLiteral("<NA>"));
  EXPECT_EQ(row.SubItem(3), QStringLiteral("07:05:03.042"));
  EXPECT_EQ(row.SubItem(5), QStringLiteral("Remote connection request accepted"));
  EXPECT_EQ(row.SubItem(6), QStringLiteral("0"));
  EXPECT_EQ(row.SubItem(8), QStringLiteral("1"));
}

TEST_F(RecordingViewsTest, A_row_is_left_alone_while_the_grid_lists_something_else) {
  OpenPort();
  SocketPair& pair = Connected();
  Node(kStanding).SetExpanded(true);
  logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.9"), 1000);
  Select(kKey);
  const QString before = Grid().Item(kKey).SubItem(5);
  logging.LocalServerDisconnected(pair, false);
  logging.GotProtocol(pair, QStringLiteral("x"));
  logging.Dead(pair);
  EXPECT_EQ(Grid().Item(kKey).SubItem(5), before);
  EXPECT_EQ(Grid().Item(kKey).SmallIcon(), QStringLiteral("Socket"));
  Accepted(QStringLiteral("KEY2"));
  EXPECT_FALSE(Grid().Contains(QStringLiteral("KEY2")));
}

/// A connection whose events are open in the tree.
struct OpenSocketTest : LoggingTest {
  OpenSocketTest() {
    OpenPort();
    pair = &Connected();
    Node(kStanding).SetExpanded(true);
    other = &Connected(QStringLiteral("KEY2"));
    logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.9"), 1000);
    for (const char* key : {"KEY1", "KEY2"})
      Node(QLatin1String(key)).SetExpanded(true);
    Grid().Clear();
  }
  SocketPair* pair;
  SocketPair* other;
};

TEST_F(OpenSocketTest, An_event_becomes_a_node_under_its_open_connection) {
  logging.ServerBytesReceived(*pair, Bytes(12), false);
  const TreeNode& node = Node(QStringLiteral("KEY1-3"));
  EXPECT_EQ(node.Text(), QStringLiteral("12 bytes of data has been received from the remote client."));
  EXPECT_EQ(node.Image(), QStringLiteral("Event"));
  EXPECT_EQ(node.Tag(), QStringLiteral("KEY1-3"));
  EXPECT_EQ(node.Parent(), &Node(kKey));
  EXPECT_EQ(Grid().Count(), 0) << "no connection is selected";
}

TEST_F(OpenSocketTest, With_a_live_connection_selected_the_event_is_a_row_too) {
  Select(kKey);
  logging.ServerBytesReceived(*pair, Bytes(12), false);
  const ListItem& row = Grid().Item(QStringLiteral("KEY1-3"));
  EXPECT_EQ(row.Text(), QStringLiteral("07:05:03.042"));
  EXPECT_EQ(row.SmallIcon(), QStringLiteral("Event"));
  EXPECT_EQ(row.SubItem(1), QStringLiteral("12 bytes of data has been received from the remote client."));
  EXPECT_EQ(row.SubItem(2), QStringLiteral("12"));
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_EQ(Grid().Item(QStringLiteral("KEY1-4")).SubItem(2), QString());
}

TEST_F(OpenSocketTest, Under_the_diagram_no_rows_come_and_turning_to_the_grid_lists_them) {
  Select(kKey);
  world.mGeneral.gblnConnectionDiagramSelected = true;
  logging.ServerBytesReceived(*pair, Bytes(12), false);
  EXPECT_TRUE(Tree().Contains(QStringLiteral("KEY1-3")));
  EXPECT_EQ(Grid().Count(), 0);
  world.mGeneral.gblnConnectionDiagramSelected = false;
  logging.RefreshAllDetails(QStringLiteral("Socket"));
  EXPECT_EQ(Grid().Count(), 3);
}

TEST_F(OpenSocketTest, Events_of_another_open_connection_land_in_the_same_grid) {
  Select(kKey);
  logging.LocalServerDisconnected(*other, false);
  EXPECT_EQ(Grid().Item(QStringLiteral("KEY1-3")).SubItem(1),
            QStringLiteral("VLT has disconnected from the remote client."));
  // The same number of another connection finds its key taken; nothing fails, and the first row stays.
  logging.ServerBytesReceived(*pair, Bytes(1), false);
  EXPECT_EQ(Grid().Count(), 1);
  EXPECT_TRUE(Tree().Contains(QStringLiteral("KEY1-3")));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(OpenSocketTest, With_a_dead_connection_selected_no_rows_come) {
  logging.Dead(*pair);
  Select(kKey);
  logging.LocalServerDisconnected(*other, false);
  EXPECT_EQ(Grid().Count(), 0);
}

}  // namespace
}  // namespace veltrane
