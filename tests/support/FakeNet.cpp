#include "tests/support/FakeNet.h"

#include <QHash>

#include <algorithm>

#include "engine/net/SocketErrors.h"

namespace veltrane {

class FakeSocket : public Socket {
 public:
  FakeSocket(FakeNet& net, SocketEvents& events) : mNet(net), mEvents(events) { mNet.mSockets.append(this); }
  ~FakeSocket() override {
    Release();
    mNet.mSockets.removeOne(this);
  }

  qint32 LocalPort() const override { return mLocalPort; }
  void SetLocalPort(qint32 port) override { mLocalPort = port; }
  qint32 RemotePort() const override { return mRemotePort; }
  QString RemoteHost() const override { return mRemoteHost; }
  QString RemoteHostIP() const override { return mRemoteHostIP; }
  QString LocalIP() const override { return QStringLiteral("127.0.0.1"); }
  QString LocalHostName() const override { return QStringLiteral("thishost"); }
  SocketState State() const override { return mState; }

  void Listen() override {
    if (mLocalPort < 1 || mLocalPort > 65535) throw NumberedFailure(kSocketAddressNotAvailable);
    if (mNet.ListenerOn(mLocalPort) || mNet.PeerListenerOn(mLocalPort)) {
      throw NumberedFailure(kSocketAddressInUse);
    }
    mState = SocketState::kListening;
  }
  void Accept(qint32 requestId) override {
    // A request lives while its event runs, and only the socket that announced it knows it.
    for (FakeSocket* socket : std::as_const(mNet.mSockets)) {
      if (socket->mAnnounced != requestId || !socket->mAnnouncedEnd) continue;
      mEnd = std::exchange(socket->mAnnouncedEnd, nullptr);
      mLocalPort = socket->mLocalPort;
      mRemotePort = 50000 + requestId;
      mRemoteHostIP = QStringLiteral("127.0.0.1");
      mState = SocketState::kConnected;
      return;
    }
    throw Failure(FailureNumber::kBadArgument);
  }
  void Connect(const QString& host, qint32 port) override {
    if (port < 0 || port > 65535) throw NumberedFailure(kSocketAddressNotAvailable);
    mRemoteHost = host;
    mRemotePort = port;
    mState = SocketState::kConnecting;
    mConnecting = true;
  }
  void SendData(const Payload& data) override {
    if (mState != SocketState::kConnected && mState != SocketState::kPeerClosing) {
      throw NumberedFailure(kSocketNotConnected);
    }
    if (data.IsEmpty() || mEnd->resetArrived) return;
    mEnd->outbox.append(data.View());
    mCompletionDue = true;
    mNet.Move(*mEnd);
  }
  Payload GetData() override {
    mAnnouncedBytes = 0;
    return mEnd ? Payload(std::exchange(mEnd->inbox, {})) : Payload();
  }
  void Close() override {
    Release();
    mState = SocketState::kClosed;
  }

  /// Delivers one event that is due.
  bool Deliver() {
    if (mConnecting) return DeliverConnect();
    if (!mRequests.isEmpty()) return DeliverRequest();
    if (!mEnd) return false;
    if (mCompletionDue && mEnd->outbox.isEmpty() && !mEnd->resetArrived) {
      mCompletionDue = false;
      mEvents.SendComplete();
      return true;
    }
    // Bytes that nobody takes are announced once.
    if (!mEnd->inbox.isEmpty()) {
      if (mAnnouncedBytes == mEnd->inbox.size()) return false;
      mAnnouncedBytes = mEnd->inbox.size();
      mEvents.DataArrival(mEnd->inbox.size());
      return true;
    }
    if (mEnd->resetArrived) {
      Release();
      mState = SocketState::kError;
      const Failure failure = NumberedFailure(kSocketReset);
      mEvents.Error(failure.Number(), failure.Text());
      return true;
    }
    if (mEnd->finArrived && !mEndTold) {
      mEndTold = true;
      mState = SocketState::kPeerClosing;
      mEvents.Close();
      return true;
    }
    return false;
  }

  void Request(const FakeEndRef& end) { mRequests.append(end); }

 private:
  friend class FakeNet;

  bool DeliverConnect() {
    if (mRemoteHost == mNet.SilentAddress()) return false;
    mConnecting = false;
    const bool known =
        mRemoteHost == QStringLiteral("127.0.0.1") || mRemoteHost == QStringLiteral("localhost");
    if (!known) return FailConnect(kHostNotFound);
    mRemoteHostIP = QStringLiteral("127.0.0.1");
    FakeSocket* listener = mNet.ListenerOn(mRemotePort);
    FakePeerListener* peerListener = mNet.PeerListenerOn(mRemotePort);
    if (!listener && !peerListener) return FailConnect(kSocketRefused);
    mEnd = mNet.NewEnd();
    const FakeEndRef other = mNet.NewEnd();
    mNet.ConnectEnds(mEnd, other);
    Join(listener, peerListener, other);
    mLocalPort = mNet.mNextPort++;
    mState = SocketState::kConnected;
    mEvents.Connect();
    return true;
  }
  static void Join(FakeSocket* listener, FakePeerListener* peerListener, const FakeEndRef& end);

  bool FailConnect(qint32 number) {
    mState = SocketState::kError;
    const Failure failure = NumberedFailure(number);
    mEvents.Error(failure.Number(), failure.Text());
    return true;
  }

  bool DeliverRequest() {
    mAnnouncedEnd = mRequests.takeFirst();
    mAnnounced = ++mNet.mNextRequest;
    mRemotePort = 50000 + mAnnounced;
    mRemoteHostIP = QStringLiteral("127.0.0.1");
    const std::weak_ptr<int> alive = mAlive;
    const FakeEndRef end = mAnnouncedEnd;
    mEvents.ConnectionRequest(mAnnounced);
    if (alive.expired()) return true;
    if (mAnnouncedEnd == end) {
      // Nobody accepted it.
      end->closing = end->gone = true;
      mAnnouncedEnd = nullptr;
    }
    return true;
  }

  void Release() {
    mConnecting = false;
    mRequests.clear();
    if (!mEnd) return;
    mEnd->closing = true;
    mEnd->gone = true;
    mEnd->inbox.clear();
    mEnd = nullptr;
  }

  FakeNet& mNet;
  SocketEvents& mEvents;
  FakeEndRef mEnd;
  QList<FakeEndRef> mRequests;
  FakeEndRef mAnnouncedEnd;
  qint32 mAnnounced = 0;
  qsizetype mAnnouncedBytes = 0;
  QString mRemoteHost, mRemoteHostIP;
  qint32 mLocalPort = 0;
  qint32 mRemotePort = 0;
  SocketState mState = SocketState::kClosed;
  bool mConnecting = false;
  bool mCompletionDue = false;
  bool mEndTold = false;
  /// Ends with the socket: an event may destroy it, and may pump the net, so that events stand in each other.
  std::shared_ptr<int> mAlive = std::make_shared<int>();
};

class FakePeer : public Peer {
 public:
  FakePeer(FakeNet& net, FakeEndRef end) : mNet(net), mEnd(std::move(end)) { mNet.mPeers.append(this); }
  ~FakePeer() override {
    Close();
    mNet.mPeers.removeOne(this);
  }

  void Send(const QByteArray& bytes) override {
    if (mEnd && !mEnd->resetArrived) mEnd->outbox.append(bytes);
  }
  void HalfClose() override {
    if (mEnd) mEnd->closing = true;
  }
  void Close() override {
    if (!mEnd) return;
    mEnd->closing = true;
    mEnd->gone = true;
    // Closing with bytes unread resets the connection, as the kernel does.
    if (!mEnd->inbox.isEmpty()) ResetOther();
    mEnd = nullptr;
  }
  void Reset() override {
    if (!mEnd) return;
    ResetOther();
    mEnd->gone = true;
    mEnd->outbox.clear();
    mEnd = nullptr;
  }
  void StopReading() override { mReading = false; }
  void ResumeReading() override { mReading = true; }

  bool Read() {
    if (!mEnd || !mReading) return false;
    if (!mEnd->inbox.isEmpty()) {
      mReceived.append(std::exchange(mEnd->inbox, {}));
      return true;
    }
    if (mSawEnd || !(mEnd->finArrived || mEnd->resetArrived)) return false;
    mSawEnd = true;
    mSawReset = mEnd->resetArrived;
    return true;
  }

 private:
  void ResetOther() {
    if (const FakeEndRef other = mEnd->other.lock()) {
      other->resetArrived = true;
      other->outbox.clear();
    }
  }

  FakeNet& mNet;
  FakeEndRef mEnd;
  bool mReading = true;
};

class FakePeerListener : public PeerListener {
 public:
  FakePeerListener(FakeNet& net, qint32 port) : mNet(net), mPort(port) { mNet.mPeerListeners.append(this); }
  ~FakePeerListener() override { mNet.mPeerListeners.removeOne(this); }

  qint32 Port() const override { return mPort; }
  std::unique_ptr<Peer> Accept() override {
    if (mWaiting.isEmpty()) return nullptr;
    return std::make_unique<FakePeer>(mNet, mWaiting.takeFirst());
  }
  void Request(const FakeEndRef& end) { mWaiting.append(end); }

 private:
  FakeNet& mNet;
  qint32 mPort;
  QList<FakeEndRef> mWaiting;
};

void FakeSocket::Join(FakeSocket* listener, FakePeerListener* peerListener, const FakeEndRef& end) {
  if (listener) {
    listener->Request(end);
  } else {
    peerListener->Request(end);
  }
}

std::unique_ptr<Socket> FakeNet::CreateSocket(SocketEvents& events) {
  return std::make_unique<FakeSocket>(*this, events);
}

std::unique_ptr<PeerListener> FakeNet::Listen() {
  return std::make_unique<FakePeerListener>(*this, mNextPort++);
}

std::unique_ptr<Peer> FakeNet::ConnectTo(qint32 port) {
  const FakeEndRef mine = NewEnd();
  const FakeEndRef theirs = NewEnd();
  ConnectEnds(mine, theirs);
  if (FakeSocket* listener = ListenerOn(port)) {
    listener->Request(theirs);
  } else {
    mine->resetArrived = true;
  }
  return std::make_unique<FakePeer>(*this, mine);
}

FakeEndRef FakeNet::NewEnd() {
  auto end = std::make_shared<FakeEnd>();
  mEnds.append(end);
  return end;
}

void FakeNet::ConnectEnds(const FakeEndRef& one, const FakeEndRef& two) {
  one->other = two;
  two->other = one;
}

FakeSocket* FakeNet::ListenerOn(qint32 port) {
  for (FakeSocket* socket : mSockets) {
    if (socket->mState == SocketState::kListening && socket->mLocalPort == port) return socket;
  }
  return nullptr;
}

FakePeerListener* FakeNet::PeerListenerOn(qint32 port) {
  for (FakePeerListener* listener : mPeerListeners) {
    if (listener->Port() == port) return listener;
  }
  return nullptr;
}

qsizetype FakeNet::OpenCount() const {
  return std::count_if(mSockets.begin(), mSockets.end(), [](const FakeSocket* socket) {
    return socket->State() != SocketState::kClosed && socket->State() != SocketState::kError;
  });
}

/// Carries bytes, and behind the last of them the end of the stream.
bool FakeNet::Move(FakeEnd& from) {
  const FakeEndRef to = from.other.lock();
  if (!to) return false;
  bool moved = false;
  if (!from.outbox.isEmpty()) {
    if (to->gone) {
      // Bytes for nobody are answered by a reset.
      from.resetArrived = true;
      from.outbox.clear();
      return true;
    }
    const qsizetype room = mCapacity - to->inbox.size();
    const qsizetype count = std::min(room, from.outbox.size());
    if (count > 0) {
      to->inbox.append(from.outbox.constData(), count);
      from.outbox.remove(0, count);
      moved = true;
    }
  }
  if (from.outbox.isEmpty() && from.closing && !to->finArrived) {
    to->finArrived = true;
    moved = true;
  }
  return moved;
}

bool FakeNet::MoveBytes() {
  bool moved = false;
  for (const FakeEndRef& end : QList<FakeEndRef>(mEnds))
    moved = Move(*end) || moved;
  // An end that only this list still holds goes when its last word has been carried.
  mEnds.removeIf([](const FakeEndRef& end) {
    const FakeEndRef other = end->other.lock();
    return end.use_count() == 1 && end->outbox.isEmpty() &&
           (!other || other->finArrived || other->resetArrived);
  });
  return moved;
}

bool FakeNet::Step() {
  bool busy = MoveBytes();
  for (FakePeer* peer : QList<FakePeer*>(mPeers))
    busy = peer->Read() || busy;
  QList<FakeSocket*> order(mSockets);
  if (mShuffled) {
    std::shuffle(order.begin(), order.end(), mRandom);
  } else if (!order.isEmpty()) {
    // Everybody gets a turn.
    const qsizetype first = mTurn++ % order.size();
    std::rotate(order.begin(), order.begin() + first, order.end());
  }
  for (FakeSocket* socket : order) {
    if (mSockets.contains(socket) && socket->Deliver()) return true;
  }
  return busy;
}

bool FakeNet::Pump(const std::function<bool()>& done) {
  while (!done()) {
    if (!Step()) return done();
  }
  return true;
}

void FakeNet::Settle() {
  while (Step()) {
  }
}

}  // namespace veltrane
