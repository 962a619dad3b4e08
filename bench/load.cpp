// The load generator: a server that sends, swallows or echoes, and clients that measure bulk rate, round
// trips and new connections. What a connection is for stands in its first nine bytes: a letter and a count of
// bytes, little-endian.
//
//   load serve PORT
//   load bulk PORT CONNECTIONS MEGABYTES down|up   prints MB/s
//   load watched PORT MEGABYTES down|up            connects, prints a line, waits for one; then as bulk with
//   one
//                                                  connection
//   load stalled PORT MEGABYTES                    asks for so much, prints a line and reads nothing until it
//   gets
//                                                  one; then reads all and prints MB/s
//   load hold PORT CONNECTIONS                     opens them, each with one round trip, prints a line, holds
//   them
//                                                  until it gets one
//   load rtt PORT COUNT BYTES                      prints p50 and p99 in microseconds
//   load connect PORT SECONDS [CLIENTS]            prints connections a second, one request each; so many
//   clients
//                                                  at once, usually one
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netinet/tcp.h>
#include <stdexcept>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kChunk = 256 * 1024;
constexpr char kSource = 'S';  // the server sends so many bytes
constexpr char kSink = 'K';    // the server swallows so many and answers one byte
constexpr char kEcho = 'E';    // the server sends back what it gets
constexpr std::size_t kHeader = 9;
constexpr int kSendsInATurn = 4;

[[noreturn]] void Fail(const char* what) {
  std::perror(what);
  std::exit(1);
}

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<in_port_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

void NoDelay(int descriptor) {
  const int on = 1;
  setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

int ConnectTo(int port) {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) Fail("socket");
  const sockaddr_in address = Loopback(port);
  if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) Fail("connect");
  NoDelay(descriptor);
  return descriptor;
}

void SendAll(int descriptor, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t sent = send(descriptor, data, size, MSG_NOSIGNAL);
    if (sent <= 0) Fail("send");
    data += sent;
    size -= static_cast<std::size_t>(sent);
  }
}

void ReceiveAll(int descriptor, char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t got = recv(descriptor, data, size, 0);
    if (got <= 0) Fail("recv");
    data += got;
    size -= static_cast<std::size_t>(got);
  }
}

void SendHeader(int descriptor, char command, std::uint64_t bytes) {
  std::array<char, kHeader> header{};
  header[0] = command;
  std::memcpy(header.data() + 1, &bytes, sizeof bytes);
  SendAll(descriptor, header.data(), header.size());
}

/// The server's side of one connection.
class Served {
 public:
  explicit Served(int descriptor) : mDescriptor(descriptor) {}

  /// Reads and writes what goes. False when the connection is over.
  bool Serve(std::vector<char>& scratch) {
    while (mHeaderBytes < kHeader) {
      const ssize_t got = recv(mDescriptor, mHeader.data() + mHeaderBytes, kHeader - mHeaderBytes, 0);
      if (got <= 0) return got < 0 && errno == EAGAIN;
      mHeaderBytes += static_cast<std::size_t>(got);
      if (mHeaderBytes == kHeader) std::memcpy(&mLeft, mHeader.data() + 1, sizeof mLeft);
    }
    switch (mHeader[0]) {
      case kSource:
        return Send(scratch);
      case kSink:
        return Swallow(scratch);
      default:
        return Echo(scratch);
    }
  }
  bool WantsToWrite() const { return mHeaderBytes == kHeader && mHeader[0] == kSource && mLeft > 0; }

 private:
  bool Send(const std::vector<char>& scratch) {
    // Others have their turn in between, however fast this one is read.
    for (int turn = 0; turn < kSendsInATurn && mLeft > 0; ++turn) {
      const std::size_t size = std::min<std::uint64_t>(scratch.size(), mLeft);
      const ssize_t sent = send(mDescriptor, scratch.data(), size, MSG_NOSIGNAL);
      if (sent <= 0) return errno == EAGAIN;
      mLeft -= static_cast<std::uint64_t>(sent);
    }
    if (mLeft > 0) return true;
    char byte = 0;
    const ssize_t got = recv(mDescriptor, &byte, 1, 0);
    return got > 0 || (got < 0 && errno == EAGAIN);
  }
  bool Swallow(std::vector<char>& scratch) {
    while (true) {
      const ssize_t got = recv(mDescriptor, scratch.data(), scratch.size(), 0);
      if (got <= 0) return got < 0 && errno == EAGAIN;
      mLeft -= std::min<std::uint64_t>(mLeft, static_cast<std::uint64_t>(got));
      if (mLeft == 0) send(mDescriptor, "k", 1, MSG_NOSIGNAL);
    }
  }
  bool Echo(std::vector<char>& scratch) const {
    while (true) {
      const ssize_t got = recv(mDescriptor, scratch.data(), scratch.size(), 0);
      if (got <= 0) return got < 0 && errno == EAGAIN;
      send(mDescriptor, scratch.data(), static_cast<std::size_t>(got), MSG_NOSIGNAL);
    }
  }

  int mDescriptor;
  std::array<char, kHeader> mHeader{};
  std::size_t mHeaderBytes = 0;
  std::uint64_t mLeft = 0;
};

int RunServer(int port) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in address = Loopback(port);
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) Fail("bind");
  if (listen(listener, SOMAXCONN) != 0) Fail("listen");
  const int poll = epoll_create1(EPOLL_CLOEXEC);
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = listener;
  epoll_ctl(poll, EPOLL_CTL_ADD, listener, &event);
  std::unordered_map<int, Served> connections;
  std::vector<char> scratch(kChunk, 'x');
  std::array<epoll_event, 256> events{};
  while (true) {
    const int count = epoll_wait(poll, events.data(), static_cast<int>(events.size()), -1);
    for (int i = 0; i < count; ++i) {
      const int descriptor = events[static_cast<std::size_t>(i)].data.fd;
      if (descriptor == listener) {
        int accepted = 0;
        while ((accepted = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)) >= 0) {
          NoDelay(accepted);
          connections.emplace(accepted, Served(accepted));
          event.events = EPOLLIN;
          event.data.fd = accepted;
          epoll_ctl(poll, EPOLL_CTL_ADD, accepted, &event);
        }
        continue;
      }
      const auto found = connections.find(descriptor);
      if (found->second.Serve(scratch)) {
        event.events = EPOLLIN | (found->second.WantsToWrite() ? EPOLLOUT : 0U);
        event.data.fd = descriptor;
        epoll_ctl(poll, EPOLL_CTL_MOD, descriptor, &event);
      } else {
        connections.erase(found);
        close(descriptor);
      }
    }
  }
}

void ReadAway(int descriptor, std::uint64_t bytes) {
  std::vector<char> buffer(kChunk);
  for (std::uint64_t got = 0; got < bytes;) {
    const ssize_t count = recv(descriptor, buffer.data(), buffer.size(), 0);
    if (count <= 0) Fail("recv");
    got += static_cast<std::uint64_t>(count);
  }
}

void Transfer(int descriptor, std::uint64_t bytes, bool down) {
  if (down) {
    SendHeader(descriptor, kSource, bytes);
    ReadAway(descriptor, bytes);
  } else {
    std::vector<char> buffer(kChunk, 'y');
    SendHeader(descriptor, kSink, bytes);
    for (std::uint64_t sent = 0; sent < bytes;) {
      const std::size_t size = std::min<std::uint64_t>(buffer.size(), bytes - sent);
      SendAll(descriptor, buffer.data(), size);
      sent += size;
    }
    ReceiveAll(descriptor, buffer.data(), 1);
  }
}

void BulkConnection(int port, std::uint64_t bytes, bool down) {
  const int descriptor = ConnectTo(port);
  Transfer(descriptor, bytes, down);
  close(descriptor);
}

void PrintRate(std::uint64_t bytes, Clock::time_point start) {
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::printf("%.1f\n", static_cast<double>(bytes) / 1e6 / seconds);
}

/// Says that all is ready, and waits for a line.
void WaitForWord() {
  std::puts("ready");
  std::fflush(stdout);
  while (true) {
    const int character = std::getchar();
    if (character == '\n' || character == EOF) return;
  }
}

int RunWatched(int port, std::uint64_t megabytes, bool down) {
  const int descriptor = ConnectTo(port);
  WaitForWord();
  const auto start = Clock::now();
  Transfer(descriptor, megabytes * 1000000, down);
  PrintRate(megabytes * 1000000, start);
  close(descriptor);
  return 0;
}

int RunStalled(int port, std::uint64_t megabytes) {
  const int descriptor = ConnectTo(port);
  SendHeader(descriptor, kSource, megabytes * 1000000);
  WaitForWord();
  const auto start = Clock::now();
  ReadAway(descriptor, megabytes * 1000000);
  PrintRate(megabytes * 1000000, start);
  close(descriptor);
  return 0;
}

int RunHold(int port, int connections) {
  std::array<char, 100> message{};
  for (int i = 0; i < connections; ++i) {
    const int descriptor = ConnectTo(port);
    SendHeader(descriptor, kEcho, 0);
    SendAll(descriptor, message.data(), message.size());
    ReceiveAll(descriptor, message.data(), message.size());
  }
  WaitForWord();
  return 0;
}

int RunBulk(int port, int connections, std::uint64_t megabytes, bool down) {
  const std::uint64_t each = megabytes * 1000000 / static_cast<std::uint64_t>(connections);
  const auto start = Clock::now();
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(connections));
  for (int i = 0; i < connections; ++i)
    threads.emplace_back(BulkConnection, port, each, down);
  for (std::thread& thread : threads)
    thread.join();
  PrintRate(each * static_cast<std::uint64_t>(connections), start);
  return 0;
}

int RunRoundTrips(int port, int count, std::size_t bytes) {
  const int descriptor = ConnectTo(port);
  SendHeader(descriptor, kEcho, 0);
  std::vector<char> message(bytes, 'm');
  std::vector<double> times;
  times.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    const auto start = Clock::now();
    SendAll(descriptor, message.data(), bytes);
    ReceiveAll(descriptor, message.data(), bytes);
    times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
  close(descriptor);
  std::sort(times.begin(), times.end());
  const auto at = [&](double share) {
    return times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1))];
  };
  std::printf("%.1f %.1f\n", at(0.5), at(0.99));
  return 0;
}

/// One connection after another, each with one request, until the time is over; how many there were.
int ConnectUntil(int port, Clock::time_point end) {
  std::array<char, 100> message{};
  int count = 0;
  for (; Clock::now() < end; ++count) {
    const int descriptor = ConnectTo(port);
    SendHeader(descriptor, kEcho, 0);
    SendAll(descriptor, message.data(), message.size());
    ReceiveAll(descriptor, message.data(), message.size());
    // A reset leaves no port behind that has to wait.
    const linger now{1, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    close(descriptor);
  }
  return count;
}

int RunConnects(int port, int seconds, int clients) {
  const auto start = Clock::now();
  std::atomic<int> count = 0;
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(clients));
  for (int i = 0; i < clients; ++i)
    threads.emplace_back([&] { count += ConnectUntil(port, start + std::chrono::seconds(seconds)); });
  for (std::thread& thread : threads)
    thread.join();
  std::printf("%.1f\n", count / std::chrono::duration<double>(Clock::now() - start).count());
  return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  const auto number = [&](std::size_t i) { return std::atoi(words.at(i).c_str()); };
  try {
    if (words.at(0) == "serve") return RunServer(number(1));
    if (words.at(0) == "bulk") {
      return RunBulk(number(1), number(2), static_cast<std::uint64_t>(number(3)), words.at(4) == "down");
    }
    if (words.at(0) == "watched") {
      return RunWatched(number(1), static_cast<std::uint64_t>(number(2)), words.at(3) == "down");
    }
    if (words.at(0) == "stalled") return RunStalled(number(1), static_cast<std::uint64_t>(number(2)));
    if (words.at(0) == "hold") return RunHold(number(1), number(2));
    if (words.at(0) == "rtt") return RunRoundTrips(number(1), number(2), static_cast<std::size_t>(number(3)));
    if (words.at(0) == "connect") return RunConnects(number(1), number(2), words.size() > 3 ? number(3) : 1);
  } catch (const std::out_of_range&) {
  }
  std::fputs("usage: load serve|bulk|watched|stalled|hold|rtt|connect ...; see the head of bench/load.cpp\n",
             stderr);
  return 2;
}
