// The socket contract: what the logic needs of a TCP socket. engine/net keeps it with real sockets, the
// tests with fakes, and one suite of tests runs against both.
#pragma once

#include <QString>

#include <functional>
#include <memory>

#include "base/Payload.h"

namespace veltrane {

/// The states that the logic tests have fixed numbers, because they appear in reports.
enum class SocketState : qint16 {
  kClosed = 0,
  kListening = 2,
  kConnecting = 6,
  kConnected = 7,
  kPeerClosing = 8,  // the peer has closed; data may still wait to be read
  kError = 9,
};

/// The failure of Listen that others than the sockets know of: a port that the logic keeps to itself counts
/// as in use, in the same words.
constexpr qint32 kSocketAddressInUse = 10048;
constexpr const char* kSocketAddressInUseText = "Address in use";

/// The events of one socket. All come from the event loop, never from inside a call on the socket.
class SocketEvents {
 public:
  virtual ~SocketEvents() = default;

  /// On a listening socket: a peer wants to connect. A request that no socket has accepted when this
  /// returns is closed.
  virtual void ConnectionRequest(qint32 requestId) { Q_UNUSED(requestId) }
  /// The outgoing connection stands.
  virtual void Connect() {}
  /// bytes is how much there was when the event was raised; GetData hands over all that has arrived.
  virtual void DataArrival(qsizetype bytes) { Q_UNUSED(bytes) }
  /// All that SendData queued has left.
  virtual void SendComplete() {}
  /// The peer has closed, and all that it sent before has been announced.
  virtual void Close() {}
  /// The socket failed and is of no more use; number is one of engine/net's error table.
  virtual void Error(qint32 number, const QString& description) {
    Q_UNUSED(number)
    Q_UNUSED(description)
  }
};

/// A socket may be destroyed inside one of its own events.
class Socket {
 public:
  virtual ~Socket() = default;

  /// 0 until set, listening, connected or accepted.
  virtual qint32 LocalPort() const = 0;
  virtual void SetLocalPort(qint32 port) = 0;

  // Addresses are dotted IPv4 text. They keep their last values after Close. Those of the peer are empty
  // before there is one; from a Connect on they are what is tried, also when that fails. A listening socket
  // has those of the peer whose request it announced last. Before there is a connection, LocalIP is the
  // machine's own address.
  virtual qint32 RemotePort() const = 0;
  /// The peer's name as given to Connect; empty when unknown.
  virtual QString RemoteHost() const = 0;
  virtual QString RemoteHostIP() const = 0;
  virtual QString LocalIP() const = 0;
  virtual QString LocalHostName() const = 0;
  virtual SocketState State() const = 0;

  /// Listens on LocalPort on all addresses. Fails with the system's number (10048 in use, 10013 not
  /// allowed, 10049 no port, as 0 is, ...); the state is kListening when it returns.
  virtual void Listen() = 0;
  /// On a fresh socket, inside the ConnectionRequest event: takes that connection over.
  virtual void Accept(qint32 requestId) = 0;
  /// Starts an outgoing connection to a name or a dotted address. The result is the event Connect or Error;
  /// what is impossible from the start (a port that cannot exist) fails at once.
  virtual void Connect(const QString& remoteHost, qint32 remotePort) = 0;
  /// Queues data; SendComplete follows as a later event, once for all that is queued by then. Sending
  /// nothing does nothing. Fails when the socket is not connected.
  virtual void SendData(const Payload& data) = 0;
  /// Takes all that has arrived.
  virtual Payload GetData() = 0;
  /// Closes. What is queued still goes out, as long as the peer takes it. No event follows.
  virtual void Close() = 0;

  /// Free text for the owner.
  const QString& Tag() const { return mTag; }
  void SetTag(const QString& tag) { mTag = tag; }

 private:
  QString mTag;
};

class SocketFactory {
 public:
  virtual ~SocketFactory() = default;
  /// events is borrowed and must outlive the socket.
  virtual std::unique_ptr<Socket> CreateSocket(SocketEvents& events) = 0;

  /// Told by how many bytes of memory that which closed sockets still hold for their peers has grown or
  /// shrunk.
  std::function<void(qint64)> OnLingering;
  /// Asked about a closed socket whose peer has taken nothing for 30 s, with the bytes of memory that it
  /// holds: true drops them and ends the connection.
  std::function<bool(qint64)> MayGiveUp;
};

}  // namespace veltrane
