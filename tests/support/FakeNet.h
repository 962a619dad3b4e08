// A network in memory that keeps the socket contract: what one end sends waits in a buffer of limited size
// until the other reads it. Events come one at a time from Step, in a fixed or, with a seed, a random order.
#pragma once

#include <QList>

#include <memory>
#include <random>

#include "tests/support/NetWorld.h"

namespace veltrane {

class FakeSocket;
class FakePeer;
class FakePeerListener;

/// One direction's receiving half: what has come from the other end and was not read yet.
struct FakeEnd {
  QByteArray inbox;
  QByteArray outbox;     // queued by the sender, not yet in the other's inbox
  bool closing = false;  // no more will be sent; the other learns of it behind the last byte
  bool gone = false;     // nobody reads here any more
  bool finArrived = false;
  bool resetArrived = false;
  std::weak_ptr<FakeEnd> other;
};
using FakeEndRef = std::shared_ptr<FakeEnd>;

class FakeNet : public NetWorld, public SocketFactory {
 public:
  explicit FakeNet(qsizetype capacity = 64 * 1024) : mCapacity(capacity) {}

  std::unique_ptr<Socket> CreateSocket(SocketEvents& events) override;
  SocketFactory& Sockets() override { return *this; }
  std::unique_ptr<PeerListener> Listen() override;
  std::unique_ptr<Peer> ConnectTo(qint32 port) override;
  qint32 DeadPort() override { return mNextPort++; }
  QString SilentAddress() override { return QStringLiteral("192.0.2.1"); }
  QString UnknownHost() override { return QStringLiteral("no-such-host.invalid"); }
  bool Pump(const std::function<bool()>& done) override;
  void Settle() override;

  /// Moves bytes, lets peers read, and delivers at most one event. False when there was nothing to do.
  bool Step();
  void Shuffle(unsigned seed) {
    mShuffled = true;
    mRandom.seed(seed);
  }
  /// How many bytes may wait unread at an end.
  void SetCapacity(qsizetype capacity) { mCapacity = capacity; }
  /// How many sockets of the program exist.
  qsizetype SocketCount() const { return mSockets.size(); }
  /// How many of them are not closed.
  qsizetype OpenCount() const;

 private:
  friend class FakeSocket;
  friend class FakePeer;
  friend class FakePeerListener;

  bool MoveBytes();
  bool Move(FakeEnd& from);
  FakeEndRef NewEnd();
  void ConnectEnds(const FakeEndRef& one, const FakeEndRef& two);
  FakeSocket* ListenerOn(qint32 port);
  FakePeerListener* PeerListenerOn(qint32 port);

  qsizetype mCapacity;
  QList<FakeSocket*> mSockets;
  QList<FakePeer*> mPeers;
  QList<FakePeerListener*> mPeerListeners;
  QList<FakeEndRef> mEnds;
  qint32 mNextPort = 40000;
  qint32 mNextRequest = 0;
  qsizetype mTurn = 0;
  bool mShuffled = false;
  std::mt19937 mRandom;
};

}  // namespace veltrane
