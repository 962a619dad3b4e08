// A recorder among fakes, and connections for it.
#pragma once

#include <gtest/gtest.h>

#include "history/Logging.h"
#include "protocols/ProtocolPassThru.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"

namespace veltrane {

struct LoggingTest : testing::Test {
  LoggingTest() {
    world.mGeneral.gobjLogging = &logging;
    world.mGeneral.gblnRecordEvents = true;
    logging.SetSurroundings(fakes.Around(world.mMain));
    world.StartListening();
    Select(QStringLiteral("ROOT"));
  }

  /// A pair as Listening makes it, its client at 10.0.0.1:4000, on port 1000.
  SocketPair& MakePair(const QString& key = QStringLiteral("KEY1")) {
    auto pair = std::make_shared<SocketPair>(world.mGeneral);
    pair->SetSocketPairKey(key);
    world.mGeneral.gobjListening->mobjSocketPairs.Add(pair, key);
    server = world.mSockets.mSockets[world.mSockets.mSockets.size() - 2];
    client = world.mSockets.mSockets.last();
    server->mRemoteHostIP = QStringLiteral("10.0.0.1");
    server->mRemotePort = 4000;
    server->mLocalPort = 1000;
    return *pair;
  }
  SocketPair& Accepted(const QString& key = QStringLiteral("KEY1")) {
    SocketPair& pair = MakePair(key);
    logging.LocalServerAcceptedConnection(pair, true, 1000);
    Take();
    return pair;
  }
  /// The connection to 10.0.0.9:80 stands.
  SocketPair& Connected(const QString& key = QStringLiteral("KEY1")) {
    SocketPair& pair = Accepted(key);
    client->mRemoteHostIP = QStringLiteral("10.0.0.9");
    client->mRemoteHost = QStringLiteral("10.0.0.9");
    client->mRemotePort = 80;
    client->mLocalPort = 5000;
    logging.ConnectionAttemptSuccessful(pair, false, QStringLiteral(" "));
    Take();
    return pair;
  }
  /// So many connections, which have all ended but for those named.
  void MakeConnections(int count, const QList<int>& alive = {}) {
    for (int i = 1; i <= count; ++i) {
      SocketPair& pair = Accepted(QStringLiteral("KEY%1").arg(i));
      if (!alive.contains(i)) logging.Dead(pair);
    }
    Take();
  }

  SocketPairHistory& History(const QString& key = QStringLiteral("KEY1")) {
    return *logging.mobjSocketPairHistory.Item(key);
  }
  const SocketEvent& Event(qsizetype position) { return *History().mobjSocketPairEvents.Item(position); }
  const SocketEvent& LastEvent() { return Event(History().mobjSocketPairEvents.Count()); }
  QStringList Keys() {
    QStringList keys;
    for (qsizetype i = 1; i <= logging.mobjSocketPairHistory.Count(); ++i)
      keys.append(logging.mobjSocketPairHistory.KeyAt(i));
    return keys;
  }

  TreeView& Tree() { return world.mMain.tvwSockets; }
  ListView& Grid() { return world.mMain.lvwDetails; }
  TreeNode& Node(const QString& key) { return Tree().Node(key); }
  void Select(const QString& key) { Tree().SetSelectedItem(&Node(key)); }
  /// The node of port 1000, open.
  void OpenPort() { world.AddNode(1000, QStringLiteral("Apps (1000)")).SetExpanded(true); }
  static QStringList Children(const TreeNode& node) {
    QStringList keys;
    for (qsizetype i = 0; i < node.ChildCount(); ++i)
      keys.append(node.Child(i).Key());
    return keys;
  }
  QStringList Take() { return world.mJournal.Take(); }
  static Payload Bytes(qsizetype count) { return QByteArray(count, 'x'); }

  void RefreshRow(ListItem& row, const SocketPairHistory& history) {
    logging.RefreshDetailsRow(row, history);
  }
  // The private ones that have no caller in the system yet.
  QByteArray Dump(QByteArrayView data) { return logging.FormatDataToHex(data); }
  static int HexDigitValue(char digit) { return Logging::GetHexDigitValue(digit); }

  World world;
  HistoryFakes fakes{world.mJournal};
  Logging logging{world.mGeneral};
  StubSocket* server = nullptr;
  StubSocket* client = nullptr;
};

}  // namespace veltrane
