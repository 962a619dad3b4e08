// What the real sockets do beyond the contract: error numbers, name look-up, shortage, fairness.
#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "engine/net/Reactor.h"
#include "engine/net/ReactorDriver.h"
#include "engine/net/SocketErrors.h"
#include "tests/support/FakeClock.h"
#include "tests/support/Journal.h"
#include "tests/support/RealNet.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;

struct Quiet : SocketEvents {
  void Connect() override { ++connects; }
  void Error(qint32 number, const QString& text) override {
    errors.append(number);
    texts.append(text);
  }
  void DataArrival(qsizetype) override {
    if (onData) onData();
  }
  void ConnectionRequest(qint32 id) override {
    if (onRequest) onRequest(id);
  }
  void SendComplete() override {
    if (onSent) onSent();
  }
  int connects = 0;
  QList<qint32> errors;
  QStringList texts;
  std::function<void()> onData;
  std::function<void(qint32)> onRequest;
  std::function<void()> onSent;
};

TEST(SocketErrors, The_numbers_that_the_logic_compares) {
  const QList<QPair<int, qint32>> rows{{EADDRINUSE, 10048},   {ETIMEDOUT, 10060},   {ECONNREFUSED, 10061},
                                       {ECONNRESET, 10054},   {EACCES, 10013},      {EMFILE, 10024},
                                       {EHOSTUNREACH, 10065}, {ENETUNREACH, 10051}, {EADDRNOTAVAIL, 10049}};
  for (const auto& [system, number] : rows) {
    EXPECT_EQ(SocketFailure(system).Number(), number);
    EXPECT_FALSE(SocketFailure(system).Text().isEmpty());
    EXPECT_EQ(SystemErrorOf(number), system);
  }
  EXPECT_EQ(SocketFailure(EPIPE).Number(), 10054);
}

TEST(SocketErrors, A_system_error_outside_the_table_keeps_its_number) {
  EXPECT_EQ(SocketFailure(EXDEV).Number(), EXDEV);
  EXPECT_FALSE(SocketFailure(EXDEV).Text().isEmpty());
  EXPECT_EQ(SystemErrorOf(4711), 0);
}

TEST(SocketErrors, Look_up_failures) {
  EXPECT_EQ(LookupFailure(EAI_NONAME, 0).Number(), 11001);
  EXPECT_EQ(LookupFailure(EAI_AGAIN, 0).Number(), 11002);
  EXPECT_EQ(LookupFailure(EAI_FAIL, 0).Number(), 11003);
  EXPECT_EQ(LookupFailure(EAI_SYSTEM, ETIMEDOUT).Number(), 10060);
  EXPECT_EQ(NumberedFailure(11001).Text(), QStringLiteral("Host not found"));
}

TEST(NameLookup, Hanging_look_ups_do_not_hold_others_back) {
  std::atomic<bool> release = false;
  RealNet net([&release](const std::string& name) {
    NameLookup::Result result;
    while (name.starts_with("slow") && !release)
      std::this_thread::sleep_for(milliseconds(1));
    result.lookupError = EAI_NONAME;
    return result;
  });
  Quiet slow;
  std::vector<std::unique_ptr<Socket>> sockets;
  sockets.reserve(20);
  for (int i = 0; i < 20; ++i) {
    sockets.push_back(net.mReactor.CreateSocket(slow));
    sockets.back()->Connect(QStringLiteral("slow%1").arg(i), 80);
  }
  Quiet quick;
  const auto socket = net.mReactor.CreateSocket(quick);
  socket->Connect(QStringLiteral("quick"), 80);
  EXPECT_TRUE(net.Pump([&] { return quick.errors == QList<qint32>{11001}; }));
  EXPECT_TRUE(slow.errors.isEmpty());
  release = true;
  EXPECT_TRUE(net.Pump([&] { return slow.errors.size() == 20; }));
}

TEST(NameLookup, What_can_be_no_name_is_not_found_and_asked_of_nobody) {
  for (const std::string& name :
       {std::string(255, 'a'), std::string(1'000'000, '.'), std::string("a\0b", 3)}) {
    const NameLookup::Result result = NameLookup::SystemResolver(name);
    EXPECT_EQ(result.lookupError, EAI_NONAME);
    EXPECT_TRUE(result.addresses.empty());
  }
}

TEST(NameLookup, Names_that_nobody_asks_for_any_more_do_not_pile_up_behind_a_silent_server) {
  std::atomic<bool> release = false;
  RealNet net([&release](const std::string&) {
    while (!release)
      std::this_thread::sleep_for(milliseconds(1));
    return NameLookup::Result{{}, EAI_NONAME, 0};
  });
  Quiet events;
  for (int i = 0; i < 1000; ++i) {
    // A client that asks and leaves.
    const auto socket = net.mReactor.CreateSocket(events);
    socket->Connect(QStringLiteral("silent%1").arg(i), 80);
  }
  EXPECT_EQ(net.mReactor.Lookup().QuestionCount(), 0);
  release = true;
  net.Settle();
  EXPECT_TRUE(events.errors.isEmpty());
}

/// Names that begin with "silent" get no answer before it goes; all others are unknown at once.
struct SilentServer {
  SilentServer() = default;
  ~SilentServer() { Release(); }
  SilentServer(const SilentServer&) = delete;
  SilentServer& operator=(const SilentServer&) = delete;

  NameLookup::Resolver Resolver() {
    return [state = mState](const std::string& name) {
      if (name.starts_with("silent")) {
        ++state->asked;
        while (!state->released)
          std::this_thread::sleep_for(milliseconds(1));
      }
      return NameLookup::Result{{}, EAI_NONAME, 0};
    };
  }
  int Asked() const { return mState->asked; }
  void Release() { mState->released = true; }

 private:
  struct State {
    std::atomic<int> asked = 0;
    std::atomic<bool> released = false;
  };
  std::shared_ptr<State> mState = std::make_shared<State>();
};

struct SilentNames : testing::Test {
  std::unique_ptr<Socket> Ask(const QString& name) {
    auto socket = net.mReactor.CreateSocket(events);
    socket->Connect(name, 80);
    return socket;
  }
  /// Clients that ask for a silent name, and leave when the server has been asked.
  void AskAndLeave(int count) {
    for (int i = 0; i < count; ++i) {
      const int before = server.Asked();
      const auto socket = Ask(QStringLiteral("silent%1").arg(i));
      ASSERT_TRUE(net.Pump([&] { return server.Asked() > before; })) << i;
    }
  }
  bool Found() {
    return net.Pump([&] { return events.errors == QList<qint32>{11001}; });
  }
  int Workers() { return net.mReactor.Lookup().WorkerCount(); }

  SilentServer server;
  RealNet net{server.Resolver()};
  Quiet events;
};

TEST_F(SilentNames, Whose_askers_have_left_hold_no_other_back) {
  AskAndLeave(40);
  const auto socket = Ask(QStringLiteral("quick"));
  EXPECT_TRUE(Found());
}

TEST_F(SilentNames, That_waits_behind_others_is_looked_up_when_an_asker_leaves) {
  std::vector<std::unique_ptr<Socket>> sockets;
  for (int i = 0; i < 32; ++i)
    sockets.push_back(Ask(QStringLiteral("silent%1").arg(i)));
  ASSERT_TRUE(net.Pump([&] { return server.Asked() == 32; }));
  const auto socket = Ask(QStringLiteral("quick"));
  net.Settle();
  EXPECT_TRUE(events.errors.isEmpty()) << "so many may hang";
  EXPECT_EQ(Workers(), 32);
  sockets.pop_back();
  EXPECT_TRUE(Found());
}

TEST_F(SilentNames, Take_256_threads_and_give_them_back) {
  AskAndLeave(256);
  EXPECT_EQ(Workers(), 256);
  const auto socket = Ask(QStringLiteral("quick"));
  net.Settle();
  EXPECT_EQ(Workers(), 256);
  EXPECT_EQ(net.mReactor.Lookup().QuestionCount(), 1);
  server.Release();
  EXPECT_TRUE(Found());
  EXPECT_TRUE(net.Pump([&] { return Workers() <= 32; }));
}

TEST(NameLookup, The_end_of_the_program_waits_for_no_answer) {
  static std::atomic<bool> release = false;
  const auto before = std::chrono::steady_clock::now();
  {
    RealNet net([](const std::string&) {
      while (!release)
        std::this_thread::sleep_for(milliseconds(1));
      return NameLookup::Result{};
    });
    Quiet events;
    const auto socket = net.mReactor.CreateSocket(events);
    socket->Connect(QStringLiteral("hangs"), 80);
    net.Settle();
  }
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
  release = true;
  std::this_thread::sleep_for(milliseconds(20));
}

TEST(NameLookup, An_answer_that_waits_at_the_end_of_the_program_reaches_nobody) {
  std::atomic<bool> answered = false;
  Quiet events;
  {
    RealNet net([&](const std::string&) {
      answered = true;
      NameLookup::Result result;
      result.addresses = {in_addr{htonl(INADDR_LOOPBACK)}};
      return result;
    });
    const auto socket = net.mReactor.CreateSocket(events);
    socket->Connect(QStringLiteral("known"), 1);
    while (!answered)
      std::this_thread::sleep_for(milliseconds(1));
    std::this_thread::sleep_for(milliseconds(20));
  }
  EXPECT_EQ(events.connects, 0);
  EXPECT_TRUE(events.errors.isEmpty());
}

TEST(NameLookup, The_next_address_is_tried_when_one_refuses) {
  RealNet net([](const std::string&) {
    NameLookup::Result result;
    result.addresses = {in_addr{htonl(0x7f000002)}, in_addr{htonl(0x7f000003)},
                        in_addr{htonl(INADDR_LOOPBACK)}};
    return result;
  });
  // The peer listens on 127.0.0.1 alone.
  const auto listener = net.Listen();
  Quiet events;
  const auto socket = net.mReactor.CreateSocket(events);
  socket->Connect(QStringLiteral("three"), listener->Port());
  ASSERT_TRUE(net.Pump([&] { return events.connects == 1; }));
  EXPECT_TRUE(events.errors.isEmpty());
  EXPECT_EQ(socket->RemoteHostIP(), QStringLiteral("127.0.0.1"));
  EXPECT_EQ(socket->RemoteHost(), QStringLiteral("three"));
}

TEST(NameLookup, When_all_addresses_refuse_the_last_result_is_told_once) {
  RealNet net([](const std::string&) {
    NameLookup::Result result;
    result.addresses = {in_addr{htonl(0x7f000002)}, in_addr{htonl(0x7f000003)}};
    return result;
  });
  Quiet events;
  const auto socket = net.mReactor.CreateSocket(events);
  socket->Connect(QStringLiteral("two"), net.DeadPort());
  ASSERT_TRUE(net.Pump([&] { return !events.errors.isEmpty(); }));
  net.Settle();
  EXPECT_EQ(events.errors, QList<qint32>{10061});
}

TEST(Reactor, Listen_without_permission_fails_with_10013) {
  const bool root = geteuid() == 0;
  ASSERT_EQ(root ? seteuid(65534) : 0, 0);
  RealNet net;
  Quiet events;
  const auto socket = net.mReactor.CreateSocket(events);
  socket->SetLocalPort(81);
  qint32 number = 0;
  try {
    socket->Listen();
  } catch (const Failure& failure) {
    number = failure.Number();
  }
  ASSERT_EQ(root ? seteuid(0) : 0, 0);
  if (number == 0) GTEST_SKIP() << "this machine lets everybody listen on port 81";
  EXPECT_EQ(number, 10013);
}

/// Lets the process have only a few descriptors more than it has: the limit goes to the number behind that
/// many free ones.
struct FewDescriptors {
  explicit FewDescriptors(int spare) {
    getrlimit(RLIMIT_NOFILE, &before);
    rlim_t limit = 0;
    for (int free = 0;; ++limit) {
      if (fcntl(static_cast<int>(limit), F_GETFD) < 0 && ++free > spare) break;
    }
    rlimit now = before;
    now.rlim_cur = limit;
    setrlimit(RLIMIT_NOFILE, &now);
  }
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before); }
  rlimit before{};
};

TEST(Reactor, Out_of_descriptors_is_reported_once_and_the_listener_goes_on_when_some_come_free) {
  RealNet net;
  net.mPatience = milliseconds(5000);
  Quiet server;
  Quiet accepted;
  std::vector<std::unique_ptr<Socket>> sockets;
  server.onRequest = [&](qint32 id) {
    sockets.push_back(net.mReactor.CreateSocket(accepted));
    sockets.back()->Accept(id);
  };
  const auto listening = net.mReactor.CreateSocket(server);
  ListenOnFreePort(net, *listening);
  // The peers' own descriptors are opened first.
  std::vector<std::unique_ptr<Peer>> peers;
  peers.reserve(12);
  for (int i = 0; i < 12; ++i)
    peers.push_back(net.ConnectTo(listening->LocalPort()));
  const FewDescriptors few(4);
  ASSERT_TRUE(net.Pump([&] { return !server.errors.isEmpty(); }));
  net.Settle();
  EXPECT_EQ(server.errors, QList<qint32>{10024});
  EXPECT_EQ(listening->State(), SocketState::kListening);
  const std::size_t served = sockets.size();
  EXPECT_LT(served, 12U);
  EXPECT_GT(served, 0U);

  // No busy loop: with nothing to do the reactor sleeps.
  EXPECT_FALSE(net.mReactor.Wait(milliseconds(50)));

  sockets.erase(sockets.begin(), sockets.begin() + 2);
  ASSERT_TRUE(net.Pump([&] { return sockets.size() >= served; }));
  net.Settle();
  EXPECT_EQ(server.errors.size(), 1);
  // One by one the rest is served as descriptors come free.
  int rounds = 0;
  std::size_t total = served + 2;
  while (total < 12 && ++rounds < 50) {
    const std::size_t before = sockets.size();
    sockets.erase(sockets.begin());
    net.Pump([&] { return sockets.size() >= before; });
    ++total;
  }
  EXPECT_EQ(total, 12U);
}

TEST(Reactor, A_listener_that_waits_for_descriptors_tries_again_by_itself) {
  RealNet net;
  net.mPatience = milliseconds(5000);
  Quiet server;
  Quiet accepted;
  std::vector<std::unique_ptr<Socket>> sockets;
  server.onRequest = [&](qint32 id) {
    sockets.push_back(net.mReactor.CreateSocket(accepted));
    sockets.back()->Accept(id);
  };
  const auto listening = net.mReactor.CreateSocket(server);
  ListenOnFreePort(net, *listening);
  const auto peer = net.ConnectTo(listening->LocalPort());
  {
    const FewDescriptors few(0);
    ASSERT_TRUE(net.Pump([&] { return !server.errors.isEmpty(); }));
  }
  // Nothing was closed here; only the limit rose. A tool that stands in for the system's limit may have taken
  // the first request off the queue, so a second one comes.
  const auto late = net.ConnectTo(listening->LocalPort());
  EXPECT_TRUE(net.Pump([&] { return !sockets.empty(); }));
}

TEST(Reactor, A_connection_accepted_with_the_last_descriptor_can_still_go_out) {
  RealNet net;
  const auto listener = net.Listen();
  Quiet events;
  const auto one = net.mReactor.CreateSocket(events);
  const auto two = net.mReactor.CreateSocket(events);
  const FewDescriptors few(0);
  one->Connect(QStringLiteral("127.0.0.1"), listener->Port());
  EXPECT_THROW(two->Connect(QStringLiteral("127.0.0.1"), listener->Port()), Failure);
  EXPECT_TRUE(net.Pump([&] { return events.connects == 1; }));
}

TEST(Reactor, No_descriptor_is_left_after_many_connections) {
  RealNet net;
  const int before = OpenDescriptors();
  const auto listener = net.Listen();
  for (int i = 0; i < 50; ++i) {
    Quiet events;
    const auto socket = net.mReactor.CreateSocket(events);
    socket->Connect(QStringLiteral("127.0.0.1"), listener->Port());
    std::unique_ptr<Peer> peer;
    ASSERT_TRUE(net.Pump([&] {
      if (!peer) peer = listener->Accept();
      return peer && events.connects == 1;
    }));
    if (i % 3 == 0) peer->Reset();
    if (i % 3 == 1) socket->SendData(QByteArray(100000, 'x'));
    if (i % 3 == 2) peer->Send(QByteArray(100000, 'x'));
    net.Settle();
  }
  net.Settle();
  EXPECT_EQ(net.mReactor.LingeringCount(), 0);
  EXPECT_EQ(OpenDescriptors(), before + 1);
}

TEST(Reactor, A_peer_that_hung_up_and_is_not_closed_does_not_keep_the_reactor_busy) {
  RealNet net;
  Quiet server;
  Quiet accepted;
  std::unique_ptr<Socket> socket;
  server.onRequest = [&](qint32 id) {
    socket = net.mReactor.CreateSocket(accepted);
    socket->Accept(id);
  };
  const auto listening = net.mReactor.CreateSocket(server);
  ListenOnFreePort(net, *listening);
  auto peer = net.ConnectTo(listening->LocalPort());
  ASSERT_TRUE(net.Pump([&] { return socket != nullptr; }));
  peer->Close();
  ASSERT_TRUE(net.Pump([&] { return socket->State() == SocketState::kPeerClosing; }));
  net.Settle();
  EXPECT_FALSE(net.mReactor.Wait(milliseconds(50)));
}

TEST(Reactor, A_failure_that_an_event_lets_out_goes_to_the_hook_and_the_reactor_goes_on) {
  RealNet net;
  QList<qint32> escaped;
  net.mReactor.OnEscapedFailure = [&](const Failure& failure) { escaped.append(failure.Number()); };
  Quiet server;
  server.onRequest = [&](qint32) { throw Failure(FailureNumber::kOverflow); };
  const auto listening = net.mReactor.CreateSocket(server);
  ListenOnFreePort(net, *listening);
  const auto one = net.ConnectTo(listening->LocalPort());
  const auto two = net.ConnectTo(listening->LocalPort());
  EXPECT_TRUE(net.Pump([&] { return escaped.size() == 2; }));
  EXPECT_TRUE(net.Pump([&] { return one->SawEnd() && two->SawEnd(); }));
}

// A multicast address takes no connection: the system refuses at once, and nothing is sent. A socket in that
// state looks writable, as one does whose connection stands.
TEST(Reactor, An_attempt_that_fails_at_once_is_an_error_and_never_a_connection) {
  RealNet net;
  const QString refusing = QStringLiteral("224.0.0.1");
  struct Chain : Quiet {
    void Error(qint32 number, const QString& text) override {
      Quiet::Error(number, text);
      if (onError) onError();
    }
    std::function<void()> onError;
  };
  Chain first;
  Quiet second;
  const auto firstSocket = net.mReactor.CreateSocket(first);
  const auto secondSocket = net.mReactor.CreateSocket(second);
  first.onError = [&] {
    secondSocket->Connect(refusing, 80);
    // Longer than the time for what is posted: the system's word on the second socket comes first.
    std::this_thread::sleep_for(milliseconds(5));
  };
  firstSocket->Connect(refusing, 80);
  EXPECT_EQ(firstSocket->State(), SocketState::kConnecting);
  EXPECT_TRUE(net.Pump([&] { return !second.errors.isEmpty(); }));
  EXPECT_EQ(first.errors, QList<qint32>{10051});
  EXPECT_EQ(second.errors, QList<qint32>{10051});
  EXPECT_EQ(first.connects + second.connects, 0);
  EXPECT_EQ(secondSocket->State(), SocketState::kError);
}

/// Goes on by a little at each look, as whoever waits by looking at it relies on.
class LookedAtClock : public FakeClock {
 public:
  Instant Steady() const override {
    mLooks += std::chrono::microseconds(1);
    return FakeClock::Steady() + mLooks;
  }

 private:
  mutable Instant mLooks{0};
};

TEST(Reactor, A_turn_ends_after_its_time_so_that_windows_get_theirs) {
  RealNet net;
  LookedAtClock clock;
  FakeTimers timers(clock);
  Reactor reactor(clock, timers);
  Quiet server;
  Quiet accepted;
  std::unique_ptr<Socket> socket;
  int arrivals = 0;
  accepted.onData = [&] {
    (void)socket->GetData();
    ++arrivals;
    clock.mSteady += milliseconds(2);
  };
  server.onRequest = [&](qint32 id) {
    socket = reactor.CreateSocket(accepted);
    socket->Accept(id);
  };
  const auto listening = reactor.CreateSocket(server);
  ListenOnFreePort(net, *listening);
  const auto peer = net.ConnectTo(listening->LocalPort());
  const auto turnUntil = [&](const std::function<bool()>& done) {
    return net.Pump([&] {
      reactor.Turn();
      return done();
    });
  };
  ASSERT_TRUE(turnUntil([&] { return socket != nullptr; }));
  peer->Send(QByteArray(8 * 1024 * 1024, 'x'));
  ASSERT_TRUE(turnUntil([&] { return arrivals > 0; }));
  for (int turn = 0; turn < 5; ++turn) {
    net.Settle();
    arrivals = 0;
    reactor.Turn();
    EXPECT_LE(arrivals, 2) << "4 ms have gone by";
    EXPECT_GE(arrivals, 1);
  }
}

TEST(Reactor, What_is_sent_from_a_completion_waits_for_more_only_as_long_as_the_completion_lasts) {
  RealNet net;
  Quiet server;
  Quiet accepted;
  std::unique_ptr<Socket> socket;
  server.onRequest = [&](qint32 id) {
    socket = net.mReactor.CreateSocket(accepted);
    socket->Accept(id);
  };
  const auto listening = net.mReactor.CreateSocket(server);
  ListenOnFreePort(net, *listening);
  const auto peer = net.ConnectTo(listening->LocalPort());
  ASSERT_TRUE(net.Pump([&] { return socket != nullptr; }));
  QByteArrayList pieces{"b", "c"};
  accepted.onSent = [&] {
    if (!pieces.isEmpty()) socket->SendData(Payload(pieces.takeFirst()));
  };
  socket->SendData(Payload("a"));
  // Takes some ms; a packet that waits for more would take 200.
  net.Settle();
  EXPECT_EQ(peer->Received(), QByteArray("abc"));
}

/// Five microseconds go by at each look at it.
struct SteppingClock : SystemClock {
  Instant Steady() const override {
    mNow += std::chrono::microseconds(5);
    if (onLook) onLook();
    return mNow;
  }
  std::function<void()> onLook;
  mutable Instant mNow{std::chrono::seconds(1)};
};

TEST(Reactor, An_answer_that_comes_at_once_is_served_in_the_same_turn_and_nothing_is_waited_for_else) {
  RealNet net;
  SteppingClock clock;
  TimerQueue timers{clock};
  Reactor reactor{clock, timers};
  Quiet server;
  Quiet accepted;
  std::unique_ptr<Socket> socket;
  QByteArray got;
  accepted.onData = [&] { got += socket->GetData().View().toByteArray(); };
  server.onRequest = [&](qint32 id) {
    socket = reactor.CreateSocket(accepted);
    socket->Accept(id);
  };
  const auto listening = reactor.CreateSocket(server);
  ListenOnFreePort(net, *listening);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<in_port_t>(listening->LocalPort()));
  const int peer = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(::connect(peer, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  while (!socket)
    reactor.Turn();
  ASSERT_EQ(::send(peer, "a", 1, 0), 1);
  // Some looks after what was served: the turn has found nothing more by then.
  int looks = 0;
  clock.onLook = [&] {
    if (got == "a" && ++looks == 4) ::send(peer, "b", 1, 0);
  };
  reactor.Turn();
  EXPECT_EQ(got, QByteArray("ab"));
  looks = 0;
  clock.onLook = [&] { ++looks; };
  reactor.Turn();
  EXPECT_LE(looks, 3) << "a turn that serves nothing is over at once";
  ::close(peer);
}

/// Runs Qt's loop until done, at most 5 s.
void RunLoop(const std::function<bool()>& done) {
  QEventLoop loop;
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
    if (done()) loop.quit();
  });
  poll.start(1);
  QTimer::singleShot(5000, &loop, &QEventLoop::quit);
  loop.exec();
}

TEST(ReactorDriver, Before_the_loop_runs_no_timer_fires) {
  RealNet net;
  const ReactorDriver driver(net.mReactor, net.mTimers, net.mClock, [](const Failure&) {});
  int fired = 0;
  Timer timer(net.mTimers, [&] { ++fired; });
  timer.SetInterval(1);
  const auto start = net.mClock.Steady();
  // As a window does that is drawn at the start.
  while (net.mClock.Steady() - start < milliseconds(30))
    QCoreApplication::processEvents();
  EXPECT_EQ(fired, 0);
  RunLoop([&] { return fired > 0; });
  EXPECT_GT(fired, 0);
}

TEST(ReactorDriver, Qts_loop_serves_sockets_and_timers) {
  RealNet net;
  const ReactorDriver driver(net.mReactor, net.mTimers, net.mClock, [](const Failure&) {});
  Quiet server;
  int requests = 0;
  server.onRequest = [&](qint32) { ++requests; };
  const auto listening = net.mReactor.CreateSocket(server);
  ListenOnFreePort(net, *listening);
  int fired = 0;
  const auto start = net.mClock.Steady();
  Clock::Instant firstFired{};
  Timer timer(net.mTimers, [&] {
    if (++fired == 1) firstFired = net.mClock.Steady();
  });
  timer.SetInterval(20);
  const auto peer = net.ConnectTo(listening->LocalPort());
  RunLoop([&] { return requests > 0 && fired >= 3; });
  EXPECT_EQ(requests, 1);
  EXPECT_GE(fired, 3);
  EXPECT_GE(firstFired - start, milliseconds(20));
}

TEST(ReactorDriver, A_failure_in_a_timer_is_told_and_the_other_timers_go_on) {
  RealNet net;
  int told = 0;
  const ReactorDriver driver(net.mReactor, net.mTimers, net.mClock, [&](const Failure&) { ++told; });
  int fired = 0;
  Timer bad(net.mTimers, [] { throw Failure(FailureNumber::kOverflow); });
  Timer good(net.mTimers, [&] { ++fired; });
  bad.SetInterval(5);
  good.SetInterval(5);
  RunLoop([&] { return fired >= 3; });
  EXPECT_GE(fired, 3);
  EXPECT_GE(told, 2);
}

}  // namespace
}  // namespace veltrane
