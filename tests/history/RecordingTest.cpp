#include "forms/ListView.h"
#include "tests/history/HistoryTest.h"

namespace veltrane {
namespace {

using RecordingTest = LoggingTest;

const QString kMessage = QStringLiteral("  The operating system reports: ");

/// A call, and the event that it files.
struct Row {
  const char* name;
  void (*call)(Logging& logging, SocketPair& pair);
  int kind;
  const char* description;
  const char* data;
  bool followOn;
  int byteColumn;  // 0 for none
  const char* errorString = "";
  int errorNumber = 0;
};

const Row kRows[] = {
    {"ConnectionAttemptToRemoteServer",
     [](Logging& log, SocketPair& pair) {
       log.ConnectionAttemptToRemoteServer(pair, QStringLiteral("server"), 80, true);
     },
     2, "A connection request has been made to server:80.", "", true, 0},
    {"ConnectionAttemptFailed",
     [](Logging& log, SocketPair& pair) {
       log.ConnectionAttemptFailed(pair, true, QStringLiteral("no such host"), 11001);
     },
     3, "The connection request failed - no such host", "", true, 0, "no such host", 11001},
    {"ConnectionAttemptSuccessful",
     [](Logging& log, SocketPair& pair) {
       log.ConnectionAttemptSuccessful(pair, false, QStringLiteral("to be dangled"));
     },
     4, "The connection request to the remote server has been successful. to be dangled", "", false, 0},
    {"RemoteServerDisconnected",
     [](Logging& log, SocketPair& pair) { log.RemoteServerDisconnected(pair, true, QStringLiteral("why")); },
     5, "The remote server has disconnected. why", "", true, 0},
    {"LocalServerDisconnected",
     [](Logging& log, SocketPair& pair) { log.LocalServerDisconnected(pair, false); }, 6,
     "VLT has disconnected from the remote client.", "", false, 0},
    {"RemoteClientDisconnected",
     [](Logging& log, SocketPair& pair) { log.RemoteClientDisconnected(pair, true); }, 7,
     "The remote client has disconnected.", "", true, 0},
    {"LocalClientDisconnected",
     [](Logging& log, SocketPair& pair) { log.LocalClientDisconnected(pair, true); }, 8,
     "VLT has disconnected from the remote server.", "", true, 0},
    {"ClientBytesReceived",
     [](Logging& log, SocketPair& pair) { log.ClientBytesReceived(pair, QByteArray("abc"), true); }, 9,
     "3 bytes of data has been received from the remote server.", "abc", true, 0},
    {"ClientBytesBuffered",
     [](Logging& log, SocketPair& pair) { log.ClientBytesBuffered(pair, QByteArray("abc"), true, false); },
     10, "3 bytes of data has been buffered. (Previous action still in progress)", "abc", true, 7},
    {"ClientBytesBuffered, dangling",
     [](Logging& log, SocketPair& pair) { log.ClientBytesBuffered(pair, QByteArray("abc"), false, true); },
     11, "3 bytes of data has been buffered. (Remote server is being dangled)", "abc", false, 7},
    {"ServerBytesBuffered",
     [](Logging& log, SocketPair& pair) { log.ServerBytesBuffered(pair, QByteArray("abc"), true, false); },
     12, "3 bytes of data has been buffered. (Previous send to remote client is still in progress)", "abc",
     true, 7},
    {"ServerBytesBuffered, dangling",
     [](Logging& log, SocketPair& pair) { log.ServerBytesBuffered(pair, QByteArray("abc"), true, true); }, 13,
     "3 bytes of data has been buffered. (The remote client is being dangled)", "abc", true, 7},
    {"ServerBytesSendStart",
     [](Logging& log, SocketPair& pair) { log.ServerBytesSendStart(pair, QByteArray("abc"), true, false); },
     14, "3 bytes of data has been sent to the remote client.", "abc", true, 7},
    {"ServerBytesSendStart, throttled",
     [](Logging& log, SocketPair& pair) { log.ServerBytesSendStart(pair, QByteArray("abc"), true, true); },
     15, "3 bytes of throttled data has been sent to the remote client.", "abc", true, 7},
    {"ServerBytesReceived",
     [](Logging& log, SocketPair& pair) { log.ServerBytesReceived(pair, QByteArray("abc"), false); }, 16,
     "3 bytes of data has been received from the remote client.", "abc", false, 6},
    {"ClientBytesSendStart",
     [](Logging& log, SocketPair& pair) { log.ClientBytesSendStart(pair, QByteArray("abc"), true, false); },
     17, "3 bytes of data has been sent to the remote server.", "abc", true, 0},
    {"ClientBytesSendStart, throttled",
     [](Logging& log, SocketPair& pair) { log.ClientBytesSendStart(pair, QByteArray("abc"), false, true); },
     18, "3 bytes of throttled data has been sent to the remote server.", "abc", false, 0},
    {"ServerInBadState",
     [](Logging& log, SocketPair& pair) { log.ServerInBadState(pair, 10054, QStringLiteral("reset"), true); },
     19, "The local server socket is in a error state: 10054, reset", "", true, 0},
    {"ClientInBadState",
     [](Logging& log, SocketPair& pair) { log.ClientInBadState(pair, -1, QStringLiteral("closed"), false); },
     20, "The local client socket is in a error state: -1, closed", "", false, 0},
    {"DanglingStatusChanged, server side on",
     [](Logging& log, SocketPair& pair) { log.DanglingStatusChanged(pair, true, 0, 1500); }, 21,
     "Remote server side dangling has started. No more data will be sent to the remote server for 1500 "
     "mSecs.",
     "", false, 0},
    {"DanglingStatusChanged, client side on",
     [](Logging& log, SocketPair& pair) { log.DanglingStatusChanged(pair, true, 1, 1500); }, 22,
     "Remote client side dangling has started. No more data will be sent to the remote client for 1500 "
     "mSecs.",
     "", false, 0},
    {"DanglingStatusChanged, server side off",
     [](Logging& log, SocketPair& pair) { log.DanglingStatusChanged(pair, false, 0, 1500); }, 23,
     "Remote server side dangling has stopped.", "", false, 0},
    {"DanglingStatusChanged, client side off",
     [](Logging& log, SocketPair& pair) { log.DanglingStatusChanged(pair, false, 1, 1500); }, 24,
     "Remote client side dangling has stopped.", "", false, 0},
};

TEST_F(RecordingTest, Every_happening_files_its_event_and_touches_its_columns) {
  int number = 0;
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    const QString key = QStringLiteral("KEY%1").arg(++number);
    SocketPair& pair = Connected(key);
    ListItem& item = Grid().Item(key);
    for (int column = 1; column <= 8; ++column)
      item.SetSubItem(column, QStringLiteral("old"));
    world.mClock.mNow.millisecond = number;
    row.call(logging, pair);
    const EventList& events = History(key).mobjSocketPairEvents;
    ASSERT_EQ(events.Count(), 3);
    const SocketEvent& event = *events.Item(3);
    EXPECT_EQ(event.mobjEventType, row.kind);
    EXPECT_EQ(event.mstrDescription, QLatin1String(row.description));
    EXPECT_EQ(event.mstrData.Bytes(), QByteArray(row.data));
    EXPECT_EQ(event.mblnNextEventFollowOn, row.followOn);
    EXPECT_EQ(event.mstrErrorString, QLatin1String(row.errorString));
    EXPECT_EQ(event.mlngErrorNumber, row.errorNumber);
    EXPECT_EQ(event.mstrEventTime, QString::asprintf("07:05:03.%03d", number));
    EXPECT_TRUE(event.mstrEventEndTime.isEmpty());
    QStringList touched;
    for (int column = 1; column <= 8; ++column) {
      if (item.SubItem(column) != u"old") touched.append(QString::number(column));
    }
    QStringList expected{QStringLiteral("4"), QStringLiteral("5"), QStringLiteral("8")};
    if (row.byteColumn > 0) expected.insert(2, QString::number(row.byteColumn));
    // The end of an attempt tells who the server is.
    if (row.kind == 3 || row.kind == 4) expected.prepend(QStringLiteral("1"));
    EXPECT_EQ(touched, expected);
    EXPECT_EQ(item.SubItem(4), event.mstrEventTime);
    EXPECT_EQ(item.SubItem(5), event.mstrDescription);
    EXPECT_EQ(item.SubItem(8), QStringLiteral("3"));
    const SocketPairHistory& history = History(key);
    if (row.byteColumn > 0) {
      EXPECT_EQ(item.SubItem(row.byteColumn),
                QString::number(row.byteColumn == 6 ? history.mlngBytesC2S : history.mlngBytesS2C));
    }
  }
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(RecordingTest, With_the_recording_switch_off_nothing_is_recorded) {
  world.mGeneral.gblnRecordEvents = false;
  SocketPair& pair = MakePair();
  logging.LocalServerAcceptedConnection(pair, true, 1000);
  logging.LocalServerRejectedConnection(pair, true, 1000);
  for (const Row& row : kRows)
    row.call(logging, pair);
  logging.ServerBytesSendStop(pair);
  logging.ClientBytesSendStop(pair);
  logging.GotProtocol(pair, QStringLiteral("x"));
  logging.GotNameOfRemoteClient(pair, QStringLiteral("x"));
  logging.GotNameOfRemoteServer(pair, QStringLiteral("x"));
  EXPECT_TRUE(logging.mobjSocketPairHistory.IsEmpty());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  EXPECT_TRUE(Take().isEmpty());
}

TEST_F(RecordingTest, An_accepted_connection_begins_a_history) {
  SocketPair& pair = MakePair();
  logging.LocalServerAcceptedConnection(pair, true, 1001);
  const SocketPairHistory& history = History();
  EXPECT_EQ(history.mstrRemoteClientIP, QStringLiteral("10.0.0.1"));
  EXPECT_EQ(history.mlngRemoteClientPort, 4000);
  EXPECT_EQ(history.mlngLocalServerPort, 1000);
  EXPECT_EQ(history.mlngWasListeningOnPort, 1001);
  EXPECT_EQ(history.mstrSocketPairKey, QStringLiteral("KEY1"));
  EXPECT_FALSE(history.mblnDead);
  EXPECT_EQ(LastEvent().mobjEventType, etLocalServerAcceptedConnection);
  EXPECT_EQ(LastEvent().mstrDescription, QStringLiteral("Remote connection request accepted"));
  EXPECT_TRUE(LastEvent().mblnNextEventFollowOn);
}

TEST_F(RecordingTest, A_rejected_connection_has_an_unknown_client) {
  SocketPair& pair = MakePair();
  logging.LocalServerRejectedConnection(pair, false, 1001);
  const SocketPairHistory& history = History();
  EXPECT_EQ(history.mstrRemoteClientIP, QStringLiteral("<Unknown>"));
  EXPECT_EQ(history.mlngRemoteClientPort, -1);
  EXPECT_EQ(history.mlngLocalServerPort, 1001);
  EXPECT_EQ(history.mlngWasListeningOnPort, 1001);
  EXPECT_EQ(LastEvent().mobjEventType, etLocalServerRejectedConnection);
  EXPECT_EQ(LastEvent().mstrDescription,
            QStringLiteral("Remote connection request was scheduled for rejection"));
}

TEST_F(RecordingTest, Times_print_three_zeros_and_leading_zeros) {
  world.mClock.mNow = {2026, 3, 9, 7, 5, 3, 0};
  Accepted();
  EXPECT_EQ(LastEvent().mstrEventTime, QStringLiteral("07:05:03.000"));
}

TEST_F(RecordingTest, A_failed_attempt_leaves_its_error_on_the_history) {
  SocketPair& pair = Accepted();
  logging.ConnectionAttemptFailed(pair, false, QStringLiteral("gone"), 11001);
  EXPECT_EQ(History().mstrRemoteServerIP, QStringLiteral("<Error>"));
  EXPECT_EQ(History().mstrErrorString, QStringLiteral("gone"));
  EXPECT_EQ(History().mlngErrorNumber, 11001);
}

TEST_F(RecordingTest, A_bad_state_leaves_its_error_on_the_history_and_not_on_the_event) {
  SocketPair& pair = Connected();
  logging.ServerInBadState(pair, 10054, QStringLiteral("reset"), false);
  EXPECT_EQ(History().mlngErrorNumber, 10054);
  EXPECT_EQ(History().mstrErrorString, QStringLiteral("reset"));
  EXPECT_EQ(LastEvent().mlngErrorNumber, 0);
  EXPECT_TRUE(LastEvent().mstrErrorString.isEmpty());
}

TEST_F(RecordingTest, A_connection_that_stands_tells_its_server) {
  Connected();
  EXPECT_EQ(History().mstrRemoteServerIP, QStringLiteral("10.0.0.9"));
  EXPECT_EQ(History().mlngRemoteServerPort, 80);
  EXPECT_EQ(History().mlngLocalClientPort, 5000);
  EXPECT_TRUE(History().mstrRemoteServerName.isEmpty()) << "an address is no name";
}

TEST_F(RecordingTest, A_server_that_was_asked_for_by_name_has_it) {
  SocketPair& pair = Accepted();
  client->mRemoteHost = QStringLiteral("server.example");
  logging.ConnectionAttemptSuccessful(pair, false, QString());
  EXPECT_EQ(History().mstrRemoteServerName, QStringLiteral("server.example"));
}

TEST_F(RecordingTest, The_clients_name_is_taken_with_the_attempt_unless_it_is_an_address_or_empty) {
  SocketPair& pair = Accepted();
  logging.ConnectionAttemptToRemoteServer(pair, QStringLiteral("s"), 80, false);
  EXPECT_TRUE(History().mstrRemoteClientName.isEmpty());
  server->mRemoteHost = QStringLiteral("1.2.3.4");
  logging.ConnectionAttemptToRemoteServer(pair, QStringLiteral("s"), 80, false);
  EXPECT_TRUE(History().mstrRemoteClientName.isEmpty());
  server->mRemoteHost = QStringLiteral("client.example");
  logging.ConnectionAttemptToRemoteServer(pair, QStringLiteral("s"), 80, false);
  EXPECT_EQ(History().mstrRemoteClientName, QStringLiteral("client.example"));
}

TEST_F(RecordingTest, Sums_count_bytes_of_data_and_events) {
  SocketPair& pair = Connected();
  logging.ServerBytesReceived(pair, Bytes(100), true);
  logging.ClientBytesSendStart(pair, Bytes(100), false, false);
  EXPECT_EQ(logging.mlngTotalMemoryAllocated, 200);
  EXPECT_EQ(logging.mlngTotalEvents, 4);
  EXPECT_EQ(History().mlngMemoryAllocated, 200);
}

TEST_F(RecordingTest, The_event_shares_the_memory_of_the_chunk) {
  SocketPair& pair = Connected();
  const Payload chunk = Bytes(1000);
  logging.ServerBytesReceived(pair, chunk, true);
  logging.ClientBytesSendStart(pair, chunk, true, false);
  EXPECT_EQ(Event(3).mstrData.Data(), chunk.Data());
  EXPECT_EQ(Event(4).mstrData.Data(), chunk.Data());
}

// Ends of sends.

TEST_F(RecordingTest, A_stop_ends_the_latest_unthrottled_send_again_and_again) {
  SocketPair& pair = Connected();
  logging.ServerBytesSendStart(pair, Bytes(1), false, false);
  logging.ClientBytesSendStart(pair, Bytes(1), false, false);
  logging.ServerBytesSendStart(pair, Bytes(1), false, true);
  world.mClock.mNow.millisecond = 100;
  logging.ServerBytesSendStop(pair);
  EXPECT_EQ(Event(3).mstrEventEndTime, QStringLiteral("07:05:03.100")) << "behind a throttled one, too";
  EXPECT_TRUE(Event(4).mstrEventEndTime.isEmpty());
  EXPECT_TRUE(Event(5).mstrEventEndTime.isEmpty());
  world.mClock.mNow.millisecond = 200;
  logging.ServerBytesSendStop(pair);
  EXPECT_EQ(Event(3).mstrEventEndTime, QStringLiteral("07:05:03.200"));
  logging.ClientBytesSendStop(pair);
  EXPECT_EQ(Event(4).mstrEventEndTime, QStringLiteral("07:05:03.200"));
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 5);
}

TEST_F(RecordingTest, A_stop_without_an_unthrottled_send_does_nothing) {
  SocketPair& pair = Connected();
  logging.ClientBytesSendStart(pair, Bytes(1), false, true);
  logging.ClientBytesSendStop(pair);
  logging.ServerBytesSendStop(pair);
  EXPECT_TRUE(LastEvent().mstrEventEndTime.isEmpty());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(RecordingTest, A_stop_closes_the_latest_send_finished_or_not) {
  SocketPair& pair = Connected();
  logging.ClientBytesSendStart(pair, Bytes(1), false, false);
  logging.ClientBytesSendStart(pair, Bytes(1), false, false);
  logging.ClientBytesSendStop(pair);
  EXPECT_TRUE(Event(3).mstrEventEndTime.isEmpty());
  EXPECT_FALSE(Event(4).mstrEventEndTime.isEmpty());
}

// The tail that all events run through.

TEST_F(RecordingTest, The_tail_takes_its_steps_in_order) {
  SocketPair& pair = Connected();
  OpenPort();
  Tree()
      .Add(ProtocolNodeKey(1000), QStringLiteral("KEY1"), QStringLiteral("Alive"), QStringLiteral("Socket"))
      .SetExpanded(true);
  Select(QStringLiteral("KEY1"));
  world.mGeneral.gblnConnectionDiagramSelected = true;
  fakes.mRealTimeData.Set({RealTimeSwitch::kShowRealTimeData, RealTimeSwitch::kVLTToServer});
  fakes.mLogFile.mEnabled = true;
  fakes.mPurge.mMaximumEventCount = QStringLiteral("20");
  QObject::connect(&Tree(), &TreeView::Changed, &Tree(),
                   [this] { world.mJournal.Note(QStringLiteral("tree")); });
  QObject::connect(&Grid(), &ListView::Changed, &Grid(),
                   [this] { world.mJournal.Note(QStringLiteral("grid")); });
  Tree().TakeChanges();
  Grid().TakeChanges();
  // The 21st event.
  for (int i = 3; i <= 20; ++i)
    logging.LocalServerDisconnected(pair, false);
  Tree().TakeChanges();
  Grid().TakeChanges();
  Take();
  logging.ClientBytesSendStart(pair, Bytes(1), false, false);
  EXPECT_EQ(Take(),
            (QStringList{QStringLiteral("tree"), QStringLiteral("tmrRealTimeData_Timer"),
                         QStringLiteral("AddConnectionDiagramEvent KEY1"), QStringLiteral("RequestRedraw"),
                         QStringLiteral("ConnectionDiagramPurged KEY1"),
                         QStringLiteral("SaveEventToLogFile 17"), QStringLiteral("DataSent True")}));
  // With the grid in the place of the diagram its row comes with the node.
  world.mGeneral.gblnConnectionDiagramSelected = false;
  Tree().TakeChanges();
  Grid().TakeChanges();
  Take();
  logging.ClientBytesSendStart(pair, Bytes(1), false, false);
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("tree"), QStringLiteral("grid"),
                                 QStringLiteral("tmrRealTimeData_Timer"),
                                 QStringLiteral("SaveEventToLogFile 17"), QStringLiteral("DataSent True")}));
}

TEST_F(RecordingTest, The_tray_hears_of_sends_only) {
  SocketPair& pair = Connected();
  for (const Row& row : kRows) {
    Take();
    row.call(logging, pair);
    const QString expected = row.kind == 14 || row.kind == 15   ? QStringLiteral("DataSent False")
                             : row.kind == 17 || row.kind == 18 ? QStringLiteral("DataSent True")
                                                                : QString();
    EXPECT_EQ(Take().filter(QStringLiteral("DataSent")).join(u' '), expected) << row.name;
  }
}

TEST_F(RecordingTest, The_diagram_gets_the_events_of_the_connection_in_view) {
  OpenPort();
  SocketPair& pair = Connected();
  SocketPair& other = Connected(QStringLiteral("KEY2"));
  Tree().Add(ProtocolNodeKey(1000), QStringLiteral("KEY1"), QStringLiteral("Alive"),
             QStringLiteral("Socket"));
  Select(QStringLiteral("KEY1"));
  logging.LocalServerDisconnected(pair, false);
  EXPECT_TRUE(Take().isEmpty()) << "the view of the diagram is off";
  world.mGeneral.gblnConnectionDiagramSelected = true;
  logging.LocalServerDisconnected(other, false);
  EXPECT_TRUE(Take().isEmpty());
  logging.LocalServerDisconnected(pair, false);
  EXPECT_EQ(Take(), QStringList{QStringLiteral("AddConnectionDiagramEvent KEY1")});
}

TEST_F(RecordingTest, The_diagram_sees_what_an_event_changes_before_it_is_filed_and_not_what_comes_after) {
  OpenPort();
  SocketPair& pair = Accepted();
  Tree().Add(ProtocolNodeKey(1000), QStringLiteral("KEY1"), QStringLiteral("Alive"),
             QStringLiteral("Socket"));
  Select(QStringLiteral("KEY1"));
  world.mGeneral.gblnConnectionDiagramSelected = true;
  client->mRemoteHostIP = QStringLiteral("10.0.0.9");
  logging.ConnectionAttemptSuccessful(pair, false, QString());
  EXPECT_EQ(world.mMain.mDiagramServer, QStringLiteral("10.0.0.9"));
  logging.ServerInBadState(pair, 10054, QStringLiteral("reset"), false);
  EXPECT_EQ(world.mMain.mDiagramError, 10054);
  logging.ConnectionAttemptFailed(pair, false, QStringLiteral("gone"), 11001);
  EXPECT_EQ(world.mMain.mDiagramServer, QStringLiteral("<Error>"));
  EXPECT_EQ(world.mMain.mDiagramError, 10054) << "its number comes after filing";
  EXPECT_EQ(History().mlngErrorNumber, 11001);
}

TEST_F(RecordingTest, The_21st_event_purges_and_the_count_begins_again) {
  fakes.mPurge.mMaximumEventCount = QStringLiteral("5");
  SocketPair& pair = Accepted();
  for (int i = 2; i <= 20; ++i)
    logging.LocalServerDisconnected(pair, false);
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 20);
  logging.LocalServerDisconnected(pair, false);
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 5);
  for (int i = 1; i <= 20; ++i)
    logging.LocalServerDisconnected(pair, false);
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 25);
  logging.LocalServerDisconnected(pair, false);
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 5);
}

TEST_F(RecordingTest, A_purge_may_take_the_history_of_the_pair_whose_event_is_running) {
  fakes.mPurge.mNumberToKeep = QStringLiteral("0");
  SocketPair& pair = Accepted();
  logging.Dead(pair);
  OpenPort();
  for (int i = 2; i <= 20; ++i)
    logging.LocalServerDisconnected(pair, false);
  ASSERT_TRUE(logging.mobjSocketPairHistory.Contains(QStringLiteral("KEY1")));
  // As the listener holds it until it is unloaded.
  const std::shared_ptr<SocketPair> held =
      world.mGeneral.gobjListening->mobjSocketPairs.Item(QStringLiteral("KEY1"));
  fakes.mLogFile.mEnabled = true;
  Take();
  logging.ConnectionAttemptFailed(pair, false, QStringLiteral("late"), 5);
  EXPECT_TRUE(logging.mobjSocketPairHistory.IsEmpty());
  EXPECT_TRUE(world.mGeneral.gobjListening->mobjSocketPairs.IsEmpty());
  EXPECT_EQ(Take().filter(QStringLiteral("SaveEventToLogFile")),
            QStringList{QStringLiteral("SaveEventToLogFile 3")})
      << "the file gets the event all the same";
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  EXPECT_EQ(logging.mlngTotalEvents, 0);
}

// Purged histories.

TEST_F(RecordingTest, Late_events_of_a_purged_history_are_passed_over_or_reported) {
  SocketPair& pair = MakePair(QStringLiteral("KEY7"));
  for (const Row& row : kRows) {
    world.mErrors.mTexts.clear();
    row.call(logging, pair);
    const bool reported = row.kind == 2 || row.kind == 3 || row.kind == 4;
    EXPECT_EQ(world.mErrors.mTexts.size(), reported ? 1 : 0) << row.name;
  }
  world.mErrors.mTexts.clear();
  logging.ServerBytesSendStop(pair);
  logging.ClientBytesSendStop(pair);
  logging.GotNameOfRemoteClient(pair, QStringLiteral("x"));
  logging.GotNameOfRemoteServer(pair, QStringLiteral("x"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  logging.GotProtocol(pair, QStringLiteral("x"));
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to log the availability of the "
                                       "protocol name.  The operating system reports: 5, Invalid procedure "
                                       "call or argument")});
  EXPECT_TRUE(logging.mobjSocketPairHistory.IsEmpty());
}

// Dangles.

TEST_F(RecordingTest, A_dangle_of_both_sides_is_two_events_the_clients_first) {
  SocketPair& pair = Accepted();
  logging.DanglingStatusChanged(pair, true, 2, 700);
  EXPECT_EQ(Event(2).mobjEventType, etRemoteClientDanglingStarted);
  EXPECT_TRUE(Event(2).mblnNextEventFollowOn);
  EXPECT_EQ(Event(3).mobjEventType, etRemoteServerDanglingStarted);
  EXPECT_FALSE(Event(3).mblnNextEventFollowOn);
  logging.DanglingStatusChanged(pair, false, 2, 700);
  EXPECT_EQ(Event(4).mobjEventType, etRemoteClientDanglingStopped);
  EXPECT_TRUE(Event(4).mblnNextEventFollowOn);
  EXPECT_EQ(Event(5).mobjEventType, etRemoteServerDanglingStopped);
}

TEST_F(RecordingTest, A_dangle_of_no_side_is_none) {
  SocketPair& pair = Accepted();
  logging.DanglingStatusChanged(pair, true, 3, 700);
  logging.DanglingStatusChanged(pair, true, -1, 700);
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 1);
}

// The end.

TEST_F(RecordingTest, Dead_marks_the_history_and_terminates_the_pair) {
  SocketPair& pair = Connected();
  server->mState = SocketState::kConnected;
  logging.Dead(pair);
  EXPECT_TRUE(History().mblnDead);
  EXPECT_EQ(History().mstrTimeOfDeath, QStringLiteral("07:05:03.042"));
  EXPECT_TRUE(pair.mblnTerminated);
  EXPECT_EQ(server->mState, SocketState::kClosed);
}

TEST_F(RecordingTest, Dead_terminates_a_pair_without_a_history_too) {
  SocketPair& pair = MakePair();
  logging.Dead(pair);
  EXPECT_TRUE(pair.mblnTerminated);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

// Reports: each happening under its own text. What fails is the filing of a history, or the grid.

struct Report {
  void (*call)(Logging& logging, SocketPair& pair);
  const char* text;
};

const Report kReports[] = {
    {[](Logging& log, SocketPair& pair) { log.LocalServerAcceptedConnection(pair, false, 1); },
     "accept the remote client connection request."},
    {[](Logging& log, SocketPair& pair) { log.LocalServerRejectedConnection(pair, false, 1); },
     "reject the remote client connection request."},
    {kRows[0].call, "connect to the remote server."},
    {kRows[1].call, "record the failure to connect to the remote server."},
    {kRows[2].call, "record the successful connection attempt."},
    {kRows[3].call, "log the remote server's disconnection."},
    {kRows[4].call, "log the local server's disconnection."},
    {kRows[5].call, "log the remote client's disconnections."},
    {kRows[6].call, "log the local client disconnection."},
    {kRows[7].call, "log the arrival of data on the local client."},
    {kRows[8].call, "log the buffering of data being sent through the local client."},
    {kRows[9].call, "log the buffering of data being sent through the local client."},
    {kRows[10].call, "log the buffering of data being sent through the local server."},
    {kRows[11].call, "log the buffering of data being sent through the local server."},
    {kRows[12].call, "log data being sent through the local server."},
    {kRows[13].call, "log data being sent through the local server."},
    {kRows[14].call, "log the arrival of data on the local server."},
    {kRows[15].call, "log the data being sent through the local client."},
    {kRows[16].call, "log the data being sent through the local client."},
    {kRows[17].call, "log the local server's error state."},
    {kRows[18].call, "log the local client error state."},
    {kRows[19].call, "log the arrival of data on the local client."},
    {kRows[20].call, "log the arrival of data on the local client."},
    {kRows[21].call, "log the arrival of data on the local client."},
    {kRows[22].call, "log the arrival of data on the local client."},
    {[](Logging& log, SocketPair& pair) { log.GotNameOfRemoteServer(pair, {}); },
     "log the available of the remote server's name."},
    {[](Logging& log, SocketPair& pair) { log.GotNameOfRemoteClient(pair, {}); },
     "log the availability of the name of the remote client."},
    {[](Logging& log, SocketPair& pair) { log.GotProtocol(pair, {}); },
     "log the availability of the protocol name."},
    {[](Logging& log, SocketPair& pair) { log.Dead(pair); },
     "indicate that the socket connection pair is dead."},
};

TEST_F(RecordingTest, Each_happening_reports_its_failures_under_its_own_text) {
  int number = 0;
  for (const Report& report : kReports) {
    const QString key = QStringLiteral("KEY%1").arg(++number);
    const bool begins = number <= 2;
    SocketPair& pair = begins ? MakePair(key) : Connected(key);
    if (begins) {
      logging.mobjSocketPairHistory.Add(std::make_shared<SocketPairHistory>(), key);
    } else {
      world.mMain.OnDetailsGrid = [] { throw Failure(FailureNumber::kOverflow); };
    }
    world.mErrors.mTexts.clear();
    report.call(logging, pair);
    world.mMain.OnDetailsGrid = nullptr;
    EXPECT_EQ(world.mErrors.mTexts.value(0),
              QStringLiteral("An error occurred while attempting to ") + QLatin1String(report.text) +
                  kMessage +
                  (begins ? QStringLiteral("457, This key is already in use in the list")
                          : QStringLiteral("6, Overflow")));
    EXPECT_EQ(world.mErrors.mTexts.size(), 1) << report.text;
  }
}

/// What a step inside a happening reports.
struct StepReportTest : LoggingTest {
  StepReportTest() { pair = &Connected(); }
  void ExpectReport(const char* text, const char* failure) {
    EXPECT_EQ(world.mErrors.mTexts, QStringList{QStringLiteral("An error occurred while attempting to ") +
                                                QLatin1String(text) + kMessage + QLatin1String(failure)});
  }
  /// The grid fails at its count-th use from now on.
  void FailGridAt(int count) {
    world.mMain.OnDetailsGrid = [count, uses = 0]() mutable {
      if (++uses == count) throw Failure(FailureNumber::kOverflow);
    };
  }
  SocketPair* pair;
};

TEST_F(StepReportTest, The_choice_of_what_the_pane_gets) {
  Grid().Clear();
  Tree().SetSelectedItem(nullptr);
  fakes.mRealTimeData.mShowsAll = false;
  fakes.mRealTimeData.Set({RealTimeSwitch::kShowRealTimeData});
  logging.ServerBytesReceived(*pair, Bytes(1), false);
  ExpectReport("manage the real-time data.", "91, Object not set");
}

TEST_F(StepReportTest, The_showing_in_the_pane) {
  fakes.mRealTimeData.Set({RealTimeSwitch::kShowRealTimeData, RealTimeSwitch::kClientToVLT});
  world.mMain.OnRealTimeData = [] { throw Failure(FailureNumber::kOverflow); };
  logging.ServerBytesReceived(*pair, Bytes(1), false);
  ExpectReport("display the real time data.", "6, Overflow");
}

TEST_F(StepReportTest, The_question_whether_the_grid_lists_connections) {
  Tree().SetSelectedItem(nullptr);
  logging.LocalServerDisconnected(*pair, false);
  ExpectReport("determine whether the socket details should be updated.", "91, Object not set");
}

TEST_F(StepReportTest, The_update_of_a_row) {
  FailGridAt(2);
  logging.LocalServerDisconnected(*pair, false);
  ExpectReport("update the details.", "6, Overflow");
}

TEST_F(StepReportTest, The_update_of_a_connections_server) {
  FailGridAt(2);
  logging.ConnectionAttemptFailed(*pair, false, QStringLiteral("x"), 5);
  ExpectReport("update the connection details.", "6, Overflow");
}

TEST_F(StepReportTest, The_refreshing_of_a_row) {
  const SocketPairHistory withoutEvents;
  RefreshRow(Grid().Item(1), withoutEvents);
  ExpectReport("refresh the details.", "9, Subscript out of range");
}

TEST_F(RecordingTest, A_failure_in_the_tail_is_the_tails) {
  SocketPair& pair = Connected();
  Tree().Clear();
  world.mGeneral.gblnConnectionDiagramSelected = true;
  Grid().Clear();
  logging.LocalServerDisconnected(pair, false);
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to log an event.") + kMessage +
                        QStringLiteral("91, Object not set")});
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 3) << "filed all the same";
}

TEST_F(RecordingTest, A_clock_that_is_set_back_changes_what_is_shown_and_nothing_else) {
  SocketPair& pair = Connected();
  logging.ServerBytesSendStart(pair, Bytes(3), false, false);
  world.mClock.mNow = {2019, 12, 31, 6, 0, 0, 0};
  logging.ServerBytesSendStop(pair);
  logging.ServerBytesReceived(pair, Bytes(5), true);
  const qsizetype count = History().mobjSocketPairEvents.Count();
  EXPECT_EQ(Event(count - 1).mstrEventTime, QStringLiteral("07:05:03.042"));
  EXPECT_EQ(Event(count - 1).mstrEventEndTime, QStringLiteral("06:00:00.000"));
  EXPECT_EQ(Event(count).mstrEventTime, QStringLiteral("06:00:00.000"));
  logging.Dead(pair);
  EXPECT_EQ(History().mstrTimeOfDeath, QStringLiteral("06:00:00.000"));
  // What goes first is what came first, whatever the clock said.
  SocketPair& second = Accepted(QStringLiteral("KEY2"));
  logging.Dead(second);
  fakes.mPurge.mNumberToKeep = QStringLiteral("1");
  logging.KillDeadSocketConnections();
  EXPECT_EQ(Keys(), QStringList{QStringLiteral("KEY2")});
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

}  // namespace
}  // namespace veltrane
