#include <ctime>
#include <gtest/gtest.h>

#include "base/Clock.h"
#include "base/RandomGenerator.h"

namespace veltrane {
namespace {

TEST(SystemClock, Shows_the_local_time) {
  const SystemClock clock;
  const std::time_t before = std::time(nullptr);
  const LocalTime now = clock.Now();
  std::tm expected{};
  localtime_r(&before, &expected);
  EXPECT_EQ(now.year, expected.tm_year + 1900);
  EXPECT_EQ(now.month, expected.tm_mon + 1);
  const int seconds = now.hour * 3600 + now.minute * 60 + now.second;
  const int expectedSeconds = expected.tm_hour * 3600 + expected.tm_min * 60 + expected.tm_sec;
  EXPECT_LE((seconds - expectedSeconds + 86400) % 86400, 1);
  EXPECT_GE(now.millisecond, 0);
  EXPECT_LE(now.millisecond, 999);
}

TEST(SystemClock, Sleep_takes_its_time) {
  SystemClock clock;
  const Clock::Instant before = clock.Steady();
  clock.Sleep(std::chrono::milliseconds(20));
  EXPECT_GE(clock.Steady() - before, std::chrono::milliseconds(20));
}

TEST(SystemRandomGenerator, Gives_numbers_from_0_up_to_but_not_1) {
  SystemRandomGenerator random;
  random.Randomize(7);
  float low = 1;
  float high = 0;
  for (int i = 0; i < 100000; ++i) {
    const float number = random.Rnd();
    ASSERT_GE(number, 0.0F);
    ASSERT_LT(number, 1.0F);
    low = std::min(low, number);
    high = std::max(high, number);
  }
  EXPECT_LT(low, 0.001F);
  EXPECT_GT(high, 0.999F);
}

TEST(SystemRandomGenerator, The_same_seed_gives_the_same_numbers) {
  SystemRandomGenerator one;
  SystemRandomGenerator two;
  one.Randomize(42);
  two.Randomize(42);
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(one.Rnd(), two.Rnd());
}

}  // namespace
}  // namespace veltrane
