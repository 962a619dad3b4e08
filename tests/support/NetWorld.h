// A network that tests can drive: sockets of the program's contract on one side, scripted peers on the other.
// FakeNet has both in memory, RealNet has both on loopback.
#pragma once

#include <QByteArray>

#include <functional>
#include <memory>

#include "base/Failure.h"
#include "engine/Socket.h"

namespace veltrane {

/// The other end of a connection. It reads all the time unless told to stop.
class Peer {
 public:
  virtual ~Peer() = default;

  /// Sends as the other side takes it.
  virtual void Send(const QByteArray& bytes) = 0;
  /// No more will be sent; reading goes on.
  virtual void HalfClose() = 0;
  /// Closes in good order, after all that was sent.
  virtual void Close() = 0;
  virtual void Reset() = 0;
  virtual void StopReading() = 0;
  virtual void ResumeReading() = 0;

  const QByteArray& Received() const { return mReceived; }
  /// The stream has ended, in good order or by a reset.
  bool SawEnd() const { return mSawEnd; }
  bool SawReset() const { return mSawReset; }

 protected:
  QByteArray mReceived;
  bool mSawEnd = false;
  bool mSawReset = false;
};

class PeerListener {
 public:
  virtual ~PeerListener() = default;
  virtual qint32 Port() const = 0;
  /// The next connection, or nullptr while there is none.
  virtual std::unique_ptr<Peer> Accept() = 0;
};

class NetWorld {
 public:
  virtual ~NetWorld() = default;

  virtual SocketFactory& Sockets() = 0;
  virtual std::unique_ptr<PeerListener> Listen() = 0;
  virtual std::unique_ptr<Peer> ConnectTo(qint32 port) = 0;
  /// A port of this machine on which nobody listens.
  virtual qint32 DeadPort() = 0;
  /// An address from which no answer ever comes; empty when this network has none.
  virtual QString SilentAddress() = 0;
  /// A name that does not resolve.
  virtual QString UnknownHost() = 0;
  /// Serves events until done, or until nothing happens any more. False when done never came.
  virtual bool Pump(const std::function<bool()>& done) = 0;
  /// Serves what is there.
  virtual void Settle() = 0;
};

/// Lets the socket listen on some port that is free.
inline void ListenOnFreePort(NetWorld& net, Socket& socket) {
  while (socket.State() != SocketState::kListening) {
    socket.SetLocalPort(net.DeadPort());
    try {
      socket.Listen();
    } catch (const Failure& failure) {
      // Another program may have taken the port meanwhile.
      if (failure.Number() != kSocketAddressInUse) throw;
    }
  }
}

}  // namespace veltrane
