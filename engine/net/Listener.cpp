#include "engine/net/Listener.h"

#include <arpa/inet.h>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/socket.h>

#include "engine/net/Reactor.h"
#include "engine/net/SocketErrors.h"
#include "engine/net/TcpSocket.h"

namespace veltrane {
namespace {

bool IsShortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace

void Listener::Start() {
  mReactor.Watch(*this, EPOLLIN);
}

void Listener::Readable() {
  const ChannelRef keep = shared_from_this();
  do {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    const int descriptor =
        ::accept4(Descriptor(), reinterpret_cast<sockaddr*>(&peer), &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor >= 0) {
      Announce(descriptor, peer);
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      mReactor.DescriptorsSuffice();
      return;
    } else if (IsShortage(errno)) {
      AcceptFailed(errno);
      return;
    }
    // Other errors belong to the one request, whose peer has gone already.
  } while (IsOpen() && !mReactor.BudgetIsSpent());
}

void Listener::Announce(int descriptor, const sockaddr_in& peer) {
  mOwner->mRemoteAddress = peer.sin_addr;
  mOwner->mRemotePort = ntohs(peer.sin_port);
  const qint32 request = mReactor.KeepRequest({descriptor, mOwner->mRemoteAddress, mOwner->mRemotePort});
  mReactor.Deliver([&] { mOwner->mEvents.ConnectionRequest(request); });
  const int unaccepted = mReactor.TakeRequest(request).descriptor;
  if (unaccepted >= 0) mReactor.CloseDescriptor(unaccepted);
}

void Listener::AcceptFailed(int systemError) {
  if (!mReactor.WaitForDescriptors(shared_from_this())) return;
  const Failure failure = SocketFailure(systemError);
  mReactor.Deliver([&] { mOwner->mEvents.Error(failure.Number(), failure.Text()); });
}

}  // namespace veltrane
