#include "forms/ListView.h"
#include "forms/RichTextBox.h"
#include "tests/history/HistoryTest.h"

namespace veltrane {
namespace {

const QString kClient = QStringLiteral("10.0.0.1");
const QString kServer = QStringLiteral("10.0.0.9");
const QString kStanding = QStringLiteral("CON100010.0.0.110.0.0.9");
const QString kPassThrough = QStringLiteral("Pass Through");

struct ViewsTest : LoggingTest {
  QStringList Rows() {
    QStringList keys;
    for (qsizetype i = 1; i <= Grid().Count(); ++i)
      keys.append(Grid().Item(i).Key());
    return keys;
  }
};

TEST_F(ViewsTest, All_ports_of_the_table_get_nodes_in_stored_order) {
  world.AddPort(25, kPassThrough, QStringLiteral("SMTP"));
  world.AddPort(1000, kDontUse, QStringLiteral("Apps"));
  world.AddPort(7, kPassThrough, QStringLiteral("Echo"));
  world.mGeneral.gobjListening->InitaliseListeningSockets();
  world.mSockets.mSockets.last()->mState = SocketState::kClosed;
  // Described, but with no row among the protocols.
  world.Save(kPortsInUse, QStringLiteral("99"), QStringLiteral("Lost"));
  Select(QStringLiteral("ROOT"));
  Take();
  logging.LoadAllProtocols(*world.mGeneral.gobjListening);
  const TreeNode& root = Node(QStringLiteral("ROOT"));
  EXPECT_EQ(Children(root), (QStringList{QStringLiteral("PROTO25"), QStringLiteral("PROTO1000"),
                                         QStringLiteral("PROTO7"), QStringLiteral("PROTO99")}));
  EXPECT_EQ(root.Child(0).Text(), QStringLiteral("SMTP (25)"));
  EXPECT_EQ(root.Child(0).Image(), QStringLiteral("Protocol"));
  EXPECT_EQ(root.Child(0).Tag(), QStringLiteral("25"));
  EXPECT_EQ(root.Child(1).Text(), QStringLiteral("Apps (1000) - Not Listening"));
  EXPECT_EQ(root.Child(2).Text(), QStringLiteral("Echo (7) - Not Listening"));
  EXPECT_EQ(root.Child(3).Text(), QStringLiteral("Lost (99) - Not Listening"));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("RefreshPaneTitles")});
}

TEST_F(ViewsTest, With_no_stored_ports_the_first_node_is_selected_all_the_same) {
  OpenPort();
  Select(ProtocolNodeKey(1000));
  logging.LoadAllProtocols(*world.mGeneral.gobjListening);
  EXPECT_EQ(Tree().SelectedItem(), &Node(QStringLiteral("ROOT")));
  EXPECT_EQ(Tree().Count(), 2);
}

TEST_F(ViewsTest, A_port_that_is_no_number_is_shown_as_it_is_stored) {
  world.Save(kPortsInUse, QStringLiteral("abc"), QStringLiteral("Odd"));
  world.Save(kPortsInUse, QStringLiteral("25"), QStringLiteral("SMTP"));
  logging.LoadAllProtocols(*world.mGeneral.gobjListening);
  const TreeNode& root = Node(QStringLiteral("ROOT"));
  EXPECT_EQ(Children(root), (QStringList{QStringLiteral("PROTOabc"), QStringLiteral("PROTO25")}));
  EXPECT_EQ(root.Child(0).Text(), QStringLiteral("Odd (abc) - Not Listening"));
  EXPECT_EQ(root.Child(0).Tag(), QStringLiteral("abc"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(ViewsTest, A_port_that_is_stored_twice_is_reported_and_the_branch_stays_as_far_as_it_got) {
  world.Save(kPortsInUse, QStringLiteral("25"), QStringLiteral("SMTP"));
  world.mStore.mRows.append(world.mStore.mRows.last());
  world.Save(kPortsInUse, QStringLiteral("1000"), QStringLiteral("Apps"));
  Tree().SetSelectedItem(nullptr);
  logging.LoadAllProtocols(*world.mGeneral.gobjListening);
  EXPECT_EQ(Children(Node(QStringLiteral("ROOT"))), QStringList{QStringLiteral("PROTO25")});
  EXPECT_EQ(Tree().SelectedItem(), &Node(QStringLiteral("ROOT"))) << "without one no event could be recorded";
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to load all of the protocols.  The "
                                 "operating system reports: 457, This key is already in use in the list")});
}

TEST_F(ViewsTest, Connections_between_the_same_two_ends_share_a_node) {
  Connected();
  Connected(QStringLiteral("KEY2"));
  Accepted(QStringLiteral("KEY3"));
  SocketPair& elsewhere = MakePair(QStringLiteral("KEY4"));
  server->mLocalPort = 1001;
  logging.LocalServerAcceptedConnection(elsewhere, false, 1001);
  OpenPort();
  logging.LoadAllCommsPartners(1000);
  EXPECT_EQ(Children(Node(ProtocolNodeKey(1000))),
            (QStringList{kStanding, QStringLiteral("CON100010.0.0.1")}));
  EXPECT_EQ(Node(kStanding).Tag(), QStringLiteral("10.0.0.1 10.0.0.9"));
  EXPECT_EQ(Node(kStanding).Image(), QStringLiteral("Connection"));
  EXPECT_EQ(Node(QStringLiteral("CON100010.0.0.1")).Tag(), QStringLiteral("10.0.0.1 "));
}

TEST_F(ViewsTest, Sockets_show_whether_they_live) {
  Connected();
  logging.Dead(Connected(QStringLiteral("KEY2")));
  SocketPair& bad = Connected(QStringLiteral("KEY3"));
  logging.ClientInBadState(bad, 10054, QStringLiteral("reset"), false);
  logging.Dead(bad);
  Accepted(QStringLiteral("KEY4"));
  OpenPort();
  logging.LoadAllCommsPartners(1000);
  logging.LoadAllConnections(kClient, kServer, 1000);
  const TreeNode& node = Node(kStanding);
  EXPECT_EQ(Children(node),
            (QStringList{QStringLiteral("KEY1"), QStringLiteral("KEY2"), QStringLiteral("KEY3")}));
  EXPECT_EQ(node.Child(0).Text(), QStringLiteral("Alive"));
  EXPECT_EQ(node.Child(0).Image(), QStringLiteral("Socket"));
  EXPECT_EQ(node.Child(0).Tag(), QStringLiteral("KEY1"));
  EXPECT_EQ(node.Child(1).Text(), QStringLiteral("Dead (07:05:03.042)"));
  EXPECT_EQ(node.Child(1).Image(), QStringLiteral("SocketDisconnected"));
  EXPECT_EQ(node.Child(2).Text(), QStringLiteral("Dead With Error (07:05:03.042)"));
}

TEST_F(ViewsTest, A_missing_parent_is_reported) {
  Connected();
  logging.LoadAllCommsPartners(1000);
  logging.LoadAllConnections(kClient, kServer, 1000);
  logging.LoadAllEvents(QStringLiteral("KEY9"));
  const QString tail =
      QStringLiteral("  The operating system reports: 5, Invalid procedure call or argument");
  EXPECT_EQ(
      world.mErrors.mTexts,
      (QStringList{
          QStringLiteral("An error occurred while attempting to load all of the communication partners.") +
              tail,
          QStringLiteral("An error occurred while attempting to load all of the connections.") + tail,
          QStringLiteral("An error occurred while attempting to load all of the events.") + tail}));
}

// The grid.

TEST_F(ViewsTest, The_grid_lists_the_connections_of_the_selected_branch) {
  OpenPort();
  SocketPair& first = Connected();
  logging.GotNameOfRemoteClient(first, QStringLiteral("client.example"));
  logging.GotNameOfRemoteServer(first, QStringLiteral("server.example"));
  logging.GotProtocol(first, QStringLiteral("HTTP"));
  logging.ServerBytesReceived(first, Bytes(5), false);
  logging.ClientBytesBuffered(first, Bytes(3), false, false);
  Accepted(QStringLiteral("KEY2"));
  Take();
  logging.RefreshAllDetails(QStringLiteral("AllActivity"));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ConfigureGridForAllActivity")});
  EXPECT_EQ(Rows(), (QStringList{QStringLiteral("KEY1"), QStringLiteral("KEY2")}));
  const ListItem& row = Grid().Item(1);
  EXPECT_EQ(row.Text(), QStringLiteral("10.0.0.1:4000 (client.example)"));
  QStringList items;
  for (int column = 1; column <= 8; ++column)
    items.append(row.SubItem(column));
  EXPECT_EQ(items, (QStringList{QStringLiteral("10.0.0.9:80 (server.example)"), QStringLiteral("HTTP"),
                                QStringLiteral("07:05:03.042"), QStringLiteral("07:05:03.042"),
                                QStringLiteral("3 bytes of data has been buffered. (Previous action still in "
                                               "progress)"),
                                QStringLiteral("5"), QStringLiteral("3"), QStringLiteral("4")}));
  EXPECT_EQ(Grid().Item(2).SubItem(1), QStringLiteral("<NA>"));
  Select(kStanding);
  logging.RefreshAllDetails(QStringLiteral("Connection"));
  EXPECT_EQ(Rows(), QStringList{QStringLiteral("KEY1")});
}

TEST_F(ViewsTest, A_server_of_which_only_the_address_is_known_has_no_brackets) {
  Connected();
  logging.RefreshAllDetails(QStringLiteral("AllActivity"));
  EXPECT_EQ(Grid().Item(1).SubItem(1), QStringLiteral("10.0.0.9:80"));
}

TEST_F(ViewsTest, A_row_that_is_refreshed_beside_the_list_of_connections_gets_its_icon_only) {
  OpenPort();
  logging.Dead(Connected());
  logging.LoadAllConnections(kClient, kServer, 1000);
  Select(QStringLiteral("KEY1"));
  Grid().Clear();
  ListItem& row = Grid().Add(QStringLiteral("row"), QStringLiteral("text"));
  RefreshRow(row, History());
  EXPECT_EQ(row.SmallIcon(), QStringLiteral("SocketDisconnected"));
  EXPECT_EQ(row.SubItem(1), QString());
}

TEST_F(ViewsTest, A_grid_without_columns_gets_them_with_its_first_row) {
  Take();
  MakePair();
  logging.LocalServerAcceptedConnection(*world.mGeneral.gobjListening->mobjSocketPairs.Item(1), true, 1000);
  EXPECT_EQ(Take().filter(QStringLiteral("Configure")),
            QStringList{QStringLiteral("ConfigureGridForAllActivity")});
  Accepted(QStringLiteral("KEY2"));
  EXPECT_TRUE(Take().filter(QStringLiteral("Configure")).isEmpty());
}

TEST_F(ViewsTest, A_connections_events_are_rows_unless_the_diagram_shows_them) {
  OpenPort();
  SocketPair& pair = Connected();
  logging.ServerBytesReceived(pair, Bytes(5), false);
  logging.LoadAllConnections(kClient, kServer, 1000);
  Select(QStringLiteral("KEY1"));
  for (const char* image : {"Socket", "SocketDisconnected"}) {
    Take();
    logging.RefreshAllDetails(QLatin1String(image));
    EXPECT_EQ(Take(), QStringList{QStringLiteral("ConfigureGridForConnection")});
    EXPECT_EQ(Rows(),
              (QStringList{QStringLiteral("KEY1-1"), QStringLiteral("KEY1-2"), QStringLiteral("KEY1-3")}));
  }
  EXPECT_EQ(Grid().Item(1).SubItem(2), QString());
  EXPECT_EQ(Grid().Item(3).SubItem(2), QStringLiteral("5"));
  EXPECT_EQ(Grid().Item(3).Text(), QStringLiteral("07:05:03.042"));
  EXPECT_EQ(Grid().Item(3).SmallIcon(), QStringLiteral("Event"));
  world.mGeneral.gblnConnectionDiagramSelected = true;
  logging.RefreshAllDetails(QStringLiteral("Socket"));
  EXPECT_EQ(Grid().Count(), 0);
}

TEST_F(ViewsTest, An_event_is_told_item_by_item) {
  OpenPort();
  // A number after the wrap: the key has a dash of its own.
  const QString key = QStringLiteral("KEY-32768");
  SocketPair& pair = Connected(key);
  logging.GotProtocol(pair, QStringLiteral("Pass Thru"));
  logging.ClientBytesSendStart(pair, QByteArray("a\r\n\xff", 4), false, false);
  world.mClock.mNow.millisecond = 100;
  logging.ClientBytesSendStop(pair);
  logging.LoadAllConnections(kClient, kServer, 1000);
  Node(key).SetExpanded(true);
  logging.LoadAllEvents(key);
  Select(key + QStringLiteral("-3"));
  Take();
  logging.RefreshAllDetails(QStringLiteral("Event"));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ConfigureGridForEvent")});
  QStringList rows;
  for (qsizetype i = 1; i <= Grid().Count(); ++i)
    rows.append(Grid().Item(i).Text() + u'=' + Grid().Item(i).SubItem(1));
  EXPECT_EQ(rows, (QStringList{
                      QStringLiteral("Event Time=07:05:03.042"),
                      QStringLiteral("Event End Time=07:05:03.100"),
                      QStringLiteral("Error Number=0"),
                      QStringLiteral("Error Description="),
                      QStringLiteral("Description=4 bytes of data has been sent to the remote server."),
                      QStringLiteral("Data=a\r\n\u00ff"),
                      QStringLiteral("Remote Client Address=10.0.0.1"),
                      QStringLiteral("Remote Client Name="),
                      QStringLiteral("Remote Client Port=4000"),
                      QStringLiteral("Remote Server Address=10.0.0.9"),
                      QStringLiteral("Remote Server Name="),
                      QStringLiteral("Remote Server Port=80"),
                      QStringLiteral("Local Server Port=1000"),
                      QStringLiteral("Local Client Port=5000"),
                      QStringLiteral("Originally Listening on Port=1000"),
                      QStringLiteral("Socket Status=Alive"),
                      QStringLiteral("Time Of Socket Pair Death="),
                      QStringLiteral("Protocol=Pass Thru"),
                  }));
  logging.Dead(pair);
  logging.RefreshAllDetails(QStringLiteral("Event"));
  EXPECT_EQ(Grid().Item(QStringLiteral("Socket Status")).SubItem(1), QStringLiteral("Dead"));
  EXPECT_EQ(Grid().Item(QStringLiteral("Time Of Socket Pair Death")).SubItem(1),
            QStringLiteral("07:05:03.100"));
}

TEST_F(ViewsTest, An_event_that_was_purged_is_a_failure_of_the_caller) {
  OpenPort();
  Connected();
  logging.LoadAllConnections(kClient, kServer, 1000);
  Tree().Add(QStringLiteral("KEY1"), QStringLiteral("KEY1-7"), QStringLiteral("gone"),
             QStringLiteral("Event"));
  Select(QStringLiteral("KEY1-7"));
  EXPECT_THROW(logging.RefreshAllDetails(QStringLiteral("Event")), Failure);
}

TEST_F(ViewsTest, Any_other_image_leaves_the_grid_empty) {
  Connected();
  Take();
  logging.RefreshAllDetails(QStringLiteral("Nothing"));
  EXPECT_EQ(Grid().Count(), 0);
  EXPECT_TRUE(Take().isEmpty());
}

}  // namespace
}  // namespace veltrane
