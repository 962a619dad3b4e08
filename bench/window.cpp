// How fast the main window answers while recording runs: 100 connections of 200 events, one branch open, a
// given number of events a second. A click is posted every so often; what is measured is the time from when
// it was due until the window's logic has served it, and until the view has drawn.
#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "engine/Listening.h"
#include "history/Logging.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmMain.h"

namespace {

using namespace veltrane;

constexpr int kConnections = 100;
constexpr int kEvents = 200;
constexpr int kTickMs = 4;
constexpr int kClickEveryMs = 97;

struct Bench {
  explicit Bench(int eventsPerSecond, int seconds) : mPerTick(eventsPerSecond * kTickMs / 1000) {
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    general.frmMain = &window;
    general.gobjLogging = &logging;
    general.frmProblemSimulation = &world.mSchedule;
    general.gblnRecordEvents = true;
    around.mPurge.mMaximumEventCount = QString::number(kEvents);
    around.mPurge.mNumberToKeep = QString::number(kConnections);
    logging.SetSurroundings(around.Around(window));
    world.mSockets.OnCreate = [](StubSocket& socket) {
      socket.mLocalPort = 1000;
      socket.mRemoteHostIP = QStringLiteral("127.0.0.1");
    };
    general.gobjListening = std::make_shared<Listening>(general);
    general.gobjListening->InitaliseListeningSockets();
    window.Show();
    FillConnections();
    OpenBranch();
    mSeconds = seconds;
  }

  void FillConnections() {
    StubSocket& listener =
        static_cast<StubSocket&>(*general.gobjListening->mcolListeningSocket.Item(ListeningSocketKey(1000)));
    for (int i = 0; i < kConnections; ++i) {
      listener.Request(i);
      mPairs.push_back(general.gobjListening->mobjSocketPairs.Item(i + 1));
    }
    for (int i = 0; i < kConnections * kEvents; ++i)
      Record();
  }

  void OpenBranch() {
    TreeView& tree = window.tvwSockets;
    const auto open = [&](const QString& key) { tree.ClickNode(tree.Node(key)); };
    open(QStringLiteral("PROTO1000"));
    open(tree.Node(QStringLiteral("PROTO1000")).Child(0).Key());
    open(QStringLiteral("KEY1"));
  }

  void Record() {
    SocketPair& pair = *mPairs[mNext++ % mPairs.size()];
    logging.ServerBytesReceived(pair, mData, false);
    ++mRecorded;
  }

  /// A click that was due at that time of the clock, in ms: whatever keeps it waiting counts.
  void Click(const QElapsedTimer& clock, qint64 due) {
    const auto late = [&clock, due] {
      return static_cast<double>(clock.nsecsElapsed()) / 1e6 - static_cast<double>(due);
    };
    TreeView& tree = window.tvwSockets;
    // Between the connection and one of its events.
    TreeNode& node = tree.Node(QStringLiteral("KEY1"));
    tree.ClickNode(mClicks % 2 == 0 && node.ChildCount() > 0 ? node.Child(node.ChildCount() - 1) : node);
    mServed.push_back(late());
    desktop.FaceOf(window)->repaint();
    mDrawn.push_back(late());
  }

  void Run() {
    QTimer traffic;
    QTimer clicks;
    QElapsedTimer clock;
    QObject::connect(&traffic, &QTimer::timeout, [this, &clock] {
      // As many as are due, so that a slow window does not get fewer.
      const auto due = static_cast<qint64>(static_cast<double>(clock.elapsed()) / kTickMs * mPerTick);
      while (mRecorded < due)
        Record();
    });
    QObject::connect(&clicks, &QTimer::timeout, [this, &clock] { Click(clock, ++mClicks * kClickEveryMs); });
    clicks.setTimerType(Qt::PreciseTimer);
    mRecorded = 0;
    clock.start();
    traffic.start(kTickMs);
    clicks.start(kClickEveryMs);
    QTimer::singleShot(mSeconds * 1000, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    const double rate = static_cast<double>(mRecorded) * 1000 / static_cast<double>(clock.elapsed());
    std::printf("| %.0f | %zu | %s | %s |\n", rate, mServed.size(), qPrintable(Figures(mServed)),
                qPrintable(Figures(mDrawn)));
    if (!world.mErrors.mTexts.isEmpty() || logging.mlngTotalEvents > kConnections * (kEvents + 21)) {
      std::printf("The recorder is not as it should be: %lld events, %lld reports\n",
                  static_cast<long long>(logging.mlngTotalEvents),
                  static_cast<long long>(world.mErrors.mTexts.size()));
    }
  }

  static QString Figures(std::vector<double>& times) {
    std::sort(times.begin(), times.end());
    const auto at = [&times](double share) {
      return times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1))];
    };
    return QStringLiteral("%1 / %2 / %3")
        .arg(at(0.5), 0, 'f', 1)
        .arg(at(0.99), 0, 'f', 1)
        .arg(at(1), 0, 'f', 1);
  }

  World world;
  WidgetDesktop desktop;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, desktop,
                   world.mErrors, QString()},
                  AllProtocols()};
  HistoryFakes around{world.mJournal};
  Logging logging{general};
  frmMain window{general, logging};
  std::vector<std::shared_ptr<SocketPair>> mPairs;
  Payload mData{QByteArray(100, 'x')};
  std::vector<double> mServed;
  std::vector<double> mDrawn;
  std::size_t mNext = 0;
  qint64 mRecorded = 0;
  int mPerTick;
  int mClicks = 0;
  int mSeconds = 0;
};

}  // namespace

int main(int argc, char* argv[]) {
  const QApplication application(argc, argv);
  std::puts(
      "| events a second | clicks | served, ms: median / p99 / greatest | drawn, ms: median / p99 / greatest "
      "|");
  std::puts("|---|---|---|---|");
  for (const int rate : {0, 20000, 50000})
    Bench(rate, 10).Run();
}
