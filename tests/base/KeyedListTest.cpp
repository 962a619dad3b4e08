#include <gtest/gtest.h>

#include "base/KeyedList.h"
#include "tests/support/Journal.h"

namespace veltrane {
namespace {

QString Key(int i) {
  return QStringLiteral("KEY%1").arg(i);
}

KeyedList<int> Filled(int count) {
  KeyedList<int> list;
  for (int i = 1; i <= count; ++i)
    list.Add(i * 10, Key(i));
  return list;
}

template <class Body>
qint32 FailureOf(Body body) {
  try {
    body();
  } catch (const Failure& failure) {
    return failure.Number();
  }
  return 0;
}

TEST(KeyedList, Items_by_key_and_by_position_from_1) {
  const KeyedList<int> list = Filled(3);
  EXPECT_EQ(list.Count(), 3);
  EXPECT_EQ(list.Item(1), 10);
  EXPECT_EQ(list.Item(3), 30);
  EXPECT_EQ(list.Item(Key(2)), 20);
  EXPECT_EQ(list.KeyAt(2), Key(2));
  EXPECT_EQ(list.PositionOf(Key(3)), 3);
}

TEST(KeyedList, A_missing_key_or_position_fails) {
  KeyedList<int> list = Filled(3);
  EXPECT_EQ(FailureOf([&] { list.Item(Key(4)); }), 5);
  EXPECT_EQ(FailureOf([&] { list.Item(0); }), 9);
  EXPECT_EQ(FailureOf([&] { list.Item(4); }), 9);
  EXPECT_EQ(FailureOf([&] { list.Remove(Key(4)); }), 5);
  EXPECT_EQ(FailureOf([&] { list.Remove(4); }), 9);
  EXPECT_EQ(list.Find(Key(4)), nullptr);
}

TEST(KeyedList, A_duplicate_key_fails_and_adds_nothing) {
  KeyedList<int> list = Filled(3);
  EXPECT_EQ(FailureOf([&] { list.Add(99, Key(2)); }), 457);
  EXPECT_EQ(list.Count(), 3);
  EXPECT_EQ(list.Item(Key(2)), 20);
}

TEST(KeyedList, Removal_moves_what_follows_up) {
  KeyedList<int> list = Filled(5);
  EXPECT_EQ(list.Remove(Key(2)), 20);
  EXPECT_EQ(list.Remove(1), 10);
  EXPECT_EQ(list.Item(1), 30);
  EXPECT_EQ(list.PositionOf(Key(3)), 1);
  EXPECT_EQ(list.PositionOf(Key(5)), 3);
  list.Add(60, Key(2));
  EXPECT_EQ(list.PositionOf(Key(2)), 4);
}

TEST(KeyedList, Positions_hold_after_many_removals_anywhere) {
  KeyedList<int> list = Filled(1000);
  for (int i = 1; i <= 1000; i += 3)
    list.Remove(Key(i));
  for (int i = 0; i < 100; ++i)
    list.Remove(1);
  ASSERT_EQ(list.Count(), 566);
  for (qsizetype i = 1; i <= list.Count(); ++i) {
    EXPECT_EQ(list.PositionOf(list.KeyAt(i)), i);
    EXPECT_EQ(list.Item(list.KeyAt(i)), list.Item(i));
  }
}

TEST(KeyedList, An_item_stays_where_it_is_while_others_come_and_go) {
  KeyedList<int> list = Filled(1000);
  int* const item = list.Find(Key(500));
  for (int i = 1; i <= 1000; i += 3) {
    if (i != 500) list.Remove(Key(i));
  }
  for (int i = 1001; i <= 2000; ++i)
    list.Add(i * 10, Key(i));
  EXPECT_EQ(list.Find(Key(500)), item);
  EXPECT_EQ(*item, 5000);
}

TEST(KeyedList, Clear_frees_the_keys) {
  KeyedList<int> list = Filled(3);
  list.Clear();
  EXPECT_TRUE(list.IsEmpty());
  list.Add(1, Key(1));
  EXPECT_EQ(list.Item(Key(1)), 1);
}

}  // namespace
}  // namespace veltrane
