#include "engine/net/TcpSocket.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "engine/net/Connection.h"
#include "engine/net/Listener.h"
#include "engine/net/Reactor.h"
#include "engine/net/SocketErrors.h"

namespace veltrane {
namespace {

QString Dotted(in_addr address) {
  std::array<char, INET_ADDRSTRLEN> text{};
  inet_ntop(AF_INET, &address, text.data(), text.size());
  return QString::fromLatin1(text.data());
}

/// The first address of the machine that is not the loopback one; the loopback one when it has no other.
in_addr MachineAddress() {
  in_addr result{htonl(INADDR_LOOPBACK)};
  ifaddrs* interfaces = nullptr;
  if (getifaddrs(&interfaces) != 0) return result;
  for (const ifaddrs* entry = interfaces; entry; entry = entry->ifa_next) {
    if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET) continue;
    if ((entry->ifa_flags & IFF_UP) == 0 || (entry->ifa_flags & IFF_LOOPBACK) != 0) continue;
    result = reinterpret_cast<const sockaddr_in*>(entry->ifa_addr)->sin_addr;
    break;
  }
  freeifaddrs(interfaces);
  return result;
}

QString MachineName() {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return {};
  return QString::fromLocal8Bit(name.data());
}

}  // namespace

TcpSocket::TcpSocket(Reactor& reactor, SocketEvents& events) : mReactor(reactor), mEvents(events) {}

TcpSocket::~TcpSocket() {
  Detach();
}

QString TcpSocket::RemoteHostIP() const {
  return mRemoteAddress.s_addr == INADDR_ANY ? QString() : Dotted(mRemoteAddress);
}

QString TcpSocket::LocalIP() const {
  return Dotted(mLocalAddress.s_addr == INADDR_ANY ? MachineAddress() : mLocalAddress);
}

QString TcpSocket::LocalHostName() const {
  static const QString name = MachineName();
  return name;
}

void TcpSocket::RequireState(bool allowed) const {
  if (!allowed) throw SocketFailure(mState == SocketState::kClosed ? ENOTCONN : EINVAL);
}

void TcpSocket::TakeLocalAddress(int descriptor) {
  sockaddr_in local{};
  socklen_t size = sizeof local;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&local), &size) != 0) return;
  mLocalAddress = local.sin_addr;
  mLocalPort = ntohs(local.sin_port);
}

// An outgoing connection, too, asks for it: one to 0.0.0.0 stands with another host than was asked for.
void TcpSocket::TakeRemoteAddress(int descriptor) {
  sockaddr_in peer{};
  socklen_t size = sizeof peer;
  if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0) return;
  mRemoteAddress = peer.sin_addr;
  mRemotePort = ntohs(peer.sin_port);
}

void TcpSocket::Listen() {
  RequireState(!mConnection && !mListener);
  // On port 0 the system would choose one, where nobody looks for it.
  if (mLocalPort < 1 || mLocalPort > 65535) throw NumberedFailure(kSocketAddressNotAvailable);
  auto listener = std::make_shared<Listener>(mReactor, mReactor.OpenSocket(), *this);
  const int descriptor = listener->Descriptor();
  // Lets a port be served again while old connections of it are still being forgotten by the kernel; a port
  // that somebody listens on stays taken.
  const int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in local{};
  local.sin_family = AF_INET;
  local.sin_port = htons(static_cast<in_port_t>(mLocalPort));
  local.sin_addr.s_addr = htonl(INADDR_ANY);
  if (::bind(descriptor, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0 ||
      ::listen(descriptor, SOMAXCONN) != 0) {
    const Failure failure = SocketFailure(errno);
    mReactor.Release(listener);
    throw failure;
  }
  TakeLocalAddress(descriptor);
  listener->Start();
  mListener = std::move(listener);
  mState = SocketState::kListening;
}

void TcpSocket::Accept(qint32 requestId) {
  RequireState(!mConnection && !mListener);
  const Reactor::Request request = mReactor.TakeRequest(requestId);
  if (request.descriptor < 0) throw Failure(FailureNumber::kBadArgument);
  mConnection = std::make_shared<Connection>(mReactor, request.descriptor, *this);
  mRemoteAddress = request.address;
  mRemotePort = request.port;
  TakeLocalAddress(request.descriptor);
  mState = SocketState::kConnected;
  mConnection->Start();
}

void TcpSocket::Connect(const QString& remoteHost, qint32 remotePort) {
  RequireState(!mConnection && !mListener && mState != SocketState::kConnecting);
  if (remotePort < 0 || remotePort > 65535) throw NumberedFailure(kSocketAddressNotAvailable);
  mRemoteHost = remoteHost;
  mRemotePort = remotePort;
  mRemoteAddress.s_addr = INADDR_ANY;
  mLocalPort = 0;
  in_addr address{};
  const bool isText = !remoteHost.contains(QChar::Null);
  if (isText && inet_pton(AF_INET, remoteHost.toLatin1().constData(), &address) == 1) {
    ConnectToAddresses({address});
    return;
  }
  mState = SocketState::kConnecting;
  mLookup = mReactor.Lookup().Start(remoteHost, [this](const NameLookup::Result& result) {
    mLookup = 0;
    if (result.addresses.empty()) {
      TellError(LookupFailure(result.lookupError, result.systemError));
    } else {
      ConnectOrTell(result.addresses);
    }
  });
}

void TcpSocket::ConnectToAddresses(const std::vector<in_addr>& addresses) {
  mConnection =
      Connection::ToAddresses(mReactor, *this, addresses, htons(static_cast<in_port_t>(mRemotePort)));
  mState = SocketState::kConnecting;
  mConnection->Start();
}

void TcpSocket::ConnectOrTell(const std::vector<in_addr>& addresses) {
  try {
    ConnectToAddresses(addresses);
  } catch (...) {
    TellError(CurrentFailure());
  }
}

void TcpSocket::TellError(const Failure& failure) {
  mState = SocketState::kError;
  mReactor.Deliver([&] { mEvents.Error(failure.Number(), failure.Text()); });
}

void TcpSocket::SendData(const Payload& data) {
  RequireState(mConnection && (mState == SocketState::kConnected || mState == SocketState::kPeerClosing));
  if (!data.IsEmpty()) mConnection->Send(data);
}

Payload TcpSocket::GetData() {
  return mConnection ? mConnection->TakeArrived() : Payload();
}

void TcpSocket::Close() {
  Detach();
  mState = SocketState::kClosed;
}

void TcpSocket::Detach() {
  if (mLookup != 0) mReactor.Lookup().Cancel(std::exchange(mLookup, 0));
  if (const auto connection = std::exchange(mConnection, nullptr)) {
    connection->Disown();
    mReactor.Release(connection);
  }
  if (const auto listener = std::exchange(mListener, nullptr)) {
    listener->Disown();
    mReactor.Release(listener);
  }
}

}  // namespace veltrane
