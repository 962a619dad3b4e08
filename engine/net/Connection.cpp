#include "engine/net/Connection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <linux/sockios.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <utility>

#include "engine/net/Reactor.h"
#include "engine/net/SocketErrors.h"
#include "engine/net/TcpSocket.h"

namespace veltrane {
namespace {

/// From this size on a read asks first how much there is and goes straight into memory of its own.
constexpr qsizetype kLargeRead = 16 * 1024;
/// How many pieces go to the kernel at once: many small ones make few packets.
constexpr int kSendPieces = 64;
/// A peer that sends on and on while its closed connection lingers is not read for ever.
constexpr int kDiscardRounds = 16;

/// From now on, and what waits already goes.
void DisableDelay(int descriptor) {
  const int on = 1;
  setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int PendingError(int descriptor) {
  int error = 0;
  socklen_t size = sizeof error;
  return getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

int Count(int descriptor, unsigned long request) {
  int bytes = 0;
  return ioctl(descriptor, request, &bytes) == 0 ? bytes : 0;
}

bool WouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

}  // namespace

Connection::Connection(Reactor& reactor, int descriptor, TcpSocket& owner)
    : Channel(reactor, descriptor), mOwner(&owner) {
  DisableDelay(descriptor);
}

std::shared_ptr<Connection> Connection::ToAddresses(Reactor& reactor, TcpSocket& owner,
                                                    const std::vector<in_addr>& addresses, in_port_t port) {
  auto connection = std::make_shared<Connection>(reactor, reactor.OpenSocket(), owner);
  connection->mConnecting = true;
  connection->ConnectTo(addresses.front(), port);
  connection->mOtherAddresses.assign(addresses.begin() + 1, addresses.end());
  return connection;
}

void Connection::Start() {
  UpdateWatch();
}

void Connection::ConnectTo(in_addr address, in_port_t port) {
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = port;
  peer.sin_addr = address;
  mOwner->mRemoteAddress = address;
  if (::connect(Descriptor(), reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0 &&
      errno != EINPROGRESS) {
    // A result that is known at once is told like any other: later.
    mConnectError = errno;
    PostEvent();
  }
}

void Connection::PostEvent() {
  mReactor.Post(shared_from_this());
}

void Connection::ServePosted() {
  if (!mOwner) return;
  if (mConnectError != 0) {
    ConnectFailed(mConnectError);
  } else if (mSendError != 0 && mStreamEnded) {
    Fail(mSendError);
  } else if (mCompletionDue && mQueue.isEmpty()) {
    mCompletionDue = false;
    TellCompletion();
  }
}

// A handler that drains a buffer sends the next piece from inside this event. The kernel may keep such a
// piece back until it has a packet full, or until none has followed: many small pieces make few packets.
void Connection::TellCompletion() {
  mMoreMayFollow = true;
  mReactor.Deliver([this] { mOwner->mEvents.SendComplete(); });
  mMoreMayFollow = false;
  if (IsOpen() && !mCompletionDue && std::exchange(mKeptBack, false)) DisableDelay(Descriptor());
}

void Connection::Writable() {
  // A socket whose attempt failed at once looks writable, too.
  if (mConnectError != 0) return;
  if (mConnecting) {
    FinishConnect();
  } else if (!mQueue.isEmpty()) {
    Flush();
  }
}

void Connection::FinishConnect() {
  const int error = PendingError(Descriptor());
  if (error != 0) {
    ConnectFailed(error);
    return;
  }
  mConnecting = false;
  mOwner->mState = SocketState::kConnected;
  mOwner->TakeLocalAddress(Descriptor());
  mOwner->TakeRemoteAddress(Descriptor());
  UpdateWatch();
  mReactor.Deliver([this] { mOwner->mEvents.Connect(); });
}

void Connection::ConnectFailed(int systemError) {
  if (mOtherAddresses.empty()) {
    Fail(systemError);
    return;
  }
  // The next address wants a descriptor of its own; the socket's owner sees only the last result.
  TcpSocket& owner = *mOwner;
  owner.Detach();
  owner.ConnectOrTell(mOtherAddresses);
}

void Connection::Send(const Payload& data) {
  if (mSendError != 0) return;
  const bool idle = mQueue.isEmpty();
  data.AppendTo(mQueue);
  mQueueCost += data.Cost();
  mCompletionDue = true;
  if (idle) Flush();
}

ssize_t Connection::SendPieces() {
  std::array<iovec, kSendPieces> pieces{};
  const auto count = static_cast<std::size_t>(std::min<qsizetype>(mQueue.size(), kSendPieces));
  for (std::size_t i = 0; i < count; ++i) {
    const Payload& piece = mQueue.at(static_cast<qsizetype>(i));
    pieces[i] = {const_cast<char*>(piece.Data()), static_cast<std::size_t>(piece.Size())};
  }
  msghdr message{};
  message.msg_iov = pieces.data();
  message.msg_iovlen = count;
  mKeptBack = mMoreMayFollow;
  return ::sendmsg(Descriptor(), &message, MSG_NOSIGNAL | MSG_DONTWAIT | (mMoreMayFollow ? MSG_MORE : 0));
}

void Connection::Flush() {
  while (!mQueue.isEmpty()) {
    qsizetype sent = SendPieces();
    if (sent < 0) {
      if (!WouldBlock(errno)) SendFailed(errno);
      break;
    }
    while (!mQueue.isEmpty() && sent >= mQueue.first().Size()) {
      const Payload gone = TakeFirst(mQueue);
      sent -= gone.Size();
      mQueueCost -= gone.Cost();
    }
    if (sent > 0) {
      mQueueCost -= sent;
      Payload& piece = mQueue.first();
      piece = piece.Piece(sent, piece.Size());
      break;
    }
  }
  if (mQueue.isEmpty()) {
    if (!mOwner) {
      ::shutdown(Descriptor(), SHUT_WR);
    } else if (mCompletionDue && mSendError == 0) {
      PostEvent();
    }
  }
  UpdateWatch();
}

// The peer is gone for our bytes. What it sent before may still wait to be read; the failure is told behind
// it, when the stream ends.
void Connection::SendFailed(int systemError) {
  mSendError = systemError;
  mQueue.clear();
  mQueueCost = 0;
  mPeerGone = true;
  // After the end of the stream nothing is read any more that could lead there.
  if (mStreamEnded) PostEvent();
  ::shutdown(Descriptor(), SHUT_RD);
}

ssize_t Connection::Receive() {
  if (mLastRead < kLargeRead) {
    const ssize_t count = ::recv(Descriptor(), mReactor.Scratch(), Reactor::kReadLimit, MSG_DONTWAIT);
    if (count > 0) mArrived = QByteArray(mReactor.Scratch(), count);
    return count;
  }
  const qsizetype waiting = std::clamp<qsizetype>(Count(Descriptor(), FIONREAD), 1, Reactor::kReadLimit);
  QByteArray bytes(waiting, Qt::Uninitialized);
  const ssize_t count = ::recv(Descriptor(), bytes.data(), static_cast<std::size_t>(waiting), MSG_DONTWAIT);
  if (count > 0) {
    if (count < waiting) bytes = QByteArray(bytes.constData(), count);
    mArrived = std::move(bytes);
  }
  return count;
}

void Connection::Readable() {
  if (!mOwner) {
    DiscardInput();
    return;
  }
  if (mConnecting) return;
  if (mStreamEnded || !mArrived.IsEmpty()) {
    UpdateWatch();
    return;
  }
  const ssize_t count = Receive();
  if (count > 0) {
    mLastRead = count;
    const ChannelRef keep = shared_from_this();
    mReactor.Deliver([&] { mOwner->mEvents.DataArrival(count); });
    // Bytes that nobody took stay, and no more are read until somebody does.
    if (IsOpen() && !mArrived.IsEmpty()) UpdateWatch();
  } else if (count == 0) {
    EndOfStream();
  } else if (!WouldBlock(errno)) {
    Fail(errno);
  }
}

void Connection::EndOfStream() {
  if (mSendError != 0) {
    Fail(mSendError);
    return;
  }
  mStreamEnded = true;
  mOwner->mState = SocketState::kPeerClosing;
  UpdateWatch();
  const ChannelRef keep = shared_from_this();
  mReactor.Deliver([this] { mOwner->mEvents.Close(); });
}

void Connection::Fail(int systemError) {
  const ChannelRef keep = shared_from_this();
  TcpSocket& owner = *mOwner;
  mPeerGone = true;
  mQueue.clear();
  mQueueCost = 0;
  owner.Detach();
  owner.TellError(SocketFailure(systemError));
}

Payload Connection::TakeArrived() {
  Payload arrived = std::exchange(mArrived, {});
  UpdateWatch();
  return arrived;
}

void Connection::UpdateWatch() {
  quint32 events = 0;
  if (mConnecting) {
    events = EPOLLOUT;
  } else {
    if (!mStreamEnded && mArrived.IsEmpty()) events |= EPOLLIN;
    if (!mQueue.isEmpty()) events |= EPOLLOUT;
  }
  mReactor.Watch(*this, events);
}

void Connection::DiscardInput() {
  for (int round = 0; round < kDiscardRounds; ++round) {
    const ssize_t count = ::recv(Descriptor(), mReactor.Scratch(), Reactor::kReadLimit, MSG_DONTWAIT);
    if (count > 0) continue;
    if (count == 0) mStreamEnded = true;
    if (count < 0 && !WouldBlock(errno)) mPeerGone = true;
    break;
  }
  UpdateWatch();
}

// Closing a descriptor that holds unread input, or that gets more input, makes the kernel drop what it still
// has to send. So the connection is kept, reading and forgetting, until the peer has everything.
bool Connection::MustLinger() {
  if (mConnecting || mPeerGone) return false;
  mArrived = {};
  if (!mStreamEnded) DiscardInput();
  if (mPeerGone) return false;
  if (!mQueue.isEmpty()) return true;
  if (mStreamEnded || Count(Descriptor(), SIOCOUTQ) == 0) return false;
  ::shutdown(Descriptor(), SHUT_WR);
  return true;
}

qint64 Connection::BytesUntaken() const {
  return mQueueCost + Count(Descriptor(), SIOCOUTQ);
}

bool Connection::IsDrained() {
  if (mPeerGone) return true;
  if (!mQueue.isEmpty()) return false;
  return mStreamEnded || Count(Descriptor(), SIOCOUTQ) == 0;
}

}  // namespace veltrane
