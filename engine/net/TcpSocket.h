// The real socket: a face over the channel that it has while it is open. It keeps the addresses, so that they
// can be read after the channel has gone.
#pragma once

#include <memory>
#include <netinet/in.h>
#include <vector>

#include "base/Failure.h"
#include "engine/Socket.h"

namespace veltrane {

class Connection;
class Listener;
class Reactor;

class TcpSocket : public Socket {
 public:
  TcpSocket(Reactor& reactor, SocketEvents& events);
  ~TcpSocket() override;
  TcpSocket(const TcpSocket&) = delete;
  TcpSocket& operator=(const TcpSocket&) = delete;

  qint32 LocalPort() const override { return mLocalPort; }
  void SetLocalPort(qint32 port) override { mLocalPort = port; }
  qint32 RemotePort() const override { return mRemotePort; }
  QString RemoteHost() const override { return mRemoteHost; }
  QString RemoteHostIP() const override;
  QString LocalIP() const override;
  QString LocalHostName() const override;
  SocketState State() const override { return mState; }

  void Listen() override;
  void Accept(qint32 requestId) override;
  void Connect(const QString& remoteHost, qint32 remotePort) override;
  void SendData(const Payload& data) override;
  Payload GetData() override;
  void Close() override;

 private:
  friend class Connection;
  friend class Listener;

  void RequireState(bool allowed) const;
  void ConnectToAddresses(const std::vector<in_addr>& addresses);
  /// The same from the event loop: what fails at once is told as an event.
  void ConnectOrTell(const std::vector<in_addr>& addresses);
  void TellError(const Failure& failure);
  void TakeLocalAddress(int descriptor);
  void TakeRemoteAddress(int descriptor);
  void Detach();

  Reactor& mReactor;
  SocketEvents& mEvents;
  std::shared_ptr<Connection> mConnection;
  std::shared_ptr<Listener> mListener;
  QString mRemoteHost;
  quint64 mLookup = 0;
  qint32 mLocalPort = 0;
  qint32 mRemotePort = 0;
  in_addr mLocalAddress{INADDR_ANY};
  in_addr mRemoteAddress{INADDR_ANY};
  SocketState mState = SocketState::kClosed;
};

}  // namespace veltrane
