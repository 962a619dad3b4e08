#include "tests/support/RealNet.h"

#include <arpa/inet.h>
#include <cerrno>
#include <dirent.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace veltrane {
namespace {

sockaddr_in Loopback(qint32 port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<in_port_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int NewSocket() {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (descriptor < 0) throw std::runtime_error("no socket");
  return descriptor;
}

}  // namespace

class RealPeer : public Peer {
 public:
  RealPeer(RealNet& net, int descriptor) : mNet(net), mDescriptor(descriptor) { mNet.mPeers.append(this); }
  ~RealPeer() override {
    CloseDescriptor();
    mNet.mPeers.removeOne(this);
  }

  void Send(const QByteArray& bytes) override { mOut.append(bytes); }
  void HalfClose() override {
    mHalfCloseDue = true;
    Serve();
  }
  void Close() override {
    mCloseDue = true;
    Serve();
  }
  void Reset() override {
    if (mDescriptor < 0) return;
    const linger now{1, 0};
    setsockopt(mDescriptor, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    CloseDescriptor();
  }
  void StopReading() override { mReading = false; }
  void ResumeReading() override { mReading = true; }

  /// Reads and writes what goes; true when anything did.
  bool Serve() {
    if (mDescriptor < 0) return false;
    bool busy = Write();
    if (mDescriptor >= 0 && mReading && !mSawEnd) busy = Read() || busy;
    return busy;
  }

 private:
  bool Write() {
    bool busy = false;
    while (!mOut.isEmpty()) {
      const ssize_t count = ::send(mDescriptor, mOut.constData() + mOutDone,
                                   static_cast<std::size_t>(mOut.size() - mOutDone), MSG_NOSIGNAL);
      if (count < 0 && errno != EAGAIN && errno != ENOTCONN) mOut.clear();
      if (count <= 0) break;
      busy = true;
      mOutDone += count;
      if (mOutDone == mOut.size()) {
        mOut.clear();
        mOutDone = 0;
      }
    }
    if (mOut.isEmpty()) {
      mOutDone = 0;
      if (mCloseDue) {
        CloseDescriptor();
      } else if (mHalfCloseDue) {
        mHalfCloseDue = false;
        ::shutdown(mDescriptor, SHUT_WR);
      }
    }
    return busy;
  }

  bool Read() {
    static std::vector<char> scratch(256 * 1024);
    const ssize_t count = ::recv(mDescriptor, scratch.data(), scratch.size(), 0);
    if (count > 0) {
      mReceived.append(scratch.data(), count);
      return true;
    }
    if (count < 0 && (errno == EAGAIN || errno == ENOTCONN)) return false;
    mSawEnd = true;
    mSawReset = count < 0;
    return true;
  }

  void CloseDescriptor() {
    if (mDescriptor >= 0) ::close(mDescriptor);
    mDescriptor = -1;
  }

  RealNet& mNet;
  int mDescriptor;
  QByteArray mOut;
  qsizetype mOutDone = 0;
  bool mReading = true;
  bool mHalfCloseDue = false;
  bool mCloseDue = false;
};

class RealPeerListener : public PeerListener {
 public:
  explicit RealPeerListener(RealNet& net) : mNet(net), mDescriptor(NewSocket()) {
    sockaddr_in address = Loopback(0);
    socklen_t size = sizeof address;
    if (::bind(mDescriptor, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(mDescriptor, SOMAXCONN) != 0 ||
        getsockname(mDescriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
      throw std::runtime_error("cannot listen");
    }
    mPort = ntohs(address.sin_port);
  }
  ~RealPeerListener() override { ::close(mDescriptor); }

  qint32 Port() const override { return mPort; }
  std::unique_ptr<Peer> Accept() override {
    const int descriptor = ::accept4(mDescriptor, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    return descriptor < 0 ? nullptr : std::make_unique<RealPeer>(mNet, descriptor);
  }

 private:
  RealNet& mNet;
  int mDescriptor;
  qint32 mPort = 0;
};

std::unique_ptr<PeerListener> RealNet::Listen() {
  return std::make_unique<RealPeerListener>(*this);
}

std::unique_ptr<Peer> RealNet::ConnectTo(qint32 port) {
  const int descriptor = NewSocket();
  const sockaddr_in address = Loopback(port);
  if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
      errno != EINPROGRESS) {
    throw std::runtime_error("cannot connect");
  }
  return std::make_unique<RealPeer>(*this, descriptor);
}

qint32 RealNet::DeadPort() {
  return RealPeerListener(*this).Port();
}

bool RealNet::ServePeers() {
  bool busy = false;
  for (RealPeer* peer : QList<RealPeer*>(mPeers))
    busy = peer->Serve() || busy;
  return busy;
}

bool RealNet::Pump(const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + mPatience;
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    const bool busy = ServePeers();
    mReactor.Wait(std::chrono::milliseconds(busy ? 0 : 1));
    mTimers.RunDue();
  }
  return true;
}

void RealNet::Settle() {
  // Loopback carries at once; a few quiet rounds say that nothing is on the way.
  for (int quiet = 0; quiet < 5;) {
    const bool busy = ServePeers();
    quiet = mReactor.Wait(std::chrono::milliseconds(2)) || busy ? 0 : quiet + 1;
    mTimers.RunDue();
  }
}

int OpenDescriptors() {
  int count = 0;
  DIR* folder = opendir("/proc/self/fd");
  if (!folder) return -1;
  while (readdir(folder))
    ++count;
  closedir(folder);
  return count - 3;  // ".", ".." and the folder itself
}

}  // namespace veltrane
