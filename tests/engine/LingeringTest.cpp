// Connections that were closed before their peer had all bytes.
#include <algorithm>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

#include "tests/support/RealNet.h"

namespace veltrane {
namespace {

constexpr qsizetype kMegabyte = 1000 * 1000;
constexpr qsizetype kPiece = 256 * 1024;

/// A peer that reads nothing, and a socket that can be closed behind bytes for it.
struct Lingering : testing::Test, SocketEvents {
  void SetUp() override {
    net.mReactor.OnLingering = [this](qint64 grown) { held += grown; };
    net.mReactor.MayGiveUp = [this](qint64 bytes) {
      asked.append(bytes);
      return mayGiveUp;
    };
    ConnectToASilentPeer();
  }
  void ConnectToASilentPeer() {
    const auto listener = net.Listen();
    socket = net.mReactor.CreateSocket(*this);
    peer.reset();
    connected = false;
    socket->Connect(QStringLiteral("127.0.0.1"), listener->Port());
    ASSERT_TRUE(net.Pump([&] {
      if (!peer) peer = listener->Accept();
      return peer && connected;
    }));
    peer->StopReading();
  }
  void Connect() override { connected = true; }
  void SendComplete() override { sent = true; }

  /// Sends a piece; false where the kernel does not take all of it.
  bool TakesAPiece() {
    sent = false;
    socket->SendData(QByteArray(kPiece, 'x'));
    net.Settle();
    return sent;
  }
  void Fill(qsizetype bytes) {
    for (qsizetype left = bytes; left > 0; left -= kMegabyte)
      socket->SendData(QByteArray(std::min(left, kMegabyte), 'x'));
    net.Settle();
  }
  void CloseBehind(qsizetype bytes) {
    Fill(bytes);
    EXPECT_EQ(held, 0) << "as long as the socket is open it is its owner's";
    socket->Close();
    LetTheKernelCalmDown();
    ASSERT_EQ(net.mReactor.LingeringCount(), 1);
  }
  /// Some 200 ms behind the last bytes it asks whether the peer has room, which moves some more, once.
  void LetTheKernelCalmDown() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    net.Pump([&] { return std::chrono::steady_clock::now() > end; });
    Wait(std::chrono::seconds(1));
  }
  /// Lets the time pass, and the reactor look at what lingers.
  void Wait(std::chrono::seconds time) {
    net.mClock.mAhead += time;
    net.Settle();
  }
  bool HasEnded() { return net.mReactor.LingeringCount() == 0; }

  qint64 held = 0;
  QList<qint64> asked;
  bool mayGiveUp = false;
  bool connected = false;
  bool sent = false;
  RealNet net;
  std::unique_ptr<Socket> socket;
  std::unique_ptr<Peer> peer;
};

TEST_F(Lingering, Bytes_count_until_the_peer_has_them) {
  CloseBehind(20 * kMegabyte);
  EXPECT_GT(held, 5 * kMegabyte) << "the kernel holds the others";
  EXPECT_LT(held, 21 * kMegabyte);
  peer->ResumeReading();
  EXPECT_TRUE(net.Pump([&] { return HasEnded(); }));
  EXPECT_EQ(held, 0);
}

TEST_F(Lingering, Bytes_count_until_the_peer_has_gone) {
  CloseBehind(20 * kMegabyte);
  peer->Reset();
  EXPECT_TRUE(net.Pump([&] { return HasEnded(); }));
  EXPECT_EQ(held, 0);
}

TEST_F(Lingering, As_long_as_nobody_needs_the_room_bytes_wait_without_end) {
  CloseBehind(20 * kMegabyte);
  for (int i = 0; i < 10; ++i)
    Wait(std::chrono::hours(1));
  EXPECT_FALSE(HasEnded());
  EXPECT_EQ(asked.value(0), held);
  peer->ResumeReading();
  EXPECT_TRUE(net.Pump([&] { return HasEnded(); }));
  EXPECT_EQ(peer->Received().size(), 20 * kMegabyte);
}

TEST_F(Lingering, Where_others_need_the_room_a_peer_has_30_s_to_take_something) {
  CloseBehind(20 * kMegabyte);
  mayGiveUp = true;
  Wait(std::chrono::seconds(20));
  EXPECT_FALSE(HasEnded());
  EXPECT_TRUE(asked.isEmpty());
  Wait(std::chrono::seconds(11));
  EXPECT_TRUE(HasEnded());
  EXPECT_EQ(held, 0);
  EXPECT_EQ(asked.size(), 1);
}

TEST_F(Lingering, A_peer_that_has_taken_something_has_30_s_anew) {
  CloseBehind(20 * kMegabyte);
  mayGiveUp = true;
  Wait(std::chrono::seconds(20));
  peer->ResumeReading();
  ASSERT_TRUE(net.Pump([&] { return peer->Received().size() > 4 * kMegabyte; }));
  peer->StopReading();
  LetTheKernelCalmDown();
  ASSERT_FALSE(HasEnded());
  Wait(std::chrono::seconds(20));
  EXPECT_FALSE(HasEnded());
  EXPECT_TRUE(asked.isEmpty());
  Wait(std::chrono::seconds(31));
  EXPECT_TRUE(HasEnded());
}

TEST_F(Lingering, Who_has_taken_nothing_for_longest_is_given_up_first) {
  std::vector<std::unique_ptr<Peer>> peers;
  QList<qint64> inTheirOrder;
  for (int more = 0; more < 4; ++more) {
    if (more > 0) ConnectToASilentPeer();
    const qint64 before = std::exchange(held, 0);
    Fill((20 + more) * kMegabyte);
    socket->Close();
    LetTheKernelCalmDown();
    inTheirOrder.append(held);
    held += before;
    peers.push_back(std::move(peer));
  }
  ASSERT_TRUE(asked.isEmpty());
  Wait(std::chrono::seconds(31));
  EXPECT_EQ(asked.first(std::min<qsizetype>(4, asked.size())), inTheirOrder);
}

TEST_F(Lingering, Bytes_that_are_all_in_the_kernel_wait_for_30_s) {
  int pieces = 0;
  while (TakesAPiece())
    ++pieces;
  ASSERT_GT(pieces, 4);
  ConnectToASilentPeer();
  // Somewhat less than fills both ends.
  for (int i = 0; i < pieces - 2; ++i)
    ASSERT_TRUE(TakesAPiece());
  CloseBehind(0);
  EXPECT_EQ(held, 0);
  Wait(std::chrono::seconds(20));
  EXPECT_FALSE(HasEnded());
  Wait(std::chrono::seconds(11));
  EXPECT_TRUE(HasEnded());
  EXPECT_TRUE(asked.isEmpty());
}

}  // namespace
}  // namespace veltrane
