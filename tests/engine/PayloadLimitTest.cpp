#include <QStringList>

#include <gtest/gtest.h>

#include "engine/PayloadLimit.h"
#include "tests/support/FakeClock.h"

namespace veltrane {
namespace {

struct PayloadLimitTest : testing::Test {
  void Wait(const char* name) {
    limit.Wait([this, name] { told.append(QLatin1String(name)); });
  }
  void Pass() { timers.Advance(std::chrono::milliseconds(1)); }

  FakeClock clock;
  FakeTimers timers{clock};
  PayloadLimit limit{timers};
  QStringList told;
};

TEST_F(PayloadLimitTest, Without_a_limit_it_is_never_reached) {
  limit.Change(qint64{1} << 60);
  EXPECT_FALSE(limit.IsReached());
}

TEST_F(PayloadLimitTest, It_is_reached_with_the_last_byte) {
  limit.SetMost(100);
  limit.Change(99);
  EXPECT_FALSE(limit.IsReached());
  limit.Change(1);
  EXPECT_TRUE(limit.IsReached());
  EXPECT_EQ(limit.Held(), 100);
}

TEST_F(PayloadLimitTest, Who_waits_is_told_later_once_and_in_order_when_less_is_held) {
  limit.SetMost(100);
  limit.Change(150);
  Wait("first");
  Wait("second");
  Pass();
  limit.Change(-50);
  Pass();
  EXPECT_EQ(told, QStringList()) << "still reached";
  limit.Change(-1);
  EXPECT_EQ(told, QStringList()) << "not inside the call";
  Pass();
  EXPECT_EQ(told, QStringList({QStringLiteral("first"), QStringLiteral("second")}));
  Pass();
  EXPECT_EQ(told.size(), 2);
}

TEST_F(PayloadLimitTest, The_first_to_go_on_may_fill_it_again) {
  limit.SetMost(100);
  limit.Change(150);
  limit.Wait([this] { limit.Change(80); });
  Wait("second");
  limit.Change(-60);
  Pass();
  EXPECT_EQ(told, QStringList());
  limit.Change(-80);
  Pass();
  EXPECT_EQ(told, QStringList(QStringLiteral("second")));
}

TEST_F(PayloadLimitTest, Who_is_forgotten_is_not_told_and_the_others_keep_their_order) {
  limit.SetMost(100);
  limit.Change(150);
  const PayloadLimit::Place first = limit.Wait([this] { told.append(QStringLiteral("first")); });
  Wait("second");
  const PayloadLimit::Place third = limit.Wait([this] { told.append(QStringLiteral("third")); });
  Wait("fourth");
  limit.Forget(third);
  limit.Forget(first);
  limit.Forget(PayloadLimit::kNowhere);
  EXPECT_EQ(limit.WaitingCount(), 2);
  limit.Change(-100);
  Pass();
  EXPECT_EQ(told, QStringList({QStringLiteral("second"), QStringLiteral("fourth")}));
  EXPECT_EQ(limit.WaitingCount(), 0);
}

TEST_F(PayloadLimitTest, What_goes_on_may_wait_again_and_comes_last) {
  limit.SetMost(100);
  limit.Change(150);
  limit.Wait([this] { Wait("again"); });
  Wait("second");
  limit.Change(-100);
  Pass();
  EXPECT_EQ(told, QStringList({QStringLiteral("second"), QStringLiteral("again")}));
}

}  // namespace
}  // namespace veltrane
