#include <gtest/gtest.h>
#include <memory>

#include "base/Timer.h"
#include "tests/support/FakeClock.h"
#include "tests/support/Journal.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;

struct TimerTest : testing::Test {
  FakeClock clock;
  FakeTimers timers{clock};
};

TEST_F(TimerTest, A_new_timer_is_enabled_and_silent) {
  int fired = 0;
  const Timer timer(timers, [&] { ++fired; });
  EXPECT_TRUE(timer.Enabled());
  EXPECT_EQ(timer.Interval(), 0);
  timers.Advance(milliseconds(1000000));
  EXPECT_EQ(fired, 0);
  EXPECT_FALSE(timers.NextDeadline());
}

TEST_F(TimerTest, It_fires_at_its_interval_and_not_before_and_repeats) {
  int fired = 0;
  Timer timer(timers, [&] { ++fired; });
  timer.SetInterval(100);
  timers.Advance(milliseconds(99));
  EXPECT_EQ(fired, 0);
  timers.Advance(milliseconds(1));
  EXPECT_EQ(fired, 1);
  timers.Advance(milliseconds(99));
  EXPECT_EQ(fired, 1);
  timers.Advance(milliseconds(1));
  EXPECT_EQ(fired, 2);
}

TEST_F(TimerTest, Switched_off_it_is_silent_and_switched_on_it_starts_a_whole_interval) {
  int fired = 0;
  Timer timer(timers, [&] { ++fired; });
  timer.SetInterval(100);
  timers.Advance(milliseconds(90));
  timer.SetEnabled(false);
  timers.Advance(milliseconds(500));
  EXPECT_EQ(fired, 0);
  timer.SetEnabled(true);
  timers.Advance(milliseconds(99));
  EXPECT_EQ(fired, 0);
  timers.Advance(milliseconds(1));
  EXPECT_EQ(fired, 1);
}

TEST_F(TimerTest, Switching_on_what_is_on_changes_nothing) {
  int fired = 0;
  Timer timer(timers, [&] { ++fired; });
  timer.SetInterval(100);
  timers.Advance(milliseconds(90));
  timer.SetEnabled(true);
  timers.Advance(milliseconds(10));
  EXPECT_EQ(fired, 1);
}

TEST_F(TimerTest, A_new_interval_starts_anew) {
  int fired = 0;
  Timer timer(timers, [&] { ++fired; });
  timer.SetInterval(100);
  timers.Advance(milliseconds(90));
  timer.SetInterval(50);
  timers.Advance(milliseconds(49));
  EXPECT_EQ(fired, 0);
  timers.Advance(milliseconds(1));
  EXPECT_EQ(fired, 1);
  timer.SetInterval(0);
  timers.Advance(milliseconds(500));
  EXPECT_EQ(fired, 1);
}

TEST_F(TimerTest, An_interval_beyond_sixteen_bits_works_as_written) {
  int fired = 0;
  Timer timer(timers, [&] { ++fired; });
  timer.SetInterval(70000);
  timers.Advance(milliseconds(69999));
  EXPECT_EQ(fired, 0);
  timers.Advance(milliseconds(1));
  EXPECT_EQ(fired, 1);
}

TEST_F(TimerTest, Timers_fire_in_order_of_deadlines_and_ties_in_order_of_creation) {
  QStringList order;
  Timer first(timers, [&] { order.append(QStringLiteral("first")); });
  Timer second(timers, [&] { order.append(QStringLiteral("second")); });
  Timer third(timers, [&] { order.append(QStringLiteral("third")); });
  third.SetInterval(50);
  second.SetInterval(100);
  first.SetInterval(100);
  clock.mSteady += milliseconds(100);
  timers.RunDue();
  EXPECT_EQ(order, (QStringList{QStringLiteral("third"), QStringLiteral("first"), QStringLiteral("second")}));
}

TEST_F(TimerTest, After_a_long_pause_a_timer_fires_once_and_goes_on_from_there) {
  int fired = 0;
  Timer timer(timers, [&] { ++fired; });
  timer.SetInterval(100);
  clock.mSteady += milliseconds(1050);
  timers.RunDue();
  EXPECT_EQ(fired, 1);
  timers.Advance(milliseconds(99));
  EXPECT_EQ(fired, 1);
  timers.Advance(milliseconds(1));
  EXPECT_EQ(fired, 2);
}

TEST_F(TimerTest, It_does_not_drift_when_served_late) {
  int fired = 0;
  Timer timer(timers, [&] { ++fired; });
  timer.SetInterval(100);
  clock.mSteady += milliseconds(130);
  timers.RunDue();
  timers.Advance(milliseconds(69));
  EXPECT_EQ(fired, 1);
  timers.Advance(milliseconds(1));
  EXPECT_EQ(fired, 2);
}

TEST_F(TimerTest, It_may_be_destroyed_in_its_own_event) {
  std::unique_ptr<Timer> timer;
  int fired = 0;
  timer = std::make_unique<Timer>(timers, [&] {
    ++fired;
    timer.reset();
    ++fired;
  });
  timer->SetInterval(10);
  timers.Advance(milliseconds(100));
  EXPECT_EQ(fired, 2);
}

TEST_F(TimerTest, Timers_may_be_served_from_inside_an_event) {
  int inner = 0;
  Timer other(timers, [&] { ++inner; });
  int depth = 0;
  Timer timer(timers, [&] {
    if (++depth > 1) return;
    clock.mSteady += milliseconds(10);
    timers.RunDue();
  });
  timer.SetInterval(10);
  other.SetInterval(15);
  clock.mSteady += milliseconds(10);
  timers.RunDue();
  EXPECT_EQ(inner, 1);
}

TEST_F(TimerTest, The_loop_hears_of_an_earlier_deadline) {
  int heard = 0;
  timers.OnEarlierDeadline = [&] { ++heard; };
  Timer slow(timers, [] {});
  slow.SetInterval(1000);
  EXPECT_EQ(heard, 1);
  Timer slower(timers, [] {});
  slower.SetInterval(2000);
  EXPECT_EQ(heard, 1);
  Timer quick(timers, [] {});
  quick.SetInterval(10);
  EXPECT_EQ(heard, 2);
}

TEST_F(TimerTest, The_time_of_day_may_be_set_back_or_forward_and_moves_no_timer) {
  int fired = 0;
  Timer timer(timers, [&] { ++fired; });
  timer.SetInterval(1000);
  clock.mNow = {2019, 12, 31, 23, 59, 59, 999};
  timers.Advance(milliseconds(999));
  EXPECT_EQ(fired, 0);
  clock.mNow = {2030, 1, 1, 0, 0, 0, 0};
  timers.Advance(milliseconds(1));
  EXPECT_EQ(fired, 1);
}

}  // namespace
}  // namespace veltrane
