// Sockets driven by hand: a test sets the state, raises the events, and reads what was asked of them.
#pragma once

#include <QList>

#include "base/Failure.h"
#include "engine/Socket.h"
#include "tests/support/Journal.h"

namespace veltrane {

class StubSocketFactory;

class StubSocket : public Socket {
 public:
  StubSocket(StubSocketFactory& factory, SocketEvents& events, QString name, Journal& journal);
  ~StubSocket() override;

  qint32 LocalPort() const override { return mLocalPort; }
  void SetLocalPort(qint32 port) override { mLocalPort = port; }
  qint32 RemotePort() const override { return mRemotePort; }
  QString RemoteHost() const override { return mRemoteHost; }
  QString RemoteHostIP() const override { return mRemoteHostIP; }
  QString LocalIP() const override { return mLocalIP; }
  QString LocalHostName() const override { return QStringLiteral("thishost"); }
  SocketState State() const override { return mState; }

  void Listen() override {
    Note(QStringLiteral("Listen %1").arg(mLocalPort));
    if (OnListen) OnListen();
    MaybeFail(mListenFailure);
    if (!mListensLate) mState = SocketState::kListening;
  }
  void Accept(qint32 requestId) override {
    Note(QStringLiteral("Accept %1").arg(requestId));
    MaybeFail(mAcceptFailure);
    mState = SocketState::kConnected;
  }
  void Connect(const QString& host, qint32 port) override {
    Note(QStringLiteral("Connect %1:%2").arg(host).arg(port));
    MaybeFail(mConnectFailure);
    mState = SocketState::kConnecting;
  }
  void SendData(const Payload& data) override {
    Note(QStringLiteral("SendData %1")
             .arg(data.Size() > 40 ? QStringLiteral("%1 bytes").arg(data.Size())
                                   : QString::fromLatin1(data.Bytes())));
    MaybeFail(mSendFailure);
    mSent.append(data.View());
  }
  Payload GetData() override { return std::exchange(mArrived, {}); }
  void Close() override {
    Note(QStringLiteral("Close"));
    MaybeFail(mCloseFailure);
    mState = SocketState::kClosed;
  }

  // What the network does.
  void Arrive(const QByteArray& bytes) {
    mArrived = bytes;
    mEvents.DataArrival(bytes.size());
  }
  void PeerCloses() {
    mState = SocketState::kPeerClosing;
    mEvents.Close();
  }
  void Connected() {
    mState = SocketState::kConnected;
    mEvents.Connect();
  }
  void Fails(qint32 number, const QString& text) {
    mState = SocketState::kError;
    mEvents.Error(number, text);
  }
  void Sent() { mEvents.SendComplete(); }
  void Request(qint32 id, const QString& peer = QStringLiteral("127.0.0.1")) {
    mRemoteHostIP = peer;
    mEvents.ConnectionRequest(id);
  }

  const QString mName;
  SocketEvents& mEvents;
  SocketState mState = SocketState::kClosed;
  qint32 mLocalPort = 0;
  qint32 mRemotePort = 0;
  QString mRemoteHost, mRemoteHostIP, mLocalIP = QStringLiteral("127.0.0.1");
  QByteArray mSent;
  Payload mArrived;
  qint32 mListenFailure = 0, mAcceptFailure = 0, mConnectFailure = 0, mSendFailure = 0, mCloseFailure = 0;
  bool mListensLate = false;
  std::function<void()> OnListen;

 private:
  static void MaybeFail(qint32 number) {
    if (number != 0) throw Failure(number, QStringLiteral("failed on purpose"));
  }
  void Note(const QString& what);

  StubSocketFactory& mFactory;
  Journal& mJournal;
};

class StubSocketFactory : public SocketFactory {
 public:
  explicit StubSocketFactory(Journal& journal) : mJournal(journal) {}

  std::unique_ptr<Socket> CreateSocket(SocketEvents& events) override {
    const QString name = mNames.isEmpty() ? QStringLiteral("socket") : mNames.takeFirst();
    auto socket = std::make_unique<StubSocket>(*this, events, name, mJournal);
    socket->mListenFailure = mListenFailures.value(++mCreated, mListenFailure);
    if (OnCreate) OnCreate(*socket);
    mSockets.append(socket.get());
    return socket;
  }

  /// Sockets that exist, in the order of their making.
  QList<StubSocket*> mSockets;
  std::function<void(StubSocket&)> OnCreate;
  QStringList mNames;
  int mCreated = 0;
  qint32 mListenFailure = 0;
  QHash<int, qint32> mListenFailures;  // by the number of the socket, from 1

 private:
  Journal& mJournal;
};

inline StubSocket::StubSocket(StubSocketFactory& factory, SocketEvents& events, QString name,
                              Journal& journal)
    : mName(std::move(name)), mEvents(events), mFactory(factory), mJournal(journal) {}

inline StubSocket::~StubSocket() {
  mFactory.mSockets.removeOne(this);
}

inline void StubSocket::Note(const QString& what) {
  mJournal.Note(mName + u'.' + what);
}

}  // namespace veltrane
