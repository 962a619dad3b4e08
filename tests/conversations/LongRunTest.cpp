// More connections in one run than there are numbers for them, with the history purged all the way.
#include <gtest/gtest.h>

#include "history/Logging.h"
#include "tests/support/FakeNet.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

constexpr qint32 kPort = 2000;
constexpr int kKept = 100;

struct LongRunTest : testing::Test {
  LongRunTest() {
    logging.SetSurroundings(fakes.Around(world.mMain));
    world.mGeneral.gobjLogging = &logging;
    world.mGeneral.gblnRecordEvents = true;
    fakes.mPurge.mNumberToKeep = QString::number(kKept);
    TreeView& tree = world.mMain.tvwSockets;
    tree.SetSelectedItem(tree.Find(QStringLiteral("ROOT")));
    world.AddPort(kPort, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    // The branch is open, so that its nodes come and go as well.
    world.AddNode(kPort, QStringLiteral("Apps")).SetExpanded(true);
    world.SetDestination(kPort, QStringLiteral("127.0.0.1"), destination->Port());
    world.StartListening();
  }
  /// A connection that carries a word both ways and ends.
  void Converse(int number) {
    const QByteArray word = QByteArray::number(number);
    const auto client = net.ConnectTo(kPort);
    client->Send(word);
    net.Settle();
    const auto server = destination->Accept();
    ASSERT_TRUE(server) << number;
    net.Settle();
    server->Send(server->Received());
    net.Settle();
    ASSERT_EQ(client->Received(), word) << number;
    client->Close();
    net.Settle();
    ASSERT_TRUE(server->SawEnd()) << number;
  }
  qint64 KeptEvents() const {
    qint64 events = 0;
    for (qsizetype i = 1; i <= logging.mobjSocketPairHistory.Count(); ++i)
      events += logging.mobjSocketPairHistory.Item(i)->mobjSocketPairEvents.Count();
    return events;
  }
  /// What the main window's timers do.
  void Sweep() {
    logging.KillDeadSocketConnections();
    world.mGeneral.gobjListening->UnloadTerminatedPairs();
    world.mJournal.Take();
  }

  FakeNet net;
  World world{&net};
  HistoryFakes fakes{world.mJournal};
  Logging logging{world.mGeneral};
  std::unique_ptr<PeerListener> destination = net.Listen();
};

TEST_F(LongRunTest, Seventy_thousand_connections_are_all_served_and_no_more_is_kept_than_asked_for) {
  const Listening& listening = *world.mGeneral.gobjListening;
  qsizetype nodes = 0;
  for (int number = 1; number <= 70'000; ++number) {
    Converse(number);
    if (HasFatalFailure()) return;
    if (number % 100 != 0) continue;
    Sweep();
    ASSERT_EQ(logging.mobjSocketPairHistory.Count(), kKept);
    ASSERT_EQ(listening.mobjSocketPairs.Count(), kKept);
    ASSERT_TRUE(listening.LoadedPairs().empty());
    ASSERT_EQ(net.SocketCount(), 1 + 2 * kKept);
    ASSERT_EQ(logging.mlngTotalEvents, KeptEvents());
    const qsizetype now = world.mMain.tvwSockets.Node(ProtocolNodeKey(kPort)).ChildCount();
    if (number > 100) {
      ASSERT_EQ(now, nodes) << number;
    }
    nodes = now;
  }
  EXPECT_EQ(listening.LastSocketPairNumber(), static_cast<qint16>(70'000));
  EXPECT_FALSE(world.mTimers.NextDeadline());
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

}  // namespace
}  // namespace veltrane
