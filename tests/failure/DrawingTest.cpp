#include <cmath>
#include <gtest/gtest.h>

#include "base/Failure.h"
#include "failure/Drawing.h"
#include "tests/support/Journal.h"
#include "tests/support/ScriptedRandom.h"

namespace veltrane {
namespace {

template <class Body>
qint32 FailureOf(Body body) {
  try {
    body();
  } catch (const Failure& failure) {
    return failure.Number();
  }
  return 0;
}

/// Which of the first counts hit.
QList<int> Hits(const QString& nth, int last = 12) {
  QList<int> hits;
  for (int count = 1; count <= last; ++count) {
    if (IsNthHit(static_cast<qint16>(count), nth)) hits.append(count);
  }
  return hits;
}

const QList<int> kAll{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

TEST(NthRule, Hits_the_multiples) {
  EXPECT_EQ(Hits(QStringLiteral("5"), 16), (QList<int>{5, 10, 15}));
  EXPECT_EQ(Hits(QStringLiteral(" 4 ")), (QList<int>{4, 8, 12}));
  EXPECT_EQ(Hits(QStringLiteral("1")), kAll);
}

TEST(NthRule, Below_1_means_every_one) {
  EXPECT_EQ(Hits(QStringLiteral("0")), kAll);
  EXPECT_EQ(Hits(QStringLiteral("-3")), kAll);
  EXPECT_EQ(Hits(QStringLiteral("-32768")), kAll);
}

TEST(NthRule, Halves_go_to_the_even_number) {
  EXPECT_EQ(Hits(QStringLiteral("2.5")), (QList<int>{2, 4, 6, 8, 10, 12}));
  EXPECT_EQ(Hits(QStringLiteral("3.5")), (QList<int>{4, 8, 12}));
  EXPECT_EQ(Hits(QStringLiteral("0.5")), kAll);
  EXPECT_EQ(Hits(QStringLiteral("1.5")), (QList<int>{2, 4, 6, 8, 10, 12}));
}

TEST(NthRule, A_text_that_is_not_numeric_never_hits) {
  EXPECT_TRUE(Hits(QStringLiteral("five")).isEmpty());
  EXPECT_TRUE(Hits(QString()).isEmpty());
  EXPECT_TRUE(Hits(QStringLiteral("5th")).isEmpty());
}

TEST(NthRule, Beyond_16_bits_is_an_overflow) {
  EXPECT_EQ(FailureOf([] { IsNthHit(1, u"32768"); }), 6);
  EXPECT_EQ(FailureOf([] { IsNthHit(1, u"32767.5"); }), 6);
  EXPECT_EQ(FailureOf([] { IsNthHit(1, u"-32769"); }), 6);
  EXPECT_TRUE(IsNthHit(32767, u"32767"));
  EXPECT_TRUE(IsNthHit(32767, u"32767.4"));
}

TEST(NthRule, A_count_that_has_wrapped_is_tested_as_it_is) {
  EXPECT_TRUE(IsNthHit(-32768, u"2"));
  EXPECT_TRUE(IsNthHit(-32768, u"32"));
  EXPECT_FALSE(IsNthHit(-32768, u"5"));
  EXPECT_TRUE(IsNthHit(-32765, u"5"));
  EXPECT_TRUE(IsNthHit(0, u"5"));
}

TEST(PercentRule, Hits_when_the_percentage_is_not_below_the_draw) {
  ScriptedRandom random;
  random.mNumbers = {0.25F, std::nextafter(0.25F, 1.0F), 0.0F, 0.9F};
  EXPECT_TRUE(IsPercentHit(u"25", random));
  EXPECT_FALSE(IsPercentHit(u"25", random));
  EXPECT_TRUE(IsPercentHit(u"25", random));
  EXPECT_FALSE(IsPercentHit(u"25", random));
  EXPECT_EQ(random.mDraws, 4);
}

TEST(PercentRule, A_draw_is_single_precision_and_the_percentage_is_not) {
  // The float nearest to 0.1 lies above 0.1, that nearest to 0.3 too, that nearest to 0.7 below.
  ScriptedRandom random;
  random.mNumbers = {0.1F, 0.3F, 0.7F};
  EXPECT_FALSE(IsPercentHit(u"10", random));
  EXPECT_FALSE(IsPercentHit(u"30", random));
  EXPECT_TRUE(IsPercentHit(u"70", random));
}

TEST(PercentRule, A_hundred_and_more_always_hit) {
  ScriptedRandom random;
  for (const QString& percent :
       {QStringLiteral("100"), QStringLiteral("500"), QStringLiteral("1e6"), QStringLiteral("1e400")}) {
    for (const float draw : {0.0F, 0.5F, std::nextafter(1.0F, 0.0F)}) {
      random.mNumbers = {draw};
      EXPECT_TRUE(IsPercentHit(percent, random));
    }
  }
}

TEST(PercentRule, Zero_hits_only_when_exactly_zero_is_drawn) {
  ScriptedRandom random;
  random.mNumbers = {0.0F, 1.0F / 16777216.0F};
  EXPECT_TRUE(IsPercentHit(u"0", random));
  EXPECT_FALSE(IsPercentHit(u"0", random));
  random.mNumbers = {0.0F};
  EXPECT_FALSE(IsPercentHit(u"-1", random));
}

TEST(PercentRule, A_text_that_is_not_numeric_never_hits_and_draws_nothing) {
  ScriptedRandom random;
  EXPECT_FALSE(IsPercentHit(u"many", random));
  EXPECT_FALSE(IsPercentHit(u"", random));
  EXPECT_EQ(random.mDraws, 0);
}

TEST(RangeRule, Lies_between_the_two) {
  ScriptedRandom random;
  random.mNumbers = {0.0F, 0.5F, std::nextafter(1.0F, 0.0F)};
  EXPECT_EQ(DrawFromRange(u"100", u"300", random), 100);
  EXPECT_EQ(DrawFromRange(u"100", u"300", random), 200);
  EXPECT_EQ(DrawFromRange(u"100", u"300", random), 300);
  EXPECT_EQ(random.mDraws, 3);
}

TEST(RangeRule, A_To_below_its_From_works) {
  ScriptedRandom random;
  random.mNumbers = {0.0F, 0.25F, std::nextafter(1.0F, 0.0F)};
  EXPECT_EQ(DrawFromRange(u"300", u"100", random), 300);
  EXPECT_EQ(DrawFromRange(u"300", u"100", random), 250);
  EXPECT_EQ(DrawFromRange(u"300", u"100", random), 100);
}

TEST(RangeRule, Halves_go_to_the_even_number) {
  ScriptedRandom random;
  random.mNumbers = {0.5F, 0.5F, 0.5F};
  EXPECT_EQ(DrawFromRange(u"2", u"3", random), 2);
  EXPECT_EQ(DrawFromRange(u"3", u"4", random), 4);
  EXPECT_EQ(DrawFromRange(u"-3", u"-2", random), -2);
}

TEST(RangeRule, The_ends_may_have_fractions) {
  ScriptedRandom random;
  random.mNumbers = {0.0F, 0.5F};
  EXPECT_EQ(DrawFromRange(u"1.6", u"1.6", random), 2);
  EXPECT_EQ(DrawFromRange(u"0.25", u"2.5", random), 1);
}

TEST(RangeRule, Nothing_limits_a_time_to_16_bits) {
  ScriptedRandom random;
  random.mNumbers = {0.5F, 0.5F};
  EXPECT_EQ(DrawFromRange(u"100000", u"300000", random), 200000);
  EXPECT_EQ(FailureOf([&] { DrawFromRange(u"3e9", u"3e9", random); }), 6);
}

TEST(RangeRule, A_text_that_is_not_numeric_is_a_type_mismatch_after_the_draw) {
  ScriptedRandom random;
  EXPECT_EQ(FailureOf([&] { DrawFromRange(u"x", u"1", random); }), 13);
  EXPECT_EQ(FailureOf([&] { DrawFromRange(u"1", u"", random); }), 13);
  EXPECT_EQ(random.mDraws, 2);
}

}  // namespace
}  // namespace veltrane
