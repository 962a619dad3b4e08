// The main window with a recorder at work: what becomes of selection, tree and grid while events come and go.
#include "protocols/ProtocolPassThru.h"
#include "tests/ui/FrmMainTest.h"

namespace veltrane {
namespace {

const QString kKey = QStringLiteral("KEY1");
const QString kPort = QStringLiteral("PROTO1000");
const QString kAwaiting = QStringLiteral("CON100010.0.0.1");
const QString kStanding = QStringLiteral("CON100010.0.0.110.0.0.2");

struct FrmMainHistoryTest : FrmMainTest {
  FrmMainHistoryTest() {
    Show();
    world.mGeneral.gblnConnectionDiagramSelected = false;
    world.mGeneral.gblnRecordEvents = true;
  }
  SocketPair& Accepted(const QString& key = kKey) {
    auto pair = std::make_shared<SocketPair>(world.mGeneral);
    pair->SetSocketPairKey(key);
    world.mGeneral.gobjListening->mobjSocketPairs.Add(pair, key);
    StubSocket* server = world.mSockets.mSockets[world.mSockets.mSockets.size() - 2];
    server->mRemoteHostIP = QStringLiteral("10.0.0.1");
    server->mRemotePort = 4000;
    server->mLocalPort = 1000;
    logging.LocalServerAcceptedConnection(*pair, true, 1000);
    return *pair;
  }
  SocketPair& Connected(const QString& key = kKey) {
    SocketPair& pair = Accepted(key);
    StubSocket* client = world.mSockets.mSockets.last();
    client->mRemoteHostIP = client->mRemoteHost = QStringLiteral("10.0.0.2");
    client->mRemotePort = 80;
    logging.ConnectionAttemptSuccessful(pair, false, QString());
    return pair;
  }
  /// So many events, each with a number of its own in its description.
  void Receive(SocketPair& pair, int count) {
    for (int i = 0; i < count; ++i)
      logging.ServerBytesReceived(pair, QByteArray(++mReceived, 'x'), false);
  }
  /// Leaves the connection's last events.
  void Trim(int count) {
    around.mPurge.mMaximumEventCount = QString::number(count);
    logging.KillDeadSocketConnections();
  }
  QString Texts() const {
    QStringList texts;
    for (qsizetype i = 1; i <= window.lvwDetails.Count(); ++i)
      texts.append(window.lvwDetails.Item(i).Text());
    return texts.join(u' ');
  }
  int ColumnCount() const { return static_cast<int>(window.lvwDetails.ColumnHeaders().size()); }
  QString Selected() const { return window.mnodSelectedNode->Key(); }
  /// Title, tree and the window's own node say the same.
  void ExpectSelected(const QString& key) {
    EXPECT_EQ(Selected(), key);
    EXPECT_FALSE(window.mnodSelectedNode->Removed());
    EXPECT_EQ(window.tvwSockets.SelectedItem(), window.mnodSelectedNode.get());
    EXPECT_EQ(window.lblDetails.PanelText(1), QStringLiteral("Details for ") + Node(key).Text());
    EXPECT_EQ(window.lblRealTime.Caption(), QStringLiteral("Real time data for ") + Node(key).Text());
  }
  void ChooseBothViews() {
    window.mnuConnectionDiagram.Click();
    window.mnuEventHistory.Click();
  }
  /// Each event of the connection has its node, in its place.
  void ExpectNodesFitEvents() {
    const TreeNode& node = Node(kKey);
    const EventList& events = logging.mobjSocketPairHistory.Item(kKey)->mobjSocketPairEvents;
    ASSERT_EQ(node.ChildCount(), events.Count());
    for (qsizetype i = 1; i <= events.Count(); ++i) {
      EXPECT_EQ(node.Child(i - 1).Key(), QStringLiteral("KEY1-%1").arg(i));
      EXPECT_EQ(node.Child(i - 1).Tag(), QStringLiteral("KEY1-%1").arg(i));
      EXPECT_EQ(node.Child(i - 1).Text(), events.Item(i)->mstrDescription);
    }
  }

 private:
  int mReceived = 0;
};

// A selected node that goes.

TEST_F(FrmMainHistoryTest, A_selected_event_that_is_purged_leaves_its_connection_selected) {
  SocketPair& pair = Connected();
  Receive(pair, 4);
  Open(kKey);
  Click(QStringLiteral("KEY1-1"));
  Trim(3);
  ExpectSelected(kKey);
  EXPECT_EQ(ColumnCount(), 3);
  Receive(pair, 1);
  EXPECT_FALSE(window.lvwDetails.Contains(QStringLiteral("Event Time"))) << "no row beside an event's items";
  EXPECT_TRUE(window.lvwDetails.Contains(QStringLiteral("KEY1-7")));
  ChooseBothViews();
  EXPECT_EQ(window.lvwDetails.Count(), 4);
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainHistoryTest, A_selected_connection_that_is_purged_leaves_those_with_the_same_ends) {
  Connected();
  Connected(QStringLiteral("KEY2"));
  for (const char* key : {"KEY1", "KEY1-2"}) {
    const bool again = !logging.mobjSocketPairHistory.Contains(kKey);
    if (again) Connected(kKey);
    Open(kKey);
    Click(QLatin1String(key));
    EXPECT_TRUE(window.mnuSaveHistory.Enabled());
    logging.KillSocketHistory(logging.mobjSocketPairHistory.PositionOf(kKey));
    ExpectSelected(kStanding);
    EXPECT_FALSE(window.mnuSaveHistory.Enabled()) << "there is no history to save";
    ChooseBothViews();
    EXPECT_EQ(ColumnCount(), 9);
    EXPECT_EQ(Texts(), QStringLiteral("10.0.0.1:4000"));
    EXPECT_TRUE(window.lvwDetails.Contains(QStringLiteral("KEY2")));
    EXPECT_FALSE(window.panDiagramOuter.Visible());
  }
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainHistoryTest, A_selected_connection_whose_attempt_fails_leaves_its_port_selected) {
  SocketPair& pair = Accepted();
  Click(kPort);
  Click(kAwaiting);
  Click(kKey);
  ASSERT_EQ(Selected(), kKey);
  logging.ConnectionAttemptFailed(pair, false, QStringLiteral("no such host"), 11001);
  EXPECT_FALSE(window.tvwSockets.Contains(kAwaiting));
  ExpectSelected(kPort);
  ChooseBothViews();
  EXPECT_EQ(ColumnCount(), 9);
  EXPECT_EQ(Texts(), QStringLiteral("10.0.0.1:4000"));
  EXPECT_EQ(window.lvwDetails.Item(kKey).SubItem(1), QStringLiteral("<Error>:0"));
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainHistoryTest, With_the_diagram_in_view_it_goes_with_its_connection) {
  world.mGeneral.gblnConnectionDiagramSelected = true;
  Connected();
  Open(kKey);
  EXPECT_TRUE(window.panDiagramOuter.Visible());
  const SocketPairHistoryRef shown = window.mobjCurrentHistory;
  logging.KillSocketHistory(1);
  EXPECT_FALSE(window.panDiagramOuter.Visible());
  EXPECT_EQ(window.mobjCurrentHistory, shown) << "kept until something else is shown";
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainHistoryTest, A_selected_port_that_is_purged_leaves_the_root_selected) {
  Click(QStringLiteral("PROTO2000"));
  world.mGeneral.gobjListening->mcolListeningSocket.Remove(QStringLiteral("KEY2000"));
  logging.RemoveEmptyEphemeralPorts();
  ExpectSelected(QStringLiteral("ROOT"));
}

TEST_F(FrmMainHistoryTest, A_failure_on_the_way_to_the_node_above_is_reported_and_harms_no_purge) {
  SocketPair& pair = Connected();
  Receive(pair, 4);
  Open(kKey);
  Click(QStringLiteral("KEY1-1"));
  world.mStore.mFailReads = true;
  Trim(3);
  world.mStore.mFailReads = false;
  EXPECT_EQ(logging.mobjSocketPairHistory.Item(kKey)->mobjSocketPairEvents.Count(), 3);
  ExpectNodesFitEvents();
}

TEST_F(FrmMainHistoryTest, The_timer_purges_twice_a_second) {
  around.mPurge.mNumberToKeep = QStringLiteral("0");
  world.mTimers.Advance(std::chrono::milliseconds(500));
  logging.Dead(Connected());
  world.mTimers.Advance(std::chrono::milliseconds(499));
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 1);
  world.mTimers.Advance(std::chrono::milliseconds(1));
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 0);
  EXPECT_FALSE(window.lvwDetails.Contains(kKey));
}

// The titles follow the selected node.

TEST_F(FrmMainHistoryTest, The_titles_say_that_the_selected_connection_has_died) {
  SocketPair& pair = Connected();
  Connected(QStringLiteral("KEY2"));
  Open(kKey);
  ASSERT_EQ(window.lblDetails.PanelText(1), QStringLiteral("Details for Alive"));
  logging.Dead(pair);
  ExpectSelected(kKey);
  EXPECT_TRUE(window.lblDetails.PanelText(1).startsWith(QStringLiteral("Details for Dead (")));
}

TEST_F(FrmMainHistoryTest, The_titles_say_the_names_of_the_selected_peers_when_they_come) {
  SocketPair& pair = Connected();
  Open(kKey);
  Click(kStanding);
  const QString before = window.lblDetails.PanelText(1);
  logging.GotNameOfRemoteClient(pair, QStringLiteral("client.example"));
  ExpectSelected(kStanding);
  EXPECT_NE(window.lblDetails.PanelText(1), before);
}

TEST_F(FrmMainHistoryTest, A_negative_memory_count_holds_the_purge_until_the_counters_timer_repairs_it) {
  logging.Dead(Connected());
  around.mPurge.mMaxMemorySize = QStringLiteral("0");
  logging.mlngTotalMemoryAllocated = -3000;
  logging.KillDeadSocketConnections();
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 1) << "the purge sees the count as it is";
  EXPECT_EQ(logging.mlngTotalMemoryAllocated, -3000);
  window.tmrStats_Timer();
  EXPECT_EQ(logging.mlngTotalMemoryAllocated, 0);
  EXPECT_EQ(window.barStatus.PanelText(1), QStringLiteral("Memory: 0 KBytes"));
  logging.mlngTotalMemoryAllocated += 1;
  logging.KillDeadSocketConnections();
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 0);
}

// Rows and nodes after a purge.

TEST_F(FrmMainHistoryTest, A_double_click_on_a_row_selects_that_very_event_also_after_a_purge) {
  SocketPair& pair = Connected();
  Receive(pair, 4);
  Open(kKey);
  const QString fifth =
      logging.mobjSocketPairHistory.Item(kKey)->mobjSocketPairEvents.Item(5)->mstrDescription;
  Trim(3);
  Receive(pair, 1);
  const QString newest = window.lvwDetails.Item(window.lvwDetails.Count()).SubItem(1);
  window.lvwDetails.ClickItem(window.lvwDetails.Item(window.lvwDetails.Count()));
  window.lvwDetails.DoubleClick();
  EXPECT_EQ(Selected(), QStringLiteral("KEY1-4"));
  EXPECT_EQ(window.mnodSelectedNode->Text(), newest);
  EXPECT_EQ(window.lvwDetails.Item(QStringLiteral("Description")).SubItem(1), newest);
  // Listed after the purge, its row has the number of its place.
  Click(kKey);
  window.lvwDetails.ClickItem(window.lvwDetails.Item(QStringLiteral("KEY1-2")));
  Trim(3);
  window.lvwDetails.DoubleClick();
  EXPECT_EQ(Selected(), QStringLiteral("KEY1-1"));
  EXPECT_EQ(window.mnodSelectedNode->Text(), fifth);
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainHistoryTest, A_double_click_on_the_row_of_a_purged_event_does_nothing) {
  SocketPair& pair = Connected();
  Receive(pair, 4);
  Open(kKey);
  window.lvwDetails.ClickItem(window.lvwDetails.Item(1));
  Trim(3);
  window.lvwDetails.DoubleClick();
  EXPECT_EQ(Selected(), kKey);
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainHistoryTest, The_details_of_an_event_open_for_its_place_of_today) {
  SocketPair& pair = Connected();
  Receive(pair, 4);
  Open(kKey);
  Click(QStringLiteral("KEY1-5"));
  Trim(3);
  EXPECT_EQ(Selected(), QStringLiteral("KEY1-2"));
  world.mJournal.Take();
  window.lvwDetails.ClickItem(window.lvwDetails.Item(1));
  window.lvwDetails.DoubleClick();
  EXPECT_EQ(world.mJournal.lines.value(0), QStringLiteral("SetDetails KEY1 2"));
}

// Branches that are folded and unfolded by hand.

TEST_F(FrmMainHistoryTest, An_unfolded_connection_has_the_events_that_came_meanwhile) {
  SocketPair& pair = Connected();
  Receive(pair, 4);
  Open(kKey);
  Click(QStringLiteral("KEY1-3"));
  window.txtRealTime.SetText(QStringLiteral("kept"));
  window.tvwSockets.FoldByHand(Node(kKey), false);
  Receive(pair, 5);
  EXPECT_EQ(Node(kKey).ChildCount(), 6);
  window.tvwSockets.FoldByHand(Node(kKey), true);
  ExpectNodesFitEvents();
  Receive(pair, 1);
  Trim(10);
  ExpectNodesFitEvents();
  EXPECT_EQ(Selected(), QStringLiteral("KEY1-1")) << "which was the third";
  EXPECT_EQ(window.txtRealTime.Text(), QStringLiteral("kept"));
}

TEST_F(FrmMainHistoryTest, A_connection_folded_through_a_purge_fits_when_it_is_unfolded) {
  SocketPair& pair = Connected();
  Receive(pair, 4);
  Open(kKey);
  window.tvwSockets.FoldByHand(Node(kKey), false);
  Receive(pair, 5);
  Trim(8);
  window.tvwSockets.FoldByHand(Node(kKey), true);
  ExpectNodesFitEvents();
  window.tvwSockets.FoldByHand(Node(kKey), false);
  Receive(pair, 20);
  Trim(3);
  // A double click on a node without an arrow opens it as well.
  EXPECT_EQ(Node(kKey).ChildCount(), 0);
  window.tvwSockets.DoubleClick();
  ExpectNodesFitEvents();
}

TEST_F(FrmMainHistoryTest, A_double_click_on_an_event_leaves_its_next_click_what_it_was) {
  Connected();
  Open(kKey);
  eventDetails.Show();
  Click(QStringLiteral("KEY1-1"));
  window.tvwSockets.DoubleClick();
  EXPECT_FALSE(Node(QStringLiteral("KEY1-1")).Expanded());
  world.mJournal.Take();
  Click(QStringLiteral("KEY1-1"));
  EXPECT_TRUE(world.mJournal.Take().contains(QStringLiteral("SetDetails KEY1 1")));
}

TEST_F(FrmMainHistoryTest, The_row_of_an_event_that_came_while_its_branch_was_folded_leads_to_it) {
  SocketPair& pair = Connected();
  Open(kKey);
  window.tvwSockets.FoldByHand(Node(kKey), false);
  Receive(pair, 2);
  ChooseBothViews();
  window.lvwDetails.ClickItem(window.lvwDetails.Item(window.lvwDetails.Count()));
  window.lvwDetails.DoubleClick();
  ExpectSelected(QStringLiteral("KEY1-4"));
  EXPECT_TRUE(Node(kKey).Expanded());
  ExpectNodesFitEvents();
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainHistoryTest, A_selected_connection_that_waited_stays_selected_in_the_branch_of_its_server) {
  for (const char* selected : {"KEY1", "KEY1-1"}) {
    SocketPair& pair = Accepted();
    Click(kPort);
    Click(kAwaiting);
    Click(kKey);
    Click(QLatin1String(selected));
    StubSocket* client = world.mSockets.mSockets.last();
    client->mRemoteHostIP = client->mRemoteHost = QStringLiteral("10.0.0.2");
    logging.ConnectionAttemptSuccessful(pair, false, QString());
    window.tvwSockets.FoldByHand(Node(kStanding), true);
    EXPECT_EQ(Node(kKey).Parent(), &Node(kStanding));
    EXPECT_FALSE(window.tvwSockets.Contains(kAwaiting));
    ExpectSelected(QLatin1String(selected));
    Receive(pair, 1);
    ExpectNodesFitEvents();
    Click(kKey);
    ExpectSelected(kKey);
    logging.KillSocketHistory(1);
    ExpectSelected(kStanding);
  }
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainHistoryTest, Unfolded_ports_and_connections_have_what_came_meanwhile) {
  Connected();
  Open(kKey);
  window.tvwSockets.FoldByHand(Node(kStanding), false);
  Connected(QStringLiteral("KEY2"));
  EXPECT_FALSE(window.tvwSockets.Contains(QStringLiteral("KEY2")));
  window.tvwSockets.FoldByHand(Node(kStanding), true);
  EXPECT_EQ(Node(QStringLiteral("KEY2")).Parent(), &Node(kStanding));
  EXPECT_EQ(Selected(), kKey);
  ExpectNodesFitEvents();
  window.tvwSockets.FoldByHand(Node(kPort), false);
  Accepted(QStringLiteral("KEY3"));
  EXPECT_FALSE(window.tvwSockets.Contains(kAwaiting));
  window.tvwSockets.FoldByHand(Node(kPort), true);
  EXPECT_TRUE(window.tvwSockets.Contains(kAwaiting));
  EXPECT_EQ(Selected(), kKey);
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

}  // namespace
}  // namespace veltrane
