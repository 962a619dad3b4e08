// What happens when the handlers together hold as much as the machine can spare.
#include "tests/protocols/HandlerTest.h"

namespace veltrane {
namespace {

constexpr qsizetype kLimit = 1000 * 1000;

struct SlowReaderTest : HandlerTest, testing::WithParamInterface<bool> {
  SlowReaderTest() : HandlerTest(QStringLiteral("Pass Through")) {
    world.SetDestination(kPort, QStringLiteral("host"), 80);
    world.mGeneral.mPayloadLimit.SetMost(kLimit);
    Establish();
  }
  void Establish() {
    Accept();
    Connect();
    sender = GetParam() ? server : client;
    reader = GetParam() ? client : server;
  }
  /// A send that has not left and a buffer behind it, together past the limit.
  void FallBehind() {
    sender->Arrive(QByteArray(600 * 1000, 'a'));
    sender->Arrive(QByteArray(600 * 1000, 'b'));
    EXPECT_TRUE(world.mGeneral.mPayloadLimit.IsReached());
    Take();
  }
  void DrainReader() {
    for (int piece = 0; piece < 200; ++piece)
      reader->Sent();
  }
  bool SenderWaits() const { return !sender->mArrived.IsEmpty(); }

  StubSocket* sender = nullptr;
  StubSocket* reader = nullptr;
};

INSTANTIATE_TEST_SUITE_P(Both, SlowReaderTest, testing::Values(false, true),
                         [](const auto& which) { return which.param ? "ToServer" : "ToClient"; });

TEST_P(SlowReaderTest, Past_the_limit_the_sender_waits_and_goes_on_when_the_reader_has_caught_up) {
  FallBehind();
  sender->Arrive("more");
  EXPECT_EQ(Take(), QStringList()) << "not even recorded";
  EXPECT_TRUE(SenderWaits());
  reader->Sent();
  EXPECT_TRUE(SenderWaits()) << "not inside the other's event";
  Pass(1);
  EXPECT_FALSE(SenderWaits());
  DrainReader();
  EXPECT_EQ(reader->mSent.size(), 1200004);
  EXPECT_TRUE(reader->mSent.endsWith("bmore"));
  EXPECT_EQ(world.mGeneral.mPayloadLimit.Held(), 0);
}

TEST_P(SlowReaderTest, Others_go_on_whatever_one_holds) {
  FallBehind();
  const auto first = pair;
  NewConnection();
  Establish();
  sender->Arrive("small");
  EXPECT_EQ(reader->mSent, "small");
  sender->Arrive("er");
  EXPECT_FALSE(SenderWaits());
}

TEST_P(SlowReaderTest, A_reader_that_catches_up_goes_on_although_another_holds_the_limit) {
  FallBehind();
  const auto first = pair;
  NewConnection();
  Establish();
  sender->Arrive(QByteArray(300 * 1000, 'c'));
  sender->Arrive("more");
  EXPECT_TRUE(SenderWaits());
  reader->Sent();
  EXPECT_FALSE(SenderWaits());
  EXPECT_TRUE(reader->mSent.endsWith("cmore"));
  // Again and again, without another word from the limit.
  for (int round = 0; round < 3; ++round) {
    reader->Sent();
    sender->Arrive(QByteArray(300 * 1000, 'd'));
    sender->Arrive("more");
    EXPECT_TRUE(SenderWaits());
    reader->Sent();
    EXPECT_FALSE(SenderWaits());
  }
}

TEST_P(SlowReaderTest, A_pair_that_ends_holds_nothing_and_its_sender_is_not_read_any_more) {
  FallBehind();
  sender->Arrive("more");
  EXPECT_EQ(world.mGeneral.mPayloadLimit.WaitingCount(), 1);
  pair->Terminate();
  pair->Unload();
  Take();
  EXPECT_EQ(world.mGeneral.mPayloadLimit.Held(), 0);
  EXPECT_EQ(world.mGeneral.mPayloadLimit.WaitingCount(), 0);
  Pass(1);
  EXPECT_EQ(Take(), QStringList());
}

TEST_P(SlowReaderTest, A_pair_that_is_gone_holds_nothing) {
  FallBehind();
  sender->Arrive("more");
  EXPECT_EQ(world.mGeneral.mPayloadLimit.WaitingCount(), 1);
  const std::weak_ptr<SocketPair> gone = pair;
  pair.reset();
  ASSERT_TRUE(gone.expired());
  EXPECT_EQ(world.mGeneral.mPayloadLimit.Held(), 0);
  EXPECT_EQ(world.mGeneral.mPayloadLimit.WaitingCount(), 0);
  Pass(1);
  EXPECT_EQ(Take(), QStringList()) << "nobody reads for it";
}

TEST_P(SlowReaderTest, Many_small_pieces_reach_the_limit_by_what_they_cost) {
  sender->Arrive("on its way");
  int pieces = 0;
  for (; pieces < kLimit && !SenderWaits(); ++pieces)
    sender->Arrive("x");
  EXPECT_TRUE(SenderWaits());
  EXPECT_EQ(pieces, kLimit / (1 + Payload::kPieceCost) + 1);
  Take();
  DrainReader();
  Pass(1);
  EXPECT_FALSE(SenderWaits());
  DrainReader();
  EXPECT_EQ(reader->mSent, "on its way" + QByteArray(pieces, 'x'));
  EXPECT_EQ(world.mGeneral.mPayloadLimit.Held(), 0);
}

TEST_P(SlowReaderTest, What_its_closed_socket_still_holds_is_not_the_pairs) {
  sender->Arrive(QByteArray(600 * 1000, 'a'));
  EXPECT_GE(world.mGeneral.mPayloadLimit.Held(), 600 * 1000);
  reader->Fails(10054, QStringLiteral("reset"));
  EXPECT_EQ(world.mGeneral.mPayloadLimit.Held(), 0);
}

}  // namespace
}  // namespace veltrane
