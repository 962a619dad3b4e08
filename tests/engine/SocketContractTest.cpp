// One suite for the socket contract, run against the network in memory and against real sockets.
#include <gtest/gtest.h>
#include <optional>

#include "engine/net/SocketErrors.h"
#include "tests/support/FakeNet.h"
#include "tests/support/Journal.h"
#include "tests/support/RealNet.h"

namespace veltrane {
namespace {

/// A socket and the events that it raised.
struct Watched : SocketEvents {
  explicit Watched(NetWorld& net) : world(net), socket(net.Sockets().CreateSocket(*this)) {}

  void ConnectionRequest(qint32 requestId) override {
    Enter();
    if (onRequest) onRequest(requestId);
    Leave();
  }
  void Connect() override {
    Enter();
    log.append(QStringLiteral("Connect"));
    stateAtConnect = socket->State();
    Leave();
  }
  void DataArrival(qsizetype bytes) override {
    Enter();
    EXPECT_GT(bytes, 0);
    ++arrivals;
    if (reading) {
      const Payload data = socket->GetData();
      EXPECT_GE(data.Size(), bytes);
      received.append(data.View());
    }
    if (onData) onData();
    Leave();
  }
  void SendComplete() override {
    Enter();
    ++completions;
    if (onComplete) onComplete();
    Leave();
  }
  void Close() override {
    Enter();
    log.append(QStringLiteral("Close"));
    if (onClose) onClose();
    Leave();
  }
  void Error(qint32 number, const QString&) override {
    Enter();
    log.append(QStringLiteral("Error %1").arg(number));
    error = number;
    if (onError) onError();
    Leave();
  }

  bool Connected() const { return socket && socket->State() == SocketState::kConnected; }

  // Every event must come from the loop, not from inside a call.
  void Enter() {
    EXPECT_FALSE(insideCall) << "an event was raised inside a call";
    ++depth;
  }
  void Leave() { --depth; }

  NetWorld& world;
  QStringList log;
  QByteArray received;
  int arrivals = 0;
  int completions = 0;
  int depth = 0;
  bool reading = true;
  bool insideCall = false;
  std::optional<qint32> error;
  SocketState stateAtConnect = SocketState::kClosed;
  std::function<void(qint32)> onRequest;
  std::function<void()> onData, onComplete, onClose, onError;
  std::unique_ptr<Socket> socket;
};

template <class World>
struct SocketContract : testing::Test {
  /// Our socket connected out to a peer.
  void ConnectOut() {
    mListener = mWorld.Listen();
    mOut = std::make_unique<Watched>(mWorld);
    mOut->socket->Connect(QStringLiteral("127.0.0.1"), mListener->Port());
    ASSERT_TRUE(mWorld.Pump([&] {
      if (!mPeer) mPeer = mListener->Accept();
      return mPeer && mOut->Connected();
    }));
  }

  /// Our listening socket, which accepts into mIn.
  void ListenAndAccept() {
    mServer = std::make_unique<Watched>(mWorld);
    mServer->onRequest = [this](qint32 id) {
      mIn = std::make_unique<Watched>(mWorld);
      mIn->socket->Accept(id);
    };
    ListenOnFreePort(mWorld, *mServer->socket);
    mPeer = mWorld.ConnectTo(mServer->socket->LocalPort());
    ASSERT_TRUE(mWorld.Pump([&] { return mIn != nullptr; }));
  }

  static QByteArray Bytes(qsizetype count) {
    QByteArray bytes(count, Qt::Uninitialized);
    for (qsizetype i = 0; i < count; ++i)
      bytes[i] = static_cast<char>((i * 7 + i / 251) & 0xff);
    return bytes;
  }

  World mWorld;
  std::unique_ptr<PeerListener> mListener;
  std::unique_ptr<Watched> mOut, mServer, mIn;
  std::unique_ptr<Peer> mPeer;
};

using Worlds = testing::Types<FakeNet, RealNet>;
struct WorldNames {
  template <class World>
  static std::string GetName(int) {
    return std::is_same_v<World, FakeNet> ? "Fake" : "Real";
  }
};
TYPED_TEST_SUITE(SocketContract, Worlds, WorldNames);

TYPED_TEST(SocketContract, Fresh_socket_is_closed_and_has_no_peer) {
  Watched fresh(this->mWorld);
  EXPECT_EQ(fresh.socket->State(), SocketState::kClosed);
  EXPECT_EQ(fresh.socket->LocalPort(), 0);
  EXPECT_EQ(fresh.socket->RemotePort(), 0);
  EXPECT_TRUE(fresh.socket->RemoteHost().isEmpty());
  EXPECT_TRUE(fresh.socket->RemoteHostIP().isEmpty());
  EXPECT_FALSE(fresh.socket->LocalHostName().isEmpty());
  EXPECT_FALSE(fresh.socket->LocalIP().isEmpty());
  EXPECT_TRUE(fresh.socket->GetData().IsEmpty());
}

TYPED_TEST(SocketContract, Listen_reaches_the_listening_state_at_once) {
  Watched socket(this->mWorld);
  ListenOnFreePort(this->mWorld, *socket.socket);
  EXPECT_EQ(socket.socket->State(), SocketState::kListening);
  EXPECT_GT(socket.socket->LocalPort(), 0);
}

TYPED_TEST(SocketContract, Listen_on_a_port_in_use_fails_with_10048) {
  Watched first(this->mWorld);
  ListenOnFreePort(this->mWorld, *first.socket);
  Watched second(this->mWorld);
  second.socket->SetLocalPort(first.socket->LocalPort());
  try {
    second.socket->Listen();
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Number(), 10048);
    EXPECT_EQ(failure.Text(), QStringLiteral("Address in use"));
  }
  EXPECT_NE(second.socket->State(), SocketState::kListening);
  first.socket->Close();
  second.socket->Listen();
  EXPECT_EQ(second.socket->State(), SocketState::kListening);
}

TYPED_TEST(SocketContract, Listen_on_what_is_no_port_fails_with_10049) {
  Watched socket(this->mWorld);
  for (const qint32 port : {0, -1, 65536}) {
    socket.socket->SetLocalPort(port);
    try {
      socket.socket->Listen();
      FAIL() << "listens on port " << port;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Number(), 10049);
      EXPECT_EQ(failure.Text(), QStringLiteral("Address not available"));
    }
    EXPECT_EQ(socket.socket->State(), SocketState::kClosed);
    EXPECT_EQ(socket.socket->LocalPort(), port);
  }
}

TYPED_TEST(SocketContract, Accepted_socket_is_connected_and_knows_both_ends) {
  this->ListenAndAccept();
  EXPECT_EQ(this->mIn->socket->State(), SocketState::kConnected);
  EXPECT_EQ(this->mIn->socket->LocalPort(), this->mServer->socket->LocalPort());
  EXPECT_EQ(this->mIn->socket->RemoteHostIP(), QStringLiteral("127.0.0.1"));
  EXPECT_EQ(this->mIn->socket->LocalIP(), QStringLiteral("127.0.0.1"));
  EXPECT_GT(this->mIn->socket->RemotePort(), 0);
  EXPECT_TRUE(this->mIn->socket->RemoteHost().isEmpty());
  EXPECT_EQ(this->mServer->socket->State(), SocketState::kListening);
}

TYPED_TEST(SocketContract, A_listening_socket_knows_whose_request_it_announces) {
  Watched server(this->mWorld);
  QString address;
  qint32 port = 0;
  Watched in(this->mWorld);
  server.onRequest = [&](qint32 id) {
    address = server.socket->RemoteHostIP();
    port = server.socket->RemotePort();
    in.socket->Accept(id);
  };
  ListenOnFreePort(this->mWorld, *server.socket);
  EXPECT_TRUE(server.socket->RemoteHostIP().isEmpty());
  const auto peer = this->mWorld.ConnectTo(server.socket->LocalPort());
  EXPECT_TRUE(this->mWorld.Pump([&] { return in.Connected(); }));
  EXPECT_EQ(address, QStringLiteral("127.0.0.1"));
  EXPECT_EQ(port, in.socket->RemotePort());
}

TYPED_TEST(SocketContract, A_peer_that_has_reset_already_is_accepted_with_its_address) {
  Watched server(this->mWorld);
  Watched in(this->mWorld);
  QString address;
  qint32 port = 0;
  server.onRequest = [&](qint32 id) {
    in.socket->Accept(id);
    address = in.socket->RemoteHostIP();
    port = in.socket->RemotePort();
  };
  ListenOnFreePort(this->mWorld, *server.socket);
  this->mWorld.ConnectTo(server.socket->LocalPort())->Reset();
  EXPECT_TRUE(this->mWorld.Pump([&] { return in.error == 10054; }));
  EXPECT_EQ(address, QStringLiteral("127.0.0.1"));
  EXPECT_GT(port, 0);
}

TYPED_TEST(SocketContract, All_waiting_requests_are_announced) {
  Watched server(this->mWorld);
  std::vector<std::unique_ptr<Watched>> accepted;
  server.onRequest = [&](qint32 id) {
    accepted.push_back(std::make_unique<Watched>(this->mWorld));
    accepted.back()->socket->Accept(id);
  };
  ListenOnFreePort(this->mWorld, *server.socket);
  std::vector<std::unique_ptr<Peer>> peers;
  peers.reserve(100);
  for (int i = 0; i < 100; ++i)
    peers.push_back(this->mWorld.ConnectTo(server.socket->LocalPort()));
  EXPECT_TRUE(this->mWorld.Pump([&] { return accepted.size() == 100; }));
}

TYPED_TEST(SocketContract, A_request_that_nobody_accepts_is_closed_when_its_event_returns) {
  Watched server(this->mWorld);
  int requests = 0;
  server.onRequest = [&](qint32) { ++requests; };
  ListenOnFreePort(this->mWorld, *server.socket);
  const auto peer = this->mWorld.ConnectTo(server.socket->LocalPort());
  EXPECT_TRUE(this->mWorld.Pump([&] { return peer->SawEnd(); }));
  EXPECT_EQ(requests, 1);
  EXPECT_TRUE(peer->Received().isEmpty());
}

TYPED_TEST(SocketContract, A_request_can_be_accepted_only_inside_its_event_and_once) {
  qint32 requestId = 0;
  Watched server(this->mWorld);
  std::unique_ptr<Watched> accepted;
  server.onRequest = [&](qint32 id) {
    requestId = id;
    accepted = std::make_unique<Watched>(this->mWorld);
    accepted->socket->Accept(id);
    Watched again(this->mWorld);
    EXPECT_THROW(again.socket->Accept(id), Failure);
  };
  ListenOnFreePort(this->mWorld, *server.socket);
  const auto peer = this->mWorld.ConnectTo(server.socket->LocalPort());
  ASSERT_TRUE(this->mWorld.Pump([&] { return accepted != nullptr; }));
  // Another one, that nobody accepts in its event.
  server.onRequest = [&](qint32 id) { requestId = id; };
  requestId = 0;
  const auto second = this->mWorld.ConnectTo(server.socket->LocalPort());
  ASSERT_TRUE(this->mWorld.Pump([&] { return requestId != 0; }));
  Watched late(this->mWorld);
  EXPECT_THROW(late.socket->Accept(requestId), Failure);
}

TYPED_TEST(SocketContract, A_listener_destroyed_in_its_own_event_leaves_the_accepted_connection) {
  auto server = std::make_unique<Watched>(this->mWorld);
  std::unique_ptr<Watched> accepted;
  std::unique_ptr<Socket> gone;
  server->onRequest = [&](qint32 id) {
    accepted = std::make_unique<Watched>(this->mWorld);
    accepted->socket->Accept(id);
    server->socket.reset();
  };
  ListenOnFreePort(this->mWorld, *server->socket);
  const auto peer = this->mWorld.ConnectTo(server->socket->LocalPort());
  ASSERT_TRUE(this->mWorld.Pump([&] { return accepted != nullptr; }));
  peer->Send("hello");
  EXPECT_TRUE(this->mWorld.Pump([&] { return accepted->received == "hello"; }));
}

TYPED_TEST(SocketContract, Connect_is_an_event_and_the_state_follows) {
  this->mListener = this->mWorld.Listen();
  Watched out(this->mWorld);
  out.insideCall = true;
  out.socket->Connect(QStringLiteral("127.0.0.1"), this->mListener->Port());
  out.insideCall = false;
  EXPECT_EQ(out.socket->State(), SocketState::kConnecting);
  EXPECT_EQ(out.socket->RemotePort(), this->mListener->Port());
  ASSERT_TRUE(this->mWorld.Pump([&] { return out.Connected(); }));
  EXPECT_EQ(out.log, QStringList{QStringLiteral("Connect")});
  EXPECT_EQ(out.stateAtConnect, SocketState::kConnected);
  EXPECT_EQ(out.socket->RemoteHost(), QStringLiteral("127.0.0.1"));
  EXPECT_EQ(out.socket->RemoteHostIP(), QStringLiteral("127.0.0.1"));
  EXPECT_GT(out.socket->LocalPort(), 0);
}

TYPED_TEST(SocketContract, Connect_by_name_resolves_it) {
  this->mListener = this->mWorld.Listen();
  Watched out(this->mWorld);
  out.socket->Connect(QStringLiteral("localhost"), this->mListener->Port());
  EXPECT_EQ(out.socket->State(), SocketState::kConnecting);
  ASSERT_TRUE(this->mWorld.Pump([&] { return out.Connected(); }));
  EXPECT_EQ(out.socket->RemoteHost(), QStringLiteral("localhost"));
  EXPECT_EQ(out.socket->RemoteHostIP(), QStringLiteral("127.0.0.1"));
}

TYPED_TEST(SocketContract, Connect_to_a_dead_port_is_refused_with_10061) {
  Watched out(this->mWorld);
  out.insideCall = true;
  out.socket->Connect(QStringLiteral("127.0.0.1"), this->mWorld.DeadPort());
  out.insideCall = false;
  ASSERT_TRUE(this->mWorld.Pump([&] { return out.error.has_value(); }));
  EXPECT_EQ(*out.error, 10061);
  EXPECT_EQ(out.socket->RemoteHostIP(), QStringLiteral("127.0.0.1")) << "what was tried";
  EXPECT_NE(out.socket->State(), SocketState::kConnected);
  EXPECT_EQ(out.log.size(), 1);
}

TYPED_TEST(SocketContract, Connect_to_an_unknown_name_fails_with_11001) {
  Watched out(this->mWorld);
  out.socket->Connect(this->mWorld.UnknownHost(), 80);
  ASSERT_TRUE(this->mWorld.Pump([&] { return out.error.has_value(); }));
  // A machine without any name server can only say that it should be tried again.
  EXPECT_TRUE(*out.error == 11001 || *out.error == 11002) << *out.error;
  EXPECT_EQ(out.log.size(), 1);
}

TYPED_TEST(SocketContract, Connect_to_an_empty_name_fails) {
  Watched out(this->mWorld);
  out.socket->Connect(QString(), 80);
  ASSERT_TRUE(this->mWorld.Pump([&] { return out.error.has_value(); }));
  EXPECT_EQ(*out.error, 11001);
}

TYPED_TEST(SocketContract, Connect_to_a_port_that_cannot_exist_fails_at_once) {
  for (const qint32 port : {-1, 65536, 70000}) {
    Watched out(this->mWorld);
    EXPECT_THROW(out.socket->Connect(QStringLiteral("127.0.0.1"), port), Failure);
    EXPECT_EQ(out.socket->State(), SocketState::kClosed);
  }
}

TYPED_TEST(SocketContract, Closing_while_connecting_raises_no_event) {
  this->mListener = this->mWorld.Listen();
  for (const QString& host : {QStringLiteral("127.0.0.1"), QStringLiteral("localhost")}) {
    Watched out(this->mWorld);
    out.socket->Connect(host, this->mListener->Port());
    out.socket->Close();
    EXPECT_EQ(out.socket->State(), SocketState::kClosed);
    this->mWorld.Settle();
    EXPECT_TRUE(out.log.isEmpty());
  }
}

TYPED_TEST(SocketContract, Destroying_while_connecting_is_safe) {
  this->mListener = this->mWorld.Listen();
  for (const QString& host : {QStringLiteral("127.0.0.1"), QStringLiteral("localhost")}) {
    Watched out(this->mWorld);
    out.socket->Connect(host, this->mListener->Port());
    out.socket.reset();
    this->mWorld.Settle();
    EXPECT_TRUE(out.log.isEmpty());
  }
}

TYPED_TEST(SocketContract, Data_goes_both_ways_unchanged) {
  this->ConnectOut();
  const QByteArray all = this->Bytes(100000);
  this->mOut->socket->SendData(all);
  this->mPeer->Send(all);
  ASSERT_TRUE(this->mWorld.Pump([&] {
    return this->mPeer->Received().size() == all.size() && this->mOut->received.size() == all.size();
  }));
  EXPECT_EQ(this->mPeer->Received(), all);
  EXPECT_EQ(this->mOut->received, all);
}

TYPED_TEST(SocketContract, SendComplete_is_a_later_event_and_comes_once_for_all_that_was_queued) {
  this->ConnectOut();
  this->mOut->insideCall = true;
  this->mOut->socket->SendData(QByteArray("one"));
  this->mOut->socket->SendData(QByteArray("two"));
  this->mOut->insideCall = false;
  EXPECT_EQ(this->mOut->completions, 0);
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mOut->completions > 0; }));
  this->mWorld.Settle();
  EXPECT_EQ(this->mOut->completions, 1);
  EXPECT_EQ(this->mPeer->Received(), "onetwo");
}

TYPED_TEST(SocketContract, Sending_nothing_does_nothing) {
  this->ConnectOut();
  this->mOut->socket->SendData(Payload());
  this->mWorld.Settle();
  EXPECT_EQ(this->mOut->completions, 0);
}

TYPED_TEST(SocketContract, Sending_on_a_socket_that_is_not_connected_fails) {
  Watched fresh(this->mWorld);
  EXPECT_THROW(fresh.socket->SendData(QByteArray("x")), Failure);
  this->ConnectOut();
  this->mOut->socket->Close();
  EXPECT_THROW(this->mOut->socket->SendData(QByteArray("x")), Failure);
}

TYPED_TEST(SocketContract, SendData_inside_SendComplete_goes_on) {
  this->ConnectOut();
  this->mOut->onComplete = [&] {
    if (this->mOut->completions < 50) this->mOut->socket->SendData(QByteArray("abcdefghij"));
  };
  this->mOut->socket->SendData(QByteArray("abcdefghij"));
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mPeer->Received().size() == 500; }));
  this->mWorld.Settle();
  EXPECT_EQ(this->mOut->completions, 50);
}

TYPED_TEST(SocketContract, One_byte_at_a_time) {
  this->ListenAndAccept();
  const QByteArray all = this->Bytes(300);
  for (const char byte : all) {
    this->mPeer->Send(QByteArray(1, byte));
    this->mWorld.Settle();
  }
  EXPECT_EQ(this->mIn->received, all);
  EXPECT_GT(this->mIn->arrivals, 1);
}

TYPED_TEST(SocketContract, Sixty_four_megabytes_in_one_SendData) {
  this->ConnectOut();
  const QByteArray all = this->Bytes(64 * 1024 * 1024);
  this->mOut->socket->SendData(all);
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mPeer->Received().size() == all.size(); }));
  EXPECT_TRUE(this->mPeer->Received() == all);
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mOut->completions == 1; }));
}

TYPED_TEST(SocketContract, What_waited_in_many_pieces_goes_out_in_order) {
  this->ConnectOut();
  const QByteArray all = this->Bytes(16 * 1024 * 1024);
  PayloadBuffer waiting;
  // Sizes that end all over the place in what the kernel takes at once.
  for (qsizetype at = 0, size = 1; at < all.size(); at += size, size = size % 9973 + 101)
    waiting.Append(Payload(all).Piece(at, size));
  this->mOut->socket->SendData(waiting.TakeAll());
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mPeer->Received().size() == all.size(); }));
  EXPECT_TRUE(this->mPeer->Received() == all);
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mOut->completions == 1; }));
}

TYPED_TEST(SocketContract, A_reader_that_stops_holds_SendComplete_back_until_it_goes_on) {
  this->ConnectOut();
  this->mPeer->StopReading();
  const QByteArray all = this->Bytes(32 * 1024 * 1024);
  this->mOut->socket->SendData(all);
  this->mWorld.Settle();
  EXPECT_EQ(this->mOut->completions, 0);
  this->mPeer->ResumeReading();
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mOut->completions == 1; }));
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mPeer->Received().size() == all.size(); }));
  EXPECT_TRUE(this->mPeer->Received() == all);
}

TYPED_TEST(SocketContract, Data_that_is_not_taken_waits_and_is_not_lost) {
  this->ListenAndAccept();
  this->mIn->reading = false;
  this->mPeer->Send("first ");
  this->mWorld.Settle();
  EXPECT_GE(this->mIn->arrivals, 1);
  this->mPeer->Send("second");
  this->mWorld.Settle();
  QByteArray taken = this->mIn->socket->GetData().Bytes();
  this->mIn->reading = true;
  ASSERT_TRUE(this->mWorld.Pump([&] { return (taken + this->mIn->received).size() == 12; }) ||
              taken == "first second");
  EXPECT_EQ(taken + this->mIn->received, "first second");
}

TYPED_TEST(SocketContract, Peer_closes_after_its_last_bytes_were_announced) {
  this->ListenAndAccept();
  SocketState stateAtClose = SocketState::kClosed;
  QByteArray receivedAtClose;
  this->mIn->onClose = [&] {
    stateAtClose = this->mIn->socket->State();
    receivedAtClose = this->mIn->received;
  };
  this->mPeer->Send(this->Bytes(1000));
  this->mPeer->Close();
  ASSERT_TRUE(this->mWorld.Pump([&] { return !this->mIn->log.isEmpty(); }));
  EXPECT_EQ(this->mIn->log, QStringList{QStringLiteral("Close")});
  EXPECT_EQ(stateAtClose, SocketState::kPeerClosing);
  EXPECT_EQ(receivedAtClose, this->Bytes(1000));
  this->mWorld.Settle();
  EXPECT_EQ(this->mIn->log.size(), 1);
}

TYPED_TEST(SocketContract, After_the_peers_half_close_data_still_goes_to_it) {
  this->ListenAndAccept();
  this->mPeer->Send("request");
  this->mPeer->HalfClose();
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mIn->log.contains(QStringLiteral("Close")); }));
  this->mIn->socket->SendData(QByteArray("reply"));
  EXPECT_TRUE(this->mWorld.Pump([&] { return this->mPeer->Received() == "reply"; }));
  EXPECT_TRUE(this->mWorld.Pump([&] { return this->mIn->completions == 1; }));
  this->mIn->socket->Close();
  EXPECT_TRUE(this->mWorld.Pump([&] { return this->mPeer->SawEnd(); }));
  EXPECT_FALSE(this->mPeer->SawReset());
}

TYPED_TEST(SocketContract, A_reset_is_error_10054) {
  this->ListenAndAccept();
  this->mPeer->Reset();
  ASSERT_TRUE(this->mWorld.Pump([&] { return !this->mIn->log.isEmpty(); }));
  EXPECT_EQ(this->mIn->log, QStringList{QStringLiteral("Error 10054")});
  EXPECT_NE(this->mIn->socket->State(), SocketState::kConnected);
  this->mWorld.Settle();
  EXPECT_EQ(this->mIn->log.size(), 1);
}

TYPED_TEST(SocketContract, A_reset_while_sending_is_one_error_and_no_completion) {
  this->ConnectOut();
  this->mPeer->StopReading();
  this->mOut->socket->SendData(this->Bytes(32 * 1024 * 1024));
  this->mWorld.Settle();
  this->mPeer->Reset();
  ASSERT_TRUE(this->mWorld.Pump([&] { return !this->mOut->log.filter(QStringLiteral("Error")).isEmpty(); }));
  this->mWorld.Settle();
  EXPECT_EQ(this->mOut->log, (QStringList{QStringLiteral("Connect"), QStringLiteral("Error 10054")}));
  EXPECT_EQ(this->mOut->completions, 0);
}

TYPED_TEST(SocketContract, Bytes_that_came_before_a_reset_are_delivered_first) {
  this->ListenAndAccept();
  this->mIn->reading = false;
  this->mPeer->Send("last words");
  this->mWorld.Settle();
  this->mPeer->Reset();
  this->mWorld.Settle();
  EXPECT_EQ(this->mIn->socket->GetData().Bytes(), "last words");
  ASSERT_TRUE(this->mWorld.Pump([&] { return !this->mIn->log.isEmpty(); }));
  EXPECT_EQ(this->mIn->log, QStringList{QStringLiteral("Error 10054")});
}

TYPED_TEST(SocketContract, A_send_that_fails_after_the_peers_half_close_is_told) {
  this->ListenAndAccept();
  this->mPeer->HalfClose();
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mIn->log.contains(QStringLiteral("Close")); }));
  this->mPeer->StopReading();
  this->mIn->socket->SendData(this->Bytes(32 * 1024 * 1024));
  this->mWorld.Settle();
  this->mPeer->Reset();
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mIn->log.contains(QStringLiteral("Error 10054")); }));
  EXPECT_EQ(this->mIn->completions, 0);
}

TYPED_TEST(SocketContract, Close_with_bytes_queued_still_gives_them_to_the_peer) {
  this->ConnectOut();
  this->mPeer->StopReading();
  const QByteArray all = this->Bytes(16 * 1024 * 1024);
  this->mOut->socket->SendData(all);
  this->mOut->socket->Close();
  EXPECT_EQ(this->mOut->socket->State(), SocketState::kClosed);
  this->mWorld.Settle();
  this->mPeer->ResumeReading();
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mPeer->SawEnd(); }));
  EXPECT_FALSE(this->mPeer->SawReset());
  EXPECT_TRUE(this->mPeer->Received() == all);
  EXPECT_EQ(this->mOut->completions, 0);
  EXPECT_EQ(this->mOut->log, QStringList{QStringLiteral("Connect")});
}

TYPED_TEST(SocketContract, Close_with_bytes_queued_and_more_input_coming_loses_nothing) {
  this->ConnectOut();
  this->mPeer->StopReading();
  const QByteArray all = this->Bytes(8 * 1024 * 1024);
  this->mOut->socket->SendData(all);
  this->mPeer->Send(this->Bytes(300000));
  this->mOut->reading = false;
  this->mWorld.Settle();
  this->mOut->socket->Close();
  this->mPeer->Send(this->Bytes(300000));
  this->mWorld.Settle();
  this->mPeer->ResumeReading();
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mPeer->SawEnd(); }));
  EXPECT_TRUE(this->mPeer->Received() == all);
}

TYPED_TEST(SocketContract, Close_with_bytes_queued_ends_when_the_peer_is_gone) {
  this->ConnectOut();
  this->mPeer->StopReading();
  this->mOut->socket->SendData(this->Bytes(16 * 1024 * 1024));
  this->mOut->socket->Close();
  this->mWorld.Settle();
  this->mPeer->Reset();
  this->mWorld.Settle();
  EXPECT_EQ(this->mOut->log, QStringList{QStringLiteral("Connect")});
}

TYPED_TEST(SocketContract, Addresses_keep_their_last_values_after_close) {
  this->ConnectOut();
  const qint32 localPort = this->mOut->socket->LocalPort();
  this->mOut->socket->Close();
  EXPECT_EQ(this->mOut->socket->RemoteHost(), QStringLiteral("127.0.0.1"));
  EXPECT_EQ(this->mOut->socket->RemoteHostIP(), QStringLiteral("127.0.0.1"));
  EXPECT_EQ(this->mOut->socket->RemotePort(), this->mListener->Port());
  EXPECT_EQ(this->mOut->socket->LocalPort(), localPort);
  EXPECT_EQ(this->mOut->socket->LocalIP(), QStringLiteral("127.0.0.1"));
}

TYPED_TEST(SocketContract, Closing_twice_and_closing_a_fresh_socket_do_nothing) {
  Watched fresh(this->mWorld);
  fresh.socket->Close();
  this->ConnectOut();
  this->mOut->socket->Close();
  this->mOut->socket->Close();
  EXPECT_EQ(this->mOut->socket->State(), SocketState::kClosed);
  EXPECT_TRUE(this->mWorld.Pump([&] { return this->mPeer->SawEnd(); }));
}

TYPED_TEST(SocketContract, Peer_that_closes_with_our_bytes_unread_is_told_as_close_or_reset) {
  this->ConnectOut();
  this->mPeer->StopReading();
  this->mOut->socket->SendData(QByteArray("never read"));
  this->mWorld.Settle();
  this->mPeer->Close();
  ASSERT_TRUE(this->mWorld.Pump([&] { return this->mOut->log.size() == 2; }));
  EXPECT_TRUE(this->mOut->log.last() == QStringLiteral("Close") ||
              this->mOut->log.last() == QStringLiteral("Error 10054"));
}

TYPED_TEST(SocketContract, A_socket_may_be_destroyed_in_each_of_its_events) {
  for (const int which : {0, 1, 2}) {
    this->mIn.reset();
    this->ListenAndAccept();
    bool destroyed = false;
    const auto destroy = [&] {
      this->mIn->socket.reset();
      destroyed = true;
    };
    (which == 0 ? this->mIn->onData : which == 1 ? this->mIn->onClose : this->mIn->onComplete) = destroy;
    if (which == 0) this->mPeer->Send("x");
    if (which == 1) this->mPeer->Close();
    if (which == 2) this->mIn->socket->SendData(QByteArray("x"));
    EXPECT_TRUE(this->mWorld.Pump([&] { return destroyed; })) << which;
    this->mWorld.Settle();
  }
}

TYPED_TEST(SocketContract, A_socket_may_be_destroyed_in_its_error_event) {
  this->ListenAndAccept();
  bool destroyed = false;
  this->mIn->onError = [&] {
    this->mIn->socket.reset();
    destroyed = true;
  };
  this->mPeer->Reset();
  EXPECT_TRUE(this->mWorld.Pump([&] { return destroyed; }));
  this->mWorld.Settle();
}

TYPED_TEST(SocketContract, The_tag_is_the_owners) {
  Watched socket(this->mWorld);
  EXPECT_TRUE(socket.socket->Tag().isEmpty());
  socket.socket->SetTag(QStringLiteral("Ephemeral"));
  EXPECT_EQ(socket.socket->Tag(), QStringLiteral("Ephemeral"));
}

}  // namespace
}  // namespace veltrane
