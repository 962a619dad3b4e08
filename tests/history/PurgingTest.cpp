#include <random>

#include "base/Numbers.h"
#include "forms/ListView.h"
#include "forms/RichTextBox.h"
#include "tests/history/HistoryTest.h"

namespace veltrane {
namespace {

const QString kStanding = QStringLiteral("CON100010.0.0.110.0.0.9");

struct PurgingTest : LoggingTest {
  void Purge() {
    logging.KillDeadSocketConnections();
    Take();
  }
  /// The connection KEY1 has so many events, each of 10 bytes but the first two.
  SocketPair& WithEvents(int count) {
    SocketPair& pair = Connected();
    for (int i = 3; i <= count; ++i)
      logging.ServerBytesReceived(pair, Bytes(10), false);
    Take();
    return pair;
  }
};

// The number of connections.

TEST_F(PurgingTest, The_oldest_dead_connections_go_first) {
  MakeConnections(10);
  fakes.mPurge.mNumberToKeep = QStringLiteral("7");
  Purge();
  EXPECT_EQ(Keys(), (QStringList{QStringLiteral("KEY4"), QStringLiteral("KEY5"), QStringLiteral("KEY6"),
                                 QStringLiteral("KEY7"), QStringLiteral("KEY8"), QStringLiteral("KEY9"),
                                 QStringLiteral("KEY10")}));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 7);
  EXPECT_EQ(logging.mlngTotalEvents, 7);
}

TEST_F(PurgingTest, A_live_connection_uses_up_a_turn) {
  QList<int> alive;
  for (int i = 1; i <= 50; i += 2)
    alive.append(i);
  fakes.mPurge.mDiscard = false;
  MakeConnections(150, alive);
  fakes.mPurge.mDiscard = true;
  fakes.mPurge.mNumberToKeep = QStringLiteral("100");
  Purge();
  // Of the 50 turns 25 met a live one.
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 125);
  Purge();
  // The 25 live ones use up all turns of the next run.
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 125);
  EXPECT_FALSE(logging.mobjSocketPairHistory.Contains(QStringLiteral("KEY50")));
  EXPECT_TRUE(logging.mobjSocketPairHistory.Contains(QStringLiteral("KEY51")));
}

TEST_F(PurgingTest, Live_connections_are_never_touched) {
  MakeConnections(5, {1, 2, 3, 4, 5});
  fakes.mPurge.mNumberToKeep = QStringLiteral("0");
  fakes.mPurge.mMaxMemorySize = QStringLiteral("0");
  Purge();
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 5);
}

/// What goes and what stays, by walking as the rules are told.
QStringList Walked(QList<std::pair<QString, bool>> histories, int limit) {
  const qsizetype turns = histories.size() - limit;
  qsizetype position = 0;
  for (qsizetype turn = 0; turn < turns; ++turn) {
    if (position < histories.size() && histories[position].second) {
      histories.removeAt(position);
    } else {
      ++position;
    }
  }
  QStringList keys;
  for (const auto& history : histories)
    keys.append(history.first);
  return keys;
}

TEST_F(PurgingTest, What_goes_is_as_if_the_whole_list_was_walked) {
  std::mt19937 chance(20261121);
  int number = 0;
  QList<std::pair<QString, bool>> expected;
  fakes.mPurge.mDiscard = false;
  for (int round = 0; round < 60; ++round) {
    const int fresh = static_cast<int>(chance() % 8);
    for (int i = 0; i < fresh; ++i) {
      const QString key = QStringLiteral("KEY%1").arg(++number);
      Accepted(key);
      expected.append({key, false});
    }
    for (auto& history : expected) {
      if (history.second || chance() % 4 != 0) continue;
      logging.Dead(*world.mGeneral.gobjListening->mobjSocketPairs.Item(history.first));
      history.second = true;
    }
    const int limit = static_cast<int>(chance() % 12);
    fakes.mPurge.mNumberToKeep = QString::number(limit);
    fakes.mPurge.mDiscard = true;
    Purge();
    fakes.mPurge.mDiscard = false;
    const QStringList keys = Walked(expected, limit);
    expected.removeIf([&](const auto& history) { return !keys.contains(history.first); });
    ASSERT_EQ(Keys(), keys) << "round " << round;
  }
}

// Memory.

TEST_F(PurgingTest, Dead_connections_go_until_the_memory_fits) {
  fakes.mPurge.mDiscard = false;
  for (int i = 1; i <= 4; ++i) {
    SocketPair& pair = Accepted(QStringLiteral("KEY%1").arg(i));
    logging.ServerBytesReceived(pair, Bytes(1024), false);
    if (i != 2) logging.Dead(pair);
  }
  fakes.mPurge.mDiscard = true;
  fakes.mPurge.mMaxMemorySize = QStringLiteral("2");
  Purge();
  EXPECT_EQ(Keys(), (QStringList{QStringLiteral("KEY2"), QStringLiteral("KEY4")}));
  EXPECT_EQ(logging.mlngTotalMemoryAllocated, 2048) << "exactly the limit is within it";
}

// Events of a connection.

TEST_F(PurgingTest, A_history_over_the_limit_loses_its_oldest_events) {
  WithEvents(250);
  fakes.mPurge.mMaximumEventCount = QStringLiteral("200");
  Purge();
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 200);
  EXPECT_EQ(History().mobjSocketPairEvents.KeyAt(1), QStringLiteral("KEY50"));
  EXPECT_EQ(History().mlngEventCount, 250);
  EXPECT_EQ(History().mlngMemoryAllocated, 2480);
  EXPECT_EQ(logging.mlngTotalEvents, 200);
}

TEST_F(PurgingTest, The_total_runs_off_by_the_size_of_the_event_that_becomes_the_first) {
  fakes.mPurge.mDiscard = false;
  SocketPair& pair = Connected();
  for (const int size : {100, 20, 3})
    logging.ServerBytesReceived(pair, Bytes(size), false);
  fakes.mPurge.mDiscard = true;
  fakes.mPurge.mMaximumEventCount = QStringLiteral("2");
  Purge();
  // Three went: of 0, 0 and 100 bytes. Subtracted was 0, 100 and 20.
  EXPECT_EQ(logging.mlngTotalMemoryAllocated, 123 - 0 - 100 - 20);
  logging.Dead(pair);
  fakes.mPurge.mNumberToKeep = QStringLiteral("0");
  Purge();
  EXPECT_EQ(logging.mlngTotalMemoryAllocated, -120) << "below zero, and nothing corrects that";
}

TEST_F(PurgingTest, The_nodes_of_an_open_connection_go_and_are_counted_anew) {
  OpenPort();
  SocketPair& pair = Connected();
  Node(kStanding).SetExpanded(true);
  logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.9"), 1000);
  Node(QStringLiteral("KEY1")).SetExpanded(true);
  logging.LoadAllEvents(QStringLiteral("KEY1"));
  Select(QStringLiteral("KEY1"));
  logging.RefreshAllDetails(QStringLiteral("Socket"));
  for (int i = 3; i <= 10; ++i)
    logging.ServerBytesReceived(pair, Bytes(i), false);
  fakes.mPurge.mMaximumEventCount = QStringLiteral("7");
  Take();
  logging.KillDeadSocketConnections();
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("RequestRedraw"), QStringLiteral("RequestRedraw"),
                                 QStringLiteral("RequestRedraw")}));
  const TreeNode& node = Node(QStringLiteral("KEY1"));
  ASSERT_EQ(node.ChildCount(), 7);
  for (int i = 1; i <= 7; ++i) {
    EXPECT_EQ(node.Child(i - 1).Key(), QStringLiteral("KEY1-%1").arg(i));
    EXPECT_EQ(node.Child(i - 1).Tag(), QStringLiteral("KEY1-%1").arg(i));
    EXPECT_EQ(node.Child(i - 1).Text(), Event(i).mstrDescription);
  }
  // The rows are left as they are.
  EXPECT_EQ(Grid().Count(), 10);
  // The next event's node has its position, its row the number of all that ever were.
  logging.ServerBytesReceived(pair, Bytes(1), false);
  EXPECT_EQ(Node(QStringLiteral("KEY1-8")).Text(), Event(8).mstrDescription);
  EXPECT_TRUE(Grid().Contains(QStringLiteral("KEY1-11")));
  logging.KillDeadSocketConnections();
  EXPECT_EQ(node.Child(6).Key(), QStringLiteral("KEY1-7"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(PurgingTest, Without_a_node_no_redraw_is_requested) {
  WithEvents(10);
  fakes.mPurge.mMaximumEventCount = QStringLiteral("7");
  logging.KillDeadSocketConnections();
  EXPECT_TRUE(Take().isEmpty());
}

TEST_F(PurgingTest, The_diagram_is_told_once_a_run_and_only_of_the_connection_that_it_follows) {
  OpenPort();
  Connected();
  SocketPair& other = Connected(QStringLiteral("KEY2"));
  Tree().Add(ProtocolNodeKey(1000), QStringLiteral("KEY1"), QStringLiteral("A"), QStringLiteral("Socket"));
  Tree().Add(ProtocolNodeKey(1000), QStringLiteral("KEY2"), QStringLiteral("B"), QStringLiteral("Socket"));
  Select(QStringLiteral("KEY2"));
  const QStringList told{QStringLiteral("ConnectionDiagramPurged KEY2")};
  const auto purgeTo = [this](int limit) {
    fakes.mPurge.mMaximumEventCount = QString::number(limit);
    Take();
    logging.KillDeadSocketConnections();
    return Take().filter(QStringLiteral("Purged"));
  };
  for (int i = 0; i < 8; ++i)
    logging.ServerBytesReceived(other, Bytes(1), false);
  EXPECT_EQ(purgeTo(9), QStringList()) << "the diagram is not chosen";
  world.mGeneral.gblnConnectionDiagramSelected = true;
  EXPECT_EQ(purgeTo(5), told);
  EXPECT_EQ(purgeTo(5), QStringList()) << "nothing has gone";
  EXPECT_EQ(purgeTo(1), told) << "also KEY1 has lost one";
}

TEST_F(PurgingTest, A_limit_of_0_events_fails_after_they_have_gone) {
  WithEvents(3);
  fakes.mPurge.mMaximumEventCount = QStringLiteral("0");
  Purge();
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 0);
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to kill the dead socket connections.  "
                                 "The operating system reports: 9, Subscript out of range")});
}

TEST_F(PurgingTest, A_limit_that_is_lowered_counts_for_connections_that_are_quiet) {
  WithEvents(10);
  Purge();
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 10);
  fakes.mPurge.mMaximumEventCount = QStringLiteral("4");
  Purge();
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 4);
}

TEST_F(PurgingTest, A_text_that_is_no_number_lets_events_alone_and_the_next_number_counts) {
  WithEvents(10);
  fakes.mPurge.mMaximumEventCount = QStringLiteral("many");
  Purge();
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 10);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  fakes.mPurge.mMaximumEventCount = QStringLiteral("6");
  Purge();
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 6);
}

// What stops a run.

TEST_F(PurgingTest, Limits_beyond_all_numbers_are_none) {
  MakeConnections(3);
  for (const char* text : {"1e19", "99999999999999999999", "1e999"}) {
    fakes.mPurge.mNumberToKeep = fakes.mPurge.mMaxMemorySize = fakes.mPurge.mMaximumEventCount =
        QLatin1String(text);
    Purge();
  }
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 3);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(PurgingTest, A_negative_limit_of_events_fails_at_every_run) {
  WithEvents(3);
  fakes.mPurge.mMaximumEventCount = QStringLiteral("-5");
  Purge();
  Purge();
  EXPECT_EQ(world.mErrors.mTexts.size(), 2);
}

TEST_F(PurgingTest, A_purge_that_failed_takes_up_where_it_was) {
  fakes.mPurge.mMaximumEventCount = QStringLiteral("4");
  WithEvents(10);
  OpenPort();
  Tree().Add(ProtocolNodeKey(1000), QStringLiteral("KEY1"), QStringLiteral("Alive"),
             QStringLiteral("Socket"));
  world.mMain.OnRequestRedraw = [] { throw Failure(FailureNumber::kOverflow); };
  Purge();
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 10);
  world.mMain.OnRequestRedraw = nullptr;
  Purge();
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 4);
}

TEST_F(PurgingTest, A_limit_below_all_numbers_is_negative) {
  MakeConnections(3);
  fakes.mPurge.mNumberToKeep = QStringLiteral("0");
  fakes.mPurge.mMaxMemorySize = QStringLiteral(" -1e999");
  Purge();
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 3) << "it stops the purge";
  fakes.mPurge.mNumberToKeep = QStringLiteral("-1e999");
  fakes.mPurge.mMaxMemorySize = QStringLiteral("0");
  Purge();
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 3);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  fakes.mPurge.mNumberToKeep = QStringLiteral("100");
  fakes.mPurge.mMaximumEventCount = QStringLiteral("-1e999");
  Purge();
  EXPECT_EQ(world.mErrors.mTexts.size(), 1) << "no event is left, and it fails";
}

TEST_F(PurgingTest, Texts_that_are_no_limits_stop_the_purge_without_a_word) {
  MakeConnections(3);
  for (const auto& [number, memory] : {std::pair{"", "0"}, std::pair{"0", ""}, std::pair{"-1", "0"},
                                       std::pair{"0", "-1"}, std::pair{"x", "0"}, std::pair{"0", "x"}}) {
    fakes.mPurge.mNumberToKeep = QLatin1String(number);
    fakes.mPurge.mMaxMemorySize = QLatin1String(memory);
    Purge();
  }
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 3);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(PurgingTest, Switched_off_nothing_is_purged_not_even_ports) {
  MakeConnections(3);
  world.AddPort(1500, kEphemeralProtocol, kEphemeralProtocol);
  fakes.mPurge.mNumberToKeep = QStringLiteral("0");
  fakes.mPurge.mDiscard = false;
  Purge();
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 3);
  EXPECT_NE(world.Get(kPortsInUse, QStringLiteral("1500")), QStringLiteral("(none)"));
}

// One history.

TEST_F(PurgingTest, A_killed_history_goes_with_pair_node_and_row) {
  OpenPort();
  Connected();
  Node(kStanding).SetExpanded(true);
  logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.9"), 1000);
  ASSERT_TRUE(Grid().Contains(QStringLiteral("KEY1")));
  logging.KillSocketHistory(1);
  EXPECT_FALSE(Tree().Contains(QStringLiteral("KEY1")));
  EXPECT_FALSE(Grid().Contains(QStringLiteral("KEY1")));
  EXPECT_EQ(world.mGeneral.gobjListening->mobjSocketPairs.Count(), 0);
  EXPECT_TRUE(logging.mobjSocketPairHistory.IsEmpty());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(PurgingTest, A_history_whose_pair_is_missing_is_reported_once) {
  MakeConnections(2);
  world.mGeneral.gobjListening->mobjSocketPairs.Remove(QStringLiteral("KEY1"));
  fakes.mPurge.mNumberToKeep = QStringLiteral("0");
  Purge();
  Purge();
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to kill the socket history.  The "
                                       "operating system reports: 5, Invalid procedure call or argument")});
  EXPECT_EQ(Keys(), QStringList{QStringLiteral("KEY1")});
}

// Ports that the program opened for the moment.

struct EphemeralPortsTest : PurgingTest {
  EphemeralPortsTest() {
    AddDataPort();
    world.AddNode(1500, kEphemeralProtocol + QStringLiteral(" (1500)"));
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
  }
  void AddDataPort() {
    world.AddPort(1500, kEphemeralProtocol, kEphemeralProtocol);
    world.SetDestination(1500, QStringLiteral("10.0.0.5"), 2000);
  }
  bool Stays() { return world.Get(kPortsInUse, QStringLiteral("1500")) != u"(none)"; }
  /// A connection that came through the port.
  SocketPair& Through(const QString& key) {
    SocketPair& pair = MakePair(key);
    logging.LocalServerAcceptedConnection(pair, true, 1500);
    return pair;
  }
};

TEST_F(EphemeralPortsTest, A_port_that_listens_stays) {
  Socket* socket = nullptr;
  qint32 number = 0;
  QString text;
  world.mGeneral.gobjListening->StartListeningOnSocket(socket, 1500, number, text);
  Purge();
  EXPECT_TRUE(Stays());
}

TEST_F(EphemeralPortsTest, A_port_through_which_nobody_came_goes_from_tree_and_store) {
  Purge();
  EXPECT_FALSE(Stays());
  EXPECT_FALSE(Tree().Contains(ProtocolNodeKey(1500)));
  EXPECT_EQ(world.Get(kProtocols, QStringLiteral("1500")), QStringLiteral("(none)"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  EXPECT_NE(world.Get(kPortsInUse, QStringLiteral("1000")), QStringLiteral("(none)"));
}

TEST_F(EphemeralPortsTest, A_live_connection_keeps_its_port) {
  Through(QStringLiteral("KEY1"));
  Purge();
  EXPECT_TRUE(Stays());
}

TEST_F(EphemeralPortsTest, A_dead_connection_takes_its_port_with_it_when_the_user_wants_that) {
  logging.Dead(Through(QStringLiteral("KEY1")));
  fakes.mPurge.mRemoveEphemeral = false;
  Purge();
  EXPECT_TRUE(Stays());
  EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 1);
  fakes.mPurge.mRemoveEphemeral = true;
  Purge();
  EXPECT_FALSE(Stays());
  EXPECT_TRUE(logging.mobjSocketPairHistory.IsEmpty());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(EphemeralPortsTest, The_first_connection_decides_also_when_a_later_one_lives) {
  logging.Dead(Through(QStringLiteral("KEY1")));
  Through(QStringLiteral("KEY2"));
  Purge();
  EXPECT_FALSE(Stays());
  EXPECT_EQ(Keys(), QStringList{QStringLiteral("KEY2")});
}

TEST_F(EphemeralPortsTest, A_row_that_cannot_be_deleted_is_reported_once) {
  world.mStore.DeleteSetting(kApplicationName, kProtocols, QStringLiteral("1500"));
  Purge();
  Purge();
  EXPECT_EQ(world.mErrors.mTexts.size(), 1);
}

TEST_F(EphemeralPortsTest, A_port_of_the_users_own_in_similar_words_stays) {
  world.AddPort(1600, QStringLiteral("Pass Through"), QStringLiteral("dynamically allocated by me"));
  world.SetDestination(1600, QStringLiteral("10.0.0.5"), 2000);
  Purge();
  EXPECT_NE(world.Get(kPortsInUse, QStringLiteral("1600")), QStringLiteral("(none)"));
  EXPECT_FALSE(Stays());
}

TEST_F(EphemeralPortsTest, A_row_that_could_not_be_deleted_goes_as_soon_as_it_can) {
  logging.Dead(Through(QStringLiteral("KEY1")));
  world.mStore.mDeletesBeforeFailure = 0;
  Purge();
  Purge();
  EXPECT_TRUE(Stays());
  EXPECT_TRUE(logging.mobjSocketPairHistory.IsEmpty()) << "the connection goes all the same";
  EXPECT_EQ(world.mErrors.mTexts.size(), 1);
  world.mStore.mDeletesBeforeFailure = -1;
  Purge();
  EXPECT_FALSE(Stays());
  EXPECT_EQ(world.mErrors.mTexts.size(), 1);
}

TEST_F(EphemeralPortsTest, A_row_of_no_use_is_reported_once_and_keeps_none_behind_it) {
  world.mStore.mRows.clear();
  for (const char* port : {"abc", "40000"})
    world.Save(kPortsInUse, QLatin1String(port), kEphemeralProtocol);
  world.AddNode(40000, kEphemeralProtocol);
  AddDataPort();
  Purge();
  EXPECT_FALSE(Stays());
  Purge();
  const QString text = QStringLiteral(
      "An error occurred while attempting to remove the empty Ephemeral ports.  The operating system "
      "reports: ");
  EXPECT_EQ(world.mErrors.mTexts,
            (QStringList{text + QStringLiteral("13, Type mismatch"), text + QStringLiteral("6, Overflow")}));
  EXPECT_TRUE(Tree().Contains(ProtocolNodeKey(40000))) << "what stays in the table stays in view";
}

TEST_F(EphemeralPortsTest, A_port_that_was_stuck_and_then_served_again_goes_when_it_is_done) {
  world.mStore.mDeletesBeforeFailure = 0;
  Purge();
  world.mStore.mDeletesBeforeFailure = -1;
  Socket* socket = nullptr;
  qint32 number = 0;
  QString text;
  world.mGeneral.gobjListening->StartListeningOnSocket(socket, 1500, number, text);
  Purge();
  EXPECT_TRUE(Stays());
  // Done, and stuck once more: that is news.
  socket->Close();
  world.mStore.mDeletesBeforeFailure = 0;
  Purge();
  EXPECT_EQ(world.mErrors.mTexts.size(), 2);
  world.mStore.mDeletesBeforeFailure = -1;
  Purge();
  EXPECT_FALSE(Stays());
}

TEST_F(EphemeralPortsTest, A_store_that_cannot_be_read_is_reported) {
  world.mStore.mFailReads = true;
  Purge();
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to remove the empty Ephemeral ports.  "
                                 "The operating system reports: 1001, store cannot be read")});
}

// The user's broom.

TEST_F(PurgingTest, Clearing_kills_all_that_is_dead_and_goes_to_the_root) {
  OpenPort();
  MakeConnections(5, {2, 4});
  world.mMain.txtRealTime.SetText(QStringLiteral("old"));
  Select(ProtocolNodeKey(1000));
  Take();
  logging.ClearAllData();
  EXPECT_EQ(Keys(), (QStringList{QStringLiteral("KEY2"), QStringLiteral("KEY4")}));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("NodeClick ROOT")});
  EXPECT_EQ(world.mMain.txtRealTime.Text(), QString());
}

TEST_F(PurgingTest, Clearing_only_live_connections_changes_nothing_but_selection_and_pane) {
  OpenPort();
  SocketPair& pair = Connected();
  Node(kStanding).SetExpanded(true);
  Connected(QStringLiteral("KEY2"));
  logging.ServerBytesReceived(pair, Bytes(5), false);
  world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
  world.mMain.txtRealTime.SetText(QStringLiteral("old"));
  Select(kStanding);
  const auto everything = [this] {
    QStringList state = Keys();
    for (TreeNode* node = Tree().First(); node; node = TreeView::Next(*node))
      state.append(node->Key() + u' ' + node->Text() + (node->Expanded() ? u'+' : u'-'));
    for (qsizetype i = 1; i <= Grid().Count(); ++i) {
      state.append(Grid().Item(i).Key());
      for (int column = 0; column <= 8; ++column)
        state.append(Grid().Item(i).ColumnText(column));
    }
    for (qsizetype i = 1; i <= world.mGeneral.gobjListening->mobjSocketPairs.Count(); ++i)
      state.append(world.mGeneral.gobjListening->mobjSocketPairs.KeyAt(i));
    for (const auto& [port, description] : world.mGeneral.mSettings.All(kPortsInUse))
      state.append(port + description);
    return state;
  };
  const QStringList before = everything();
  logging.ClearAllData();
  EXPECT_EQ(everything(), before);
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 3);
  EXPECT_EQ(logging.mlngTotalMemoryAllocated, 5);
  EXPECT_EQ(logging.mlngTotalEvents, 5);
  EXPECT_EQ(Tree().SelectedItem(), &Node(QStringLiteral("ROOT")));
  EXPECT_EQ(world.mMain.txtRealTime.Text(), QString());
}

TEST_F(EphemeralPortsTest, Clearing_removes_empty_data_ports_too_whatever_the_options_say) {
  fakes.mPurge.mDiscard = false;
  logging.ClearAllData();
  EXPECT_FALSE(Stays());
  EXPECT_FALSE(Tree().Contains(ProtocolNodeKey(1500)));
}

TEST_F(PurgingTest, Clearing_reports_what_it_cannot_do) {
  Tree().Clear();
  logging.ClearAllData();
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to clear all of the data.  The "
                                       "operating system reports: 5, Invalid procedure call or argument")});
}

TEST_F(PurgingTest, Without_a_listening_object_a_purge_is_a_reported_failure) {
  MakeConnections(1);
  world.mGeneral.gobjListening.reset();
  fakes.mPurge.mNumberToKeep = QStringLiteral("0");
  Purge();
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].endsWith(QStringLiteral("91, Object not set")));
}

}  // namespace
}  // namespace veltrane
