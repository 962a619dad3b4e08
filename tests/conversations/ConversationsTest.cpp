// Thousands of random conversations through every handler. A failure names the seed of its world;
// VELTRANE_SEED=n in the environment runs that world alone.
#include <QSet>

#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

#include "history/Logging.h"
#include "tests/conversations/Talk.h"
#include "tests/conversations/TapNet.h"
#include "tests/support/FakeNet.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/RealNet.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

constexpr int kTalksInAWorld = 10;
#ifdef __SANITIZE_ADDRESS__
constexpr int kTalks = 2'000;
constexpr int kRealTalks = 100;
#else
constexpr int kTalks = 10'000;
constexpr int kRealTalks = 500;
#endif

/// Sees every event as it is recorded, and fails on one of a connection that is over. Two things are told
/// behind the end: a client whose socket failed leaves an attempt behind, and the connection that comes of it
/// is told, with the sending of what waited for it and its closing at once. And until the sweep has taken the
/// connection away the timers of its failures fire, and what they find is told; no byte moves any more.
class DeathWatch : public EventLogFile {
 public:
  explicit DeathWatch(Logging& logging) : mLogging(logging) {}
  bool LoggingEnabled() const override { return true; }
  void SaveEventToLogFile(const SocketPair& pair, const SocketEvent& event) override {
    const SocketPairHistoryRef* history = mLogging.mobjSocketPairHistory.Find(pair.SocketPairKey());
    ASSERT_TRUE(history);
    const bool late = event.mobjEventType == etConnectionAttemptSuccessful;
    if (late) mLate.insert(pair.SocketPairKey());
    const bool ofTheLate =
        mLate.contains(pair.SocketPairKey()) &&
        (event.mobjEventType == etClientBytesSent || event.mobjEventType == etLocalClientDisconnected);
    const bool ofATimer = mTimersRunOn && event.mstrData.IsEmpty();
    EXPECT_TRUE(!(*history)->mblnDead || late || ofTheLate || ofATimer)
        << "after the end: " << event.mstrDescription.toStdString();
  }

  bool mTimersRunOn = false;

 private:
  Logging& mLogging;
  QSet<QString> mLate;
};

/// A program with a port of one handler, the real recorder, and conversations through it.
struct TalkWorld {
  TalkWorld(NetWorld& network, unsigned seed, QByteArray handler)
      : net(network), dice(seed), protocol(std::move(handler)), taps(net.Sockets()), world(&taps, &chance) {
    chance.Randomize(seed);
    logging.SetSurroundings({&world.mMain, &fakes.mRealTimeData, &fakes.mPurge, &fakes.mTray, &watch});
    world.mGeneral.gobjLogging = &logging;
    world.mGeneral.gblnRecordEvents = true;
    TreeView& tree = world.mMain.tvwSockets;
    tree.SetSelectedItem(tree.Find(QStringLiteral("ROOT")));
    // The history is looked at before any of it goes.
    fakes.mPurge.mDiscard = false;
    world.mDesktop.OnDoEvents = [this] { Wait(dice.Pick(6)); };
  }

  /// Between two deeds at most so many turns of the net pass.
  void Run(int most) {
    world.StartListening();
    for (int i = 0; i < kTalksInAWorld; ++i)
      AddTalk();
    for (const auto& talk : talks)
      talk->Begin();
    if (protocol == "FTP") AddDataTalks();
    if (throttles) Throttle();
    for (int i = 0, deeds = 20 + dice.Pick(400); i < deeds; ++i) {
      talks[static_cast<std::size_t>(dice.Pick(static_cast<int>(talks.size())))]->Act();
      Wait(dice.Pick(most));
      if (failures.passTime) Pass(dice.Pick(30));
      mostWaiting = std::max(mostWaiting, world.mGeneral.mPayloadLimit.WaitingCount());
    }
    ExpectAllEnds();
  }

  /// A schedule of failures, before Run. Time stands still until all conversations have begun, and so do its
  /// plans.
  void PlanFailures() {
    LetTimePass();
    watch.mTimersRunOn = true;
    const int kind = dice.Pick(6);
    FakeSchedule& schedule = world.mSchedule;
    schedule.mTerminate = kind == 1 || kind == 2;
    schedule.mGraceful = kind - 1;
    schedule.mDangle = kind >= 3;
    schedule.mDangleClose = kind - 3;
    throttles = kind == 0 || dice.Pick(2) == 0;
    schedule.OnAsked = [this, &schedule] {
      schedule.mTerminatePeriod = 1 + dice.Pick(4000);
      schedule.mTimeBeforeDangle = 1 + dice.Pick(3000);
      schedule.mDanglePeriod = 1 + dice.Pick(1000);
      schedule.mDangleDirection = static_cast<qint16>(dice.Pick(3));
    };
    failures.allArrivesWhileItStands = kind == 0 || kind == 4;
    // A close that waits is carried out at the start of a dangle.
    failures.allArrivesWhenOneLeaves = kind == 0;
    failures.aStretchIsDropped = kind == 5;
    // No completion comes of data that was dropped in the middle of a run of sends, nor of a dangle that held
    // nothing: a close that waits for it is carried out when the other side leaves, too. Pass Through looks
    // for it at the end of the dangle.
    failures.endIsTold = kind < 4 || (kind == 4 && protocol == "Pass Through");
  }

  /// No more than so many bytes may be held for slow readers altogether.
  void LimitPayload(qint64 most) {
    LetTimePass();
    world.mGeneral.mPayloadLimit.SetMost(most);
  }

  void LetTimePass() {
    failures.passTime = [this, timesLeft = 100'000]() mutable {
      if (!world.mTimers.NextDeadline() || --timesLeft <= 0) return false;
      Pass(10);
      return true;
    };
  }

  void Throttle() {
    world.mSchedule.mThrottleC2S = dice.Pick(3) != 0;
    world.mSchedule.mThrottleS2C = !world.mSchedule.mThrottleC2S || dice.Pick(2) == 0;
    world.mSchedule.mThrottleBytes = 500 + dice.Pick(10'000);
    world.mSchedule.mThrottlePeriod = 1 + dice.Pick(40);
  }

  /// With the sweep of each second.
  void Pass(int ms) {
    world.mTimers.Advance(std::chrono::milliseconds(ms));
    sinceSweep += ms;
    if (sinceSweep < 1000) return;
    sinceSweep = 0;
    world.mGeneral.gobjListening->UnloadTerminatedPairs();
  }

  /// On a port below those that the system gives to clients, and above those of the tests of the whole
  /// program: one that is chosen beforehand may be another process's by the time.
  qint32 ListenSomewhere() {
    static qint32 next = getpid() % 3000;
    Listening& listening = *world.mGeneral.gobjListening;
    while (true) {
      const qint32 port = 29'500 + next++ % 3000;
      Socket* socket = nullptr;
      qint32 number = 0;
      QString text;
      if (listening.StartListeningOnSocket(socket, port, number, text)) return port;
      listening.DestroySockets(port);
    }
  }

  void AddTalk() {
    auto server = net.Listen();
    const qint32 port = ListenSomewhere();
    const QString name = QString::fromLatin1(protocol);
    world.AddPort(port, name, QStringLiteral("Test"));
    world.AddNode(port, QStringLiteral("Test"));
    world.SetDestination(port, QStringLiteral("127.0.0.1"), server->Port());
    world.Save(PortSection(name, port), QStringLiteral("Port"), QString::number(server->Port()));
    talks.push_back(std::make_unique<Talk>(net, dice, failures, protocol, port, std::move(server)));
  }

  /// Each control connection that stands may have a data port or two.
  void AddDataTalks() {
    for (std::size_t i = 0; i < kTalksInAWorld; ++i) {
      for (int more = dice.Pick(3); more > 0; --more) {
        auto server = net.Listen();
        const qint32 port = talks[i]->OpenDataPort(server->Port());
        if (port == 0) continue;
        talks.push_back(std::make_unique<Talk>(net, dice, failures, "Pass Through", port, std::move(server)));
        talks.back()->Begin();
      }
    }
  }

  /// Lets so much happen, or as much as there is.
  void Wait(int turns) const {
    net.Pump([&] { return turns-- <= 0; });
  }

  void ExpectAllEnds() {
    for (const auto& talk : talks)
      talk->Resume();
    for (const auto& talk : talks)
      talk->End();
    for (const auto& talk : talks)
      talk->CheckAndLeave();
    // The proxy hears of those who have left.
    failures.Pump(net, [this] { return AllAreDead(); });
    net.Settle();
    ExpectHistoryTellsTheWire();
    ExpectNothingIsLeft();
    EXPECT_EQ(world.mErrors.mTexts, QStringList());
  }

  QByteArray Recorded(const SocketPairHistory& history, std::initializer_list<SocketEventType> kinds) const {
    QByteArray bytes;
    for (qsizetype i = 1; i <= history.mobjSocketPairEvents.Count(); ++i) {
      const SocketEvent& event = *history.mobjSocketPairEvents.Item(i);
      if (std::find(kinds.begin(), kinds.end(), event.mobjEventType) != kinds.end())
        bytes.append(event.mstrData.View());
    }
    return bytes;
  }

  bool AllAreDead() const {
    for (qsizetype i = 1; i <= logging.mobjSocketPairHistory.Count(); ++i)
      if (!logging.mobjSocketPairHistory.Item(i)->mblnDead) return false;
    return true;
  }

  void ExpectHistoryTellsTheWire() {
    EXPECT_EQ(logging.mobjSocketPairHistory.Count(), static_cast<qsizetype>(talks.size()));
    for (qsizetype i = 1; i <= logging.mobjSocketPairHistory.Count(); ++i) {
      const SocketPairHistory& history = *logging.mobjSocketPairHistory.Item(i);
      EXPECT_TRUE(history.mblnDead) << history.mstrSocketPairKey.toStdString();
      // A pair makes its two sockets one behind the other.
      const auto accepted = std::find_if(taps.mTaps.begin(), taps.mTaps.end(), [&](const auto& tap) {
        return tap->peerPort == history.mlngRemoteClientPort && tap->localPort == history.mlngLocalServerPort;
      });
      ASSERT_LT(accepted + 1, taps.mTaps.end());
      const Tap& server = **accepted;
      const Tap& client = **(accepted + 1);
      EXPECT_TRUE(Recorded(history, {etServerBytesReceived}) == server.got) << "from the client";
      EXPECT_TRUE(Recorded(history, {etServerBytesSent, etServerBytesSentThrottled}) == server.sent)
          << "to it";
      EXPECT_TRUE(Recorded(history, {etClientBytesReceived}) == client.got) << "from the server";
      EXPECT_TRUE(Recorded(history, {etClientBytesSent, etClientBytesSentThrottled}) == client.sent)
          << "to it";
    }
  }

  void ExpectNothingIsLeft() {
    Listening& listening = *world.mGeneral.gobjListening;
    listening.UnloadTerminatedPairs();
    EXPECT_TRUE(listening.LoadedPairs().empty());
    EXPECT_EQ(world.mGeneral.mPayloadLimit.WaitingCount(), 0);
    EXPECT_FALSE(world.mTimers.NextDeadline()) << "a timer runs on";
    fakes.mPurge.mDiscard = true;
    fakes.mPurge.mNumberToKeep = QStringLiteral("0");
    logging.KillDeadSocketConnections();
    EXPECT_EQ(listening.mobjSocketPairs.Count(), 0);
    EXPECT_EQ(logging.mobjSocketPairHistory.Count(), 0);
    EXPECT_EQ(logging.mlngTotalMemoryAllocated, 0);
    for (const MemoryStore::Row& row : world.mStore.mRows)
      EXPECT_FALSE(row.value.contains(kDynamicallyAllocated)) << row.key.toStdString();
  }

  NetWorld& net;
  Dice dice;
  Failures failures;
  bool throttles = false;
  int sinceSweep = 0;
  /// Of senders that were not read because too much was held.
  qsizetype mostWaiting = 0;
  QByteArray protocol;
  SystemRandomGenerator chance;
  TapFactory taps;
  World world;
  HistoryFakes fakes{world.mJournal};
  Logging logging{world.mGeneral};
  DeathWatch watch{logging};
  std::vector<std::unique_ptr<Talk>> talks;
};

const char* const kHandlers[] = {"Pass Through", "HTTP", "HTTPS", "POP3", "FTP"};

/// The seed that is asked for, or 0.
unsigned AskedSeed() {
  const char* const text = std::getenv("VELTRANE_SEED");
  return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : 0;
}

/// Calls run with the seeds 1 to worlds, or with the one that is asked for.
template <class Run>
void ForSeeds(unsigned worlds, Run&& run) {
  const unsigned asked = AskedSeed();
  for (unsigned seed = asked ? asked : 1; seed <= (asked ? asked : worlds); ++seed) {
    SCOPED_TRACE(testing::Message() << "VELTRANE_SEED=" << seed);
    run(seed);
    if (testing::Test::HasFailure()) return;
  }
}

struct ConversationsTest : testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(All, ConversationsTest, testing::ValuesIn(kHandlers), [](const auto& which) {
  return QByteArray(which.param).replace(' ', '_').toStdString();
});

// One world in four has a schedule of failures, and one in ten meets the limit of what may be held.
TEST_P(ConversationsTest, Thousands_between_sockets_in_memory) {
  qsizetype waited = 0;
  ForSeeds(kTalks / kTalksInAWorld, [&](unsigned seed) {
    constexpr qsizetype kCapacities[] = {64, 1000, 8192, 65536};
    const qsizetype capacity = kCapacities[seed % 4];
    FakeNet net(capacity);
    if (seed % 3 != 0) net.Shuffle(seed);
    Talk::mLargest = std::min<qsizetype>(70'000, capacity * 8);
    TalkWorld world(net, seed, GetParam());
    if (seed / 4 % 4 == seed % 4) world.PlanFailures();
    if (seed % 5 == 0 && capacity >= 8192) {
      Talk::mLargest = 300'000;
      world.LimitPayload(300'000);
    }
    world.Run(8);
    waited += world.mostWaiting;
    EXPECT_EQ(world.world.mGeneral.mPayloadLimit.Held(), 0);
    EXPECT_EQ(net.SocketCount(), world.world.mGeneral.gobjListening->mcolListeningSocket.Count());
  });
  if (AskedSeed() == 0) {
    EXPECT_GT(waited, kTalks / kTalksInAWorld / 20) << "senders that had to wait";
  }
}

TEST_P(ConversationsTest, Hundreds_between_real_sockets) {
  const int before = OpenDescriptors();
  ForSeeds(kRealTalks / kTalksInAWorld, [](unsigned seed) {
    Talk::mLargest = 300'000;
    RealNet net;
    TalkWorld world(net, seed, GetParam());
    world.Run(3);
    EXPECT_TRUE(net.Pump([&] { return net.mReactor.LingeringCount() == 0; }));
    EXPECT_EQ(world.world.mGeneral.mPayloadLimit.Held(), 0);
  });
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
}  // namespace veltrane
