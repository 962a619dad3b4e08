// An FTP handler between stub sockets, and what its data ports leave in listener, tree and store.
#pragma once

#include "protocols/ProtocolFTP.h"
#include "tests/protocols/HandlerTest.h"

namespace veltrane {

inline const QString kEphemeralText = QStringLiteral("FTP Data - Dynamically allocated");

struct FtpTest : HandlerTest {
  FtpTest() : HandlerTest(QStringLiteral("FTP")) {}

  /// The control connection is logged in and idle.
  void LogIn() {
    AcceptAndSay("USER UserId@FTPSite\r\n");
    Connect();
    client->Arrive("220 real\r\n");
    client->Sent();
    client->mLocalIP = QStringLiteral("10.0.0.7");
    Take();
  }
  /// The numbers that the next draws give, so that the ports are these.
  void NextPorts(std::initializer_list<qint32> ports) {
    for (const qint32 port : ports)
      world.mRandom.mNumbers.append(static_cast<float>(port - 1024) / 3976.0F);
  }
  /// Which sockets made from now on cannot listen.
  void FailListening(int count, qint32 number) {
    for (int i = 1; i <= count; ++i)
      world.mSockets.mListenFailures[world.mSockets.mCreated + i] = number;
  }
  QString Text(qint32 port) {
    const TreeNode* node = world.mMain.tvwSockets.Find(ProtocolNodeKey(port));
    return node ? node->Text() : QStringLiteral("(none)");
  }
  StubSocket* DataListener(qint32 port) {
    Socket** socket = world.mGeneral.gobjListening->mcolListeningSocket.Find(ListeningSocketKey(port));
    return socket ? static_cast<StubSocket*>(*socket) : nullptr;
  }
  QStringList RowsOf(qint32 port) {
    const QString section = PortSection(QStringLiteral("Pass Through"), port);
    return {Get(kProtocols, QString::number(port)), Get(section, QStringLiteral("Port")),
            Get(section, QStringLiteral("Server")), Get(kPortsInUse, QString::number(port))};
  }
  QString Get(const QString& section, const QString& key) { return world.Get(section, key); }

  const QStringList kNoRows = QStringList(4, QStringLiteral("(none)"));
};

}  // namespace veltrane
