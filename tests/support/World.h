// A whole system of fakes around a General, for tests of the logic.
#pragma once

#include <QTemporaryDir>

#include "engine/General.h"
#include "engine/Listening.h"
#include "engine/PortTable.h"
#include "protocols/ProtocolTable.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/FakeMainWindow.h"
#include "tests/support/FakeSchedule.h"
#include "tests/support/JournalRecorder.h"
#include "tests/support/MemoryStore.h"
#include "tests/support/ScriptedRandom.h"
#include "tests/support/StubSocket.h"

namespace veltrane {

class ErrorLog : public ErrorSink {
 public:
  void LogError(const QString& text) override {
    mTexts.append(text);
    if (OnError) OnError(text);
  }
  QStringList mTexts;
  std::function<void(const QString&)> OnError;
};

struct World {
  static constexpr qint64 kMachineMemory = 16'000'000'000;

  World() : World(nullptr) {}
  /// With another network than the stubs, other chance than the script's, and other protocols.
  explicit World(SocketFactory* network, RandomGenerator* random = nullptr,
                 ProtocolTable protocols = AllProtocols())
      : mGeneral({mStore, network ? *network : mSockets, mTimers, mClock, random ? *random : mRandom,
                  mDesktop, mErrors, QStringLiteral("/opt/veltrane"), mWriteFolder.path(), kMachineMemory},
                 std::move(protocols)) {
    mGeneral.gobjLogging = &mRecorder;
    mGeneral.frmMain = &mMain;
    mGeneral.frmProblemSimulation = &mSchedule;
  }

  void Save(const QString& section, const QString& key, const QString& value) {
    mStore.SaveSetting(kApplicationName, section, key, value);
  }
  QString Get(const QString& section, const QString& key) {
    return mStore.GetSetting(kApplicationName, section, key, QStringLiteral("(none)"));
  }
  /// A row of the port table, and the destination of a Pass Through port.
  void AddPort(qint32 port, const QString& protocol, const QString& description) {
    Save(kPortsInUse, QString::number(port), description);
    Save(kProtocols, QString::number(port), protocol);
  }
  void SetDestination(qint32 port, const QString& server, qint32 serverPort) {
    const QString section = PortSection(QStringLiteral("Pass Through"), port);
    Save(section, QStringLiteral("Port"), QString::number(serverPort));
    Save(section, QStringLiteral("Server"), server);
  }
  TreeNode& AddNode(qint32 port, const QString& text) {
    return mMain.tvwSockets.Add(QStringLiteral("ROOT"), ProtocolNodeKey(port), text,
                                QStringLiteral("Protocol"));
  }
  Listening& StartListening() {
    mGeneral.gobjListening = std::make_shared<Listening>(mGeneral);
    mGeneral.gobjListening->InitaliseListeningSockets();
    return *mGeneral.gobjListening;
  }

  QTemporaryDir mWriteFolder;
  Journal mJournal;
  MemoryStore mStore;
  FakeClock mClock;
  FakeTimers mTimers{mClock};
  ScriptedRandom mRandom;
  FakeDesktop mDesktop{mJournal};
  StubSocketFactory mSockets{mJournal};
  ErrorLog mErrors;
  JournalRecorder mRecorder{mJournal};
  FakeMainWindow mMain{mDesktop, mJournal};
  FakeSchedule mSchedule{mJournal};
  General mGeneral;
};

}  // namespace veltrane
