#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "base/Failure.h"
#include "base/Numbers.h"
#include "tests/support/Journal.h"

namespace veltrane {
namespace {

qint32 FailureOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const Failure& failure) {
    return failure.Number();
  }
  return 0;
}

TEST(Numbers, Texts_that_are_numeric) {
  for (const char16_t* text : {u"0", u"7", u"-7", u"+7", u" 7 ", u"2.5", u".5", u"5.", u"1e3", u"1E+3",
                               u"1e-3", u"6\r\n", u"\t6", u"1e308", u"00012"}) {
    EXPECT_TRUE(IsNumeric(QStringView(text))) << QString::fromUtf16(text).toStdString();
  }
}

TEST(Numbers, Texts_that_are_not_numeric) {
  for (const char16_t* text : {u"", u" ", u"x", u"7x", u"x7", u".", u"-", u"1e", u"1e+", u"NaN", u"nan",
                               u"inf", u"1,5", u"1 2", u"--1", u"0x10", u"&H10", u"١"}) {
    EXPECT_FALSE(IsNumeric(QStringView(text))) << QString::fromUtf16(text).toStdString();
  }
}

TEST(Numbers, Halves_round_to_the_even_number) {
  EXPECT_EQ(ToInt16(u"2.5"), 2);
  EXPECT_EQ(ToInt16(u"3.5"), 4);
  EXPECT_EQ(ToInt16(u"-2.5"), -2);
  EXPECT_EQ(ToInt16(u"-3.5"), -4);
  EXPECT_EQ(ToInt32(u"0.5"), 0);
  EXPECT_EQ(ToInt32(u"1.5"), 2);
  EXPECT_EQ(ToInt32(2.5000001), 3);
}

TEST(Numbers, Sixteen_bits_overflow_beyond_their_ends) {
  EXPECT_EQ(ToInt16(u"32767"), 32767);
  EXPECT_EQ(ToInt16(u"-32768"), -32768);
  EXPECT_EQ(FailureOf([] { (void)ToInt16(u"32768"); }), 6);
  EXPECT_EQ(FailureOf([] { (void)ToInt16(u"-32769"); }), 6);
  EXPECT_EQ(ToInt16(u"32767.4"), 32767);
  EXPECT_EQ(FailureOf([] { (void)ToInt16(u"32767.5"); }), 6);
}

TEST(Numbers, Thirty_two_bits_overflow_beyond_their_ends) {
  EXPECT_EQ(ToInt32(u"2147483647"), 2147483647);
  EXPECT_EQ(ToInt32(u"-2147483648"), -2147483647 - 1);
  EXPECT_EQ(FailureOf([] { (void)ToInt32(u"2147483648"); }), 6);
  EXPECT_EQ(FailureOf([] { (void)ToInt32(u"1e308"); }), 6);
}

TEST(Numbers, A_number_beyond_a_double_overflows) {
  EXPECT_TRUE(IsNumeric(u"1e400"));
  EXPECT_EQ(FailureOf([] { (void)ToDouble(u"1e400"); }), 6);
  EXPECT_EQ(ToDouble(u"1e-400"), 0);
}

TEST(Numbers, For_who_only_compares_a_number_beyond_a_double_is_infinite) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(ToDoubleOrInfinity(u" 1e400 "), kInfinity);
  EXPECT_EQ(ToDoubleOrInfinity(u"-1e400"), -kInfinity);
  EXPECT_EQ(ToDoubleOrInfinity(u"1.5"), 1.5);
  EXPECT_EQ(FailureOf([] { (void)ToDoubleOrInfinity(u"inf"); }), 13);
}

TEST(Numbers, What_is_not_numeric_is_a_type_mismatch) {
  EXPECT_EQ(FailureOf([] { (void)ToInt16(u"abc"); }), 13);
  EXPECT_EQ(FailureOf([] { (void)ToInt32(u""); }), 13);
  EXPECT_EQ(FailureOf([] { (void)ToDouble(u"NaN"); }), 13);
}

TEST(Numbers, Flags_are_words_or_numbers) {
  EXPECT_TRUE(ToBoolean(u"True"));
  EXPECT_TRUE(ToBoolean(u"TRUE"));
  EXPECT_FALSE(ToBoolean(u"false"));
  EXPECT_TRUE(ToBoolean(u"-1"));
  EXPECT_FALSE(ToBoolean(u"0"));
  EXPECT_EQ(FailureOf([] { (void)ToBoolean(u"yes"); }), 13);
  EXPECT_EQ(BooleanText(true), QStringLiteral("True"));
  EXPECT_EQ(BooleanText(false), QStringLiteral("False"));
}

TEST(Numbers, A_very_long_number_is_the_same_number_and_takes_no_time) {
  const QString nines(10'000'000, u'9');
  const QString zeros(10'000'000, u'0');
  EXPECT_TRUE(std::isinf(ToDoubleOrInfinity(nines)));
  EXPECT_TRUE(std::isinf(ToDoubleOrInfinity(u'-' + nines)));
  EXPECT_LT(ToDoubleOrInfinity(u'-' + nines), 0);
  EXPECT_EQ(ToDouble(zeros), 0);
  EXPECT_EQ(ToDouble(zeros + QStringLiteral("65535")), 65535);
  EXPECT_EQ(ToDouble(QStringLiteral("+1.5") + zeros), 1.5);
  EXPECT_EQ(ToDouble(QStringLiteral("-.25") + zeros + QStringLiteral("e2")), -25);
  EXPECT_EQ(ToDouble(QStringLiteral("0.") + zeros + u'1'), 0);
  EXPECT_EQ(ToDouble(QStringLiteral("0.") + zeros + QStringLiteral("1e10000001")), 1);
  EXPECT_EQ(ToDouble(u'1' + zeros + QStringLiteral("e-10000000")), 1);
  EXPECT_EQ(ToDouble(QStringLiteral("3.") + QString(2000, u'0') + QStringLiteral("e+1")), 30);
  EXPECT_EQ(ToDouble(QStringLiteral("1e-") + nines), 0);
  EXPECT_TRUE(std::isinf(ToDoubleOrInfinity(QStringLiteral("1e") + nines)));
  EXPECT_EQ(ToDouble(QStringLiteral("1e") + zeros + u'2'), 100);
  EXPECT_DOUBLE_EQ(ToDouble(QStringLiteral("0.") + QString(2000, u'3')), 1.0 / 3);
}

}  // namespace
}  // namespace veltrane
