// A history by hand, the save dialog over it, and a folder to save to.
#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "history/Logging.h"
#include "reports/frmSaveHistory.h"
#include "tests/support/World.h"

namespace veltrane {

inline QByteArray ReadFile(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}

inline void PutFile(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
    throw std::runtime_error("cannot write " + path.toStdString());
  }
}

/// All byte values in order.
inline QByteArray EveryByte() {
  QByteArray bytes;
  for (int code = 0; code < 256; ++code)
    bytes.append(static_cast<char>(code));
  return bytes;
}

/// A World with a program folder that a test can fill.
struct ReportWorld : World {
  QTemporaryDir mProgramFolder{QDir::tempPath() + QStringLiteral("/program-XXXXXX")};
  General mOwn{{mStore, mSockets, mTimers, mClock, mRandom, mDesktop, mErrors, mProgramFolder.path(),
                mWriteFolder.path()},
               AllProtocols()};
  Logging mLogging{mOwn};
  ReportWorld() { mOwn.frmMain = &mMain; }
};

struct ReportTest : testing::Test {
  ReportTest() {
    history = std::make_shared<SocketPairHistory>();
    history->mstrSocketPairKey = QStringLiteral("KEY7");
    history->mstrRemoteClientIP = QStringLiteral("10.0.0.1");
    history->mlngRemoteClientPort = 5001;
    history->mstrRemoteServerIP = QStringLiteral("10.0.0.2");
    history->mlngRemoteServerPort = 80;
    history->mlngLocalServerPort = 8080;
    history->mlngLocalClientPort = 6001;
    history->mlngWasListeningOnPort = 8080;
    world.mLogging.mobjSocketPairHistory.Add(history, history->mstrSocketPairKey);
    tree.Add(QStringLiteral("ROOT"), QStringLiteral("KEY7"), QStringLiteral("Connection"),
             QStringLiteral("Socket"));
    tree.Add(QStringLiteral("KEY7"), QStringLiteral("KEY7-1"), QStringLiteral("Event"),
             QStringLiteral("Event"));
    tree.SetSelectedItem(tree.Find(QStringLiteral("KEY7")));
  }

  /// The time is 10:00:00 and as many ms as there are events before.
  SocketEvent& Add(int kind, const QByteArray& data = {}, bool followOn = false) {
    auto event = std::make_shared<SocketEvent>();
    const auto count = static_cast<int>(history->mobjSocketPairEvents.Count());
    event->mstrEventTime = QStringLiteral("10:00:00.%1").arg(count, 3, 10, QLatin1Char('0'));
    event->mobjEventType = static_cast<SocketEventType>(kind);
    event->mstrData = Payload(data);
    event->mstrDescription = QStringLiteral("Event of kind %1").arg(kind);
    event->mblnNextEventFollowOn = followOn;
    history->AddEvent(event);
    return *event;
  }
  void AddAllKinds(const QByteArray& data = {}) {
    for (int kind = 0; kind < kSocketEventTypes; ++kind)
      Add(kind, kind >= 9 && kind <= 18 ? data : QByteArray());
  }
  QString Path(const QString& name) const { return folder.filePath(name); }
  QStringList Errors() { return std::exchange(world.mErrors.mTexts, {}); }

  ReportWorld world;
  TreeView& tree = world.mMain.tvwSockets;
  SocketPairHistoryRef history;
  QTemporaryDir folder{QDir::tempPath() + QStringLiteral("/reports-XXXXXX")};
  frmSaveHistory form{world.mOwn, world.mLogging, world.mMain};
};

}  // namespace veltrane
