#include "forms/RichTextBox.h"
#include "tests/history/HistoryTest.h"

namespace veltrane {
namespace {

using Switch = RealTimeSwitch;

struct Row {
  int kind;
  void (*call)(Logging& log, SocketPair& pair);
  QList<Switch> needs;
  const char* direction;
  Colour colour;
};

const QList<Row> kRows{
    {9,
     [](Logging& log, SocketPair& pair) { log.ClientBytesReceived(pair, QByteArray("abc"), false); },
     {Switch::kServerToVLT},
     "From: Remote server, To: VLT's internal socket client",
     103},
    {10,
     [](Logging& log, SocketPair& pair) { log.ClientBytesBuffered(pair, QByteArray("abc"), false, false); },
     {Switch::kServerToVLT, Switch::kIncludeBufferedData},
     "From: VLT's internal socket client, To: Remote server",
     101},
    {12,
     [](Logging& log, SocketPair& pair) { log.ServerBytesBuffered(pair, QByteArray("abc"), false, false); },
     {Switch::kClientToVLT, Switch::kIncludeBufferedData},
     "From: VLT's internal socket server, To: Remote client",
     102},
    {14,
     [](Logging& log, SocketPair& pair) { log.ServerBytesSendStart(pair, QByteArray("abc"), false, false); },
     {Switch::kVLTToClient},
     "From: VLT's internal socket server, To: Remote client",
     102},
    {16,
     [](Logging& log, SocketPair& pair) { log.ServerBytesReceived(pair, QByteArray("abc"), false); },
     {Switch::kClientToVLT},
     "From: Remote client, To: VLT's internal socket server",
     100},
    {17,
     [](Logging& log, SocketPair& pair) { log.ClientBytesSendStart(pair, QByteArray("abc"), false, false); },
     {Switch::kVLTToServer},
     "From: VLT's internal socket client, To: Remote server",
     101},
};

const QList<Switch> kDirections{Switch::kServerToVLT, Switch::kVLTToServer, Switch::kClientToVLT,
                                Switch::kVLTToClient, Switch::kIncludeBufferedData};

struct FeedTest : LoggingTest {
  void Set(QList<Switch> switches) {
    switches.append(Switch::kShowRealTimeData);
    fakes.mRealTimeData.Set(switches);
  }
};

TEST_F(FeedTest, Each_kind_is_shown_by_its_switches_with_its_direction_and_colour) {
  SocketPair& pair = Connected();
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.kind);
    QList<Switch> on = row.needs;
    on += {Switch::kIncludeDataDirection, Switch::kColourCode};
    Set(on);
    Take();
    row.call(logging, pair);
    ASSERT_EQ(logging.gstrData.size(), 1);
    EXPECT_EQ(logging.gstrData.takeFirst().Bytes(), "abc");
    EXPECT_EQ(logging.gstrPreamble.takeFirst(),
              QStringLiteral("\r\n") + QLatin1String(row.direction) + QStringLiteral("\r\n"));
    EXPECT_EQ(logging.gcolColour, QList<Colour>{row.colour});
    logging.gcolColour.clear();
    EXPECT_EQ(Take().filter(QStringLiteral("tmrReal")).size(), 1) << "the pane drains at once";
    // Without any one of the switches it is not.
    for (const Switch missing : row.needs) {
      QList<Switch> others = kDirections;
      others.removeOne(missing);
      Set(others);
      row.call(logging, pair);
      EXPECT_TRUE(logging.gstrData.isEmpty());
    }
  }
}

TEST_F(FeedTest, Dangled_and_throttled_data_and_events_without_data_never_reach_the_pane) {
  SocketPair& pair = Connected();
  Set(kDirections);
  logging.ClientBytesBuffered(pair, QByteArray("abc"), false, true);
  logging.ServerBytesBuffered(pair, QByteArray("abc"), false, true);
  logging.ClientBytesSendStart(pair, QByteArray("abc"), false, true);
  logging.ServerBytesSendStart(pair, QByteArray("abc"), false, true);
  logging.LocalClientDisconnected(pair, false);
  EXPECT_TRUE(logging.gstrData.isEmpty());
}

TEST_F(FeedTest, The_preamble_is_built_step_by_step) {
  SocketPair& pair = Connected();
  const QString description = QStringLiteral("3 bytes of data has been received from the remote client.");
  struct Case {
    QList<Switch> on;
    QString preamble;
  };
  const QList<Case> cases{
      {{}, QStringLiteral("\r\n")},
      {{Switch::kIncludeDateTimeStamp}, QStringLiteral("07:05:03.042\r\n")},
      {{Switch::kIncludeDescription}, QStringLiteral("\r\n") + description + QStringLiteral("\r\n")},
      {{Switch::kIncludeDateTimeStamp, Switch::kIncludeDataDirection, Switch::kIncludeDescription},
       QStringLiteral("07:05:03.042\r\nFrom: Remote client, To: VLT's internal socket server\r\n") +
           description + QStringLiteral("\r\n")},
  };
  for (const Case& test : cases) {
    QList<Switch> on = test.on;
    on.append(Switch::kClientToVLT);
    Set(on);
    logging.ServerBytesReceived(pair, QByteArray("abc"), false);
    EXPECT_EQ(logging.gstrPreamble.takeFirst(), test.preamble);
  }
  EXPECT_EQ(logging.gcolColour, (QList<Colour>{0, 0, 0, 0})) << "black without colours";
}

TEST_F(FeedTest, Colours_move_the_caret_to_the_end) {
  SocketPair& pair = Connected();
  world.mMain.txtRealTime.SetText(QStringLiteral("12345"));
  Set({Switch::kClientToVLT});
  logging.ServerBytesReceived(pair, QByteArray("abc"), false);
  EXPECT_EQ(world.mMain.txtRealTime.SelStart(), 0);
  Set({Switch::kClientToVLT, Switch::kColourCode});
  logging.ServerBytesReceived(pair, QByteArray("abc"), false);
  EXPECT_EQ(world.mMain.txtRealTime.SelStart(), 5);
}

TEST_F(FeedTest, With_the_pane_closed_nothing_is_queued) {
  SocketPair& pair = Connected();
  fakes.mRealTimeData.Set(kDirections);
  logging.ServerBytesReceived(pair, QByteArray("abc"), false);
  EXPECT_TRUE(logging.gstrData.isEmpty());
}

TEST_F(FeedTest, Only_the_selected_branch_is_shown_when_the_user_wants_it_so) {
  fakes.mRealTimeData.mShowsAll = false;
  Set(kDirections);
  OpenPort();
  world.AddNode(1001, QStringLiteral("Other (1001)"));
  SocketPair& pair = Connected();
  SocketPair& other = Connected(QStringLiteral("KEY2"));
  const QString connection = QStringLiteral("CON100010.0.0.110.0.0.9");
  Node(connection).SetExpanded(true);
  logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.9"), 1000);
  struct Case {
    QString selected;
    bool first;
    bool second;
  };
  for (const Case& test : {Case{QStringLiteral("ROOT"), true, true}, Case{ProtocolNodeKey(1000), true, true},
                           Case{ProtocolNodeKey(1001), false, false}, Case{connection, true, true},
                           Case{QStringLiteral("KEY1"), true, false}}) {
    Select(test.selected);
    logging.ServerBytesReceived(pair, QByteArray("a"), false);
    EXPECT_EQ(logging.gstrData.size(), test.first ? 1 : 0) << test.selected.toStdString();
    logging.gstrData.clear();
    logging.ServerBytesReceived(other, QByteArray("b"), false);
    EXPECT_EQ(logging.gstrData.size(), test.second ? 1 : 0) << test.selected.toStdString();
    logging.gstrData.clear();
  }
}

// A replay.

TEST_F(FeedTest, Opening_a_connection_replays_the_data_of_its_last_20_events) {
  OpenPort();
  SocketPair& pair = Connected();
  Node(QStringLiteral("CON100010.0.0.110.0.0.9")).SetExpanded(true);
  logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.9"), 1000);
  for (int i = 3; i <= 25; ++i) {
    if (i == 10) {
      logging.LocalServerDisconnected(pair, false);
    } else {
      logging.ServerBytesReceived(pair, QByteArray::number(i), false);
    }
  }
  Set({Switch::kClientToVLT});
  world.mMain.txtRealTime.SetText(QStringLiteral("old"));
  logging.LoadAllEvents(QStringLiteral("KEY1"));
  EXPECT_EQ(world.mMain.txtRealTime.Text(), QString());
  EXPECT_EQ(Node(QStringLiteral("KEY1")).ChildCount(), 25);
  EXPECT_EQ(Node(QStringLiteral("KEY1-25")).Tag(), QStringLiteral("KEY1-25"));
  EXPECT_EQ(Node(QStringLiteral("KEY1-1")).Text(), QStringLiteral("Remote connection request accepted"));
  QStringList replayed;
  for (const Payload& data : logging.gstrData)
    replayed.append(QString::fromLatin1(data.Bytes()));
  QStringList expected;
  for (int i = 6; i <= 25; ++i) {
    if (i != 10) expected.append(QString::number(i));
  }
  EXPECT_EQ(replayed, expected);
}

TEST_F(FeedTest, Other_kinds_pass_a_replay_without_switch_direction_and_colour) {
  OpenPort();
  SocketPair& pair = Connected();
  Node(QStringLiteral("CON100010.0.0.110.0.0.9")).SetExpanded(true);
  logging.LoadAllConnections(QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.9"), 1000);
  logging.ClientBytesSendStart(pair, QByteArray("throttled"), false, true);
  logging.ClientBytesSendStart(pair, QByteArray("plain"), false, false);
  Set({Switch::kVLTToServer, Switch::kIncludeDataDirection, Switch::kColourCode});
  logging.LoadAllEvents(QStringLiteral("KEY1"));
  ASSERT_EQ(logging.gstrData.size(), 2);
  EXPECT_EQ(logging.gstrPreamble.first(), QStringLiteral("\r\n"));
  EXPECT_EQ(logging.gcolColour, QList<Colour>{101}) << "one short, as it has to be";
}

}  // namespace
}  // namespace veltrane
