// What recording costs: the recorder itself, with the real settings store, clock and log file around it, and
// no sockets and no windows.
//
//   history format                        rows of text out of data: MB/s of input, per format
//   history memory BYTES                  resident memory per MB of data in chunks of that size, each in two
//                                         events: as it came and as it was sent
//   history live EVENTS [unlimited]       events of one live connection: time and memory, tenth by tenth
//   history purge HISTORIES [dead]        a purge that has nothing to do
//   history event BYTES [log]             one event with so much data, and with the log file on
//
// A run measures one thing, so that none finds the memory of another. history.py runs them all.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <vector>

#include "engine/SocketPair.h"
#include "engine/SqliteSettingsStore.h"
#include "history/Formatter.h"
#include "history/Logging.h"
#include "history/frmRealTimeLogging.h"
#include "tests/support/FakeStatusPanes.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

constexpr double kMB = 1e6;
constexpr qint32 kPort = 1000;
constexpr int kPorts = 6;  // rows of the port table, as after a first start

/// Resident memory in bytes.
double Resident() {
  long size = 0;
  long resident = 0;
  if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(file, "%ld %ld", &size, &resident) != 2) std::abort();
    std::fclose(file);
  }
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

double Seconds(const QElapsedTimer& timer) {
  return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

QByteArray RandomBytes(qsizetype size) {
  QByteArray bytes(size, Qt::Uninitialized);
  quint32 state = 12345;
  for (char& byte : bytes) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<char>(state >> 24);
  }
  return bytes;
}

/// The icon does nothing here, and notes nothing.
class SilentTray : public TraySignal {
 public:
  void DataSent(bool) override {}
};

struct Recording : World {
  Recording() {
    for (int i = 0; i < kPorts; ++i) {
      mReal.mSettings.Save(kPortsInUse, QString::number(kPort + i), QStringLiteral("Apps"));
      mReal.mSettings.Save(kProtocols, QString::number(kPort + i), kDontUse);
    }
    mReal.frmMain = &mMain;
    mReal.gobjLogging = &mLogging;
    mReal.gblnRecordEvents = true;
    mReal.gobjListening = std::make_shared<Listening>(mReal);
    mLogging.SetSurroundings({&mMain, &mFakes.mRealTimeData, &mFakes.mPurge, &mTray, &mLogFile});
    mLogFile.Load();
    // As after the start of the program.
    mMain.tvwSockets.SetSelectedItem(&mMain.tvwSockets.Node(QStringLiteral("ROOT")));
  }
  /// The limits of a fresh store.
  void UseDefaultLimits() {
    mFakes.mPurge.mNumberToKeep = QStringLiteral("100");
    mFakes.mPurge.mMaxMemorySize = QStringLiteral("400");
    mFakes.mPurge.mMaximumEventCount = QStringLiteral("200");
  }
  /// A connection that stands.
  std::shared_ptr<SocketPair> Connect(int number) {
    auto pair = std::make_shared<SocketPair>(mReal);
    pair->SetSocketPairKey(QStringLiteral("KEY") + QString::number(number));
    pair->mobjProtocolHandler = mReal.mProtocolTable.front().create(mReal);
    mReal.gobjListening->mobjSocketPairs.Add(pair, pair->SocketPairKey());
    mLogging.LocalServerAcceptedConnection(*pair, true, kPort);
    mLogging.GotProtocol(*pair, QStringLiteral("Pass Thru"));
    mLogging.ConnectionAttemptToRemoteServer(*pair, QStringLiteral("127.0.0.1"), 80, false);
    mLogging.ConnectionAttemptSuccessful(*pair, false, QStringLiteral(" "));
    return pair;
  }
  /// A chunk from the server on its way to the client: two events.
  void Relay(SocketPair& pair, const Payload& chunk) {
    mLogging.ClientBytesReceived(pair, chunk, true);
    mLogging.ServerBytesSendStart(pair, chunk, false, false);
    mLogging.ServerBytesSendStop(pair);
  }
  void ExpectNoFailure() {
    if (mErrors.mTexts.isEmpty()) return;
    std::fprintf(stderr, "%lld failures, first: %s\n", static_cast<long long>(mErrors.mTexts.size()),
                 qPrintable(mErrors.mTexts.first()));
    std::exit(1);
  }

  QTemporaryDir mFolder;
  SystemClock mSystem;
  SqliteSettingsStore mFileStore{mFolder.filePath(QStringLiteral("settings.db")), mSystem, mErrors};
  General mReal{{mFileStore, mSockets, mTimers, mSystem, mRandom, mDesktop, mErrors,
                 QStringLiteral("/opt/veltrane"), mFolder.path()},
                AllProtocols()};
  HistoryFakes mFakes{mJournal};
  SilentTray mTray;
  FakeStatusPanes mPanes;
  frmRealTimeLogging mLogFile{mReal, mPanes};
  Logging mLogging{mReal};
};

void MeasureFormats() {
  const QByteArray data = RandomBytes(1 << 20);
  for (const char format : {'h', 'd', 'o', 'b'}) {
    QByteArray rows(FormatTextRequiredLength(data.size(), static_cast<quint8>(format), 16), ' ');
    std::vector<double> rates;
    for (int round = 0; round < 200; ++round) {
      QElapsedTimer timer;
      timer.start();
      FormatText(data.constData(), rows.data(), static_cast<quint8>(format), 16, data.size());
      rates.push_back(static_cast<double>(data.size()) / kMB / Seconds(timer));
    }
    std::printf("format %c\t%.0f MB/s\n", format, Median(rates));
  }
}

void MeasureMemory(qsizetype chunkSize) {
  Recording recording;
  const std::shared_ptr<SocketPair> pair = recording.Connect(1);
  const qsizetype total = std::min<qsizetype>(200'000'000, chunkSize * 500'000);
  const QByteArray source = RandomBytes(chunkSize);
  const double before = Resident();
  for (qsizetype done = 0; done < total; done += chunkSize) {
    // Memory of its own, as a chunk that was read has.
    QByteArray chunk(chunkSize, Qt::Uninitialized);
    std::memcpy(chunk.data(), source.constData(), static_cast<std::size_t>(chunkSize));
    recording.Relay(*pair, Payload(std::move(chunk)));
  }
  const double bytes = static_cast<double>(total);
  const double events =
      static_cast<double>(recording.mLogging.mobjSocketPairHistory.Item(1)->mobjSocketPairEvents.Count());
  const double grown = Resident() - before;
  std::printf("memory of chunks of %lld\t%.3f MB per MB\t%.0f bytes beside the data per event\n",
              static_cast<long long>(chunkSize), grown / bytes, (grown - bytes) / events);
  recording.ExpectNoFailure();
}

// Little data in each event, so that the time is that of the recorder.
void MeasureLive(int events, bool limited) {
  Recording recording;
  if (limited) recording.UseDefaultLimits();
  const std::shared_ptr<SocketPair> pair = recording.Connect(1);
  const Payload chunk(RandomBytes(100));
  constexpr int kTenths = 10;
  for (int tenth = 1; tenth <= kTenths; ++tenth) {
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < events / kTenths / 2; ++i)
      recording.Relay(*pair, chunk);
    std::printf("live, %s, tenth %d\t%.3f us per event\t%.1f MB resident\n",
                limited ? "default limits" : "no limits", tenth, Seconds(timer) * 1e6 * kTenths / events,
                Resident() / kMB);
  }
  recording.ExpectNoFailure();
}

void MeasurePurge(int histories, bool dead) {
  Recording recording;
  for (int number = 1; number <= histories; ++number) {
    const std::shared_ptr<SocketPair> pair = recording.Connect(number);
    recording.Relay(*pair, Payload(QByteArray("x")));
    if (dead) recording.mLogging.Dead(*pair);
  }
  recording.mLogging.KillDeadSocketConnections();
  std::vector<double> times;
  for (int round = 0; round < 2000; ++round) {
    QElapsedTimer timer;
    timer.start();
    recording.mLogging.KillDeadSocketConnections();
    times.push_back(Seconds(timer) * 1e6);
  }
  if (recording.mLogging.mobjSocketPairHistory.Count() != histories) std::abort();
  std::printf("purge with nothing to do, %d %s histories\t%.2f us\n", histories, dead ? "dead" : "live",
              Median(times));
  recording.ExpectNoFailure();
}

void MeasureEvent(qsizetype chunkSize, bool logFile) {
  Recording recording;
  recording.UseDefaultLimits();
  const std::shared_ptr<SocketPair> pair = recording.Connect(1);
  recording.mLogFile.chkLoggingEnabled.SetValue(logFile ? 1 : 0);
  const Payload chunk(RandomBytes(chunkSize));
  std::vector<double> times;
  for (int round = 0; round < 50; ++round) {
    constexpr int kRelays = 500;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < kRelays; ++i)
      recording.Relay(*pair, chunk);
    times.push_back(Seconds(timer) * 1e6 / (2 * kRelays));
  }
  std::printf("event of %lld bytes%s\t%.3f us\n", static_cast<long long>(chunkSize),
              logFile ? ", log file on" : "", Median(times));
  recording.ExpectNoFailure();
}

int Run(const QStringList& words) {
  const QString what = words.value(1);
  const int number = words.value(2).toInt();
  if (what == QStringLiteral("format")) {
    MeasureFormats();
  } else if (what == QStringLiteral("memory") && number > 0) {
    MeasureMemory(number);
  } else if (what == QStringLiteral("live") && number > 0) {
    MeasureLive(number, words.value(3) != QStringLiteral("unlimited"));
  } else if (what == QStringLiteral("purge") && number > 0) {
    MeasurePurge(number, words.value(3) == QStringLiteral("dead"));
  } else if (what == QStringLiteral("event") && number > 0) {
    MeasureEvent(number, words.value(3) == QStringLiteral("log"));
  } else {
    std::fprintf(stderr,
                 "history format | memory BYTES | live EVENTS [unlimited] | purge HISTORIES [dead] | "
                 "event BYTES [log]\n");
    return 2;
  }
  return 0;
}

}  // namespace
}  // namespace veltrane

int main(int argc, char* argv[]) {
  QCoreApplication application(argc, argv);
  return veltrane::Run(QCoreApplication::arguments());
}
