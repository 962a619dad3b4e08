#include <gtest/gtest.h>

#include "base/Failure.h"
#include "history/SocketPairHistory.h"

namespace veltrane {
namespace {

SocketEventRef Event(SocketEventType kind, qsizetype bytes = 0, bool followOn = false) {
  auto event = std::make_shared<SocketEvent>();
  event->mobjEventType = kind;
  event->mstrData = QByteArray(bytes, 'x');
  event->mblnNextEventFollowOn = followOn;
  return event;
}

TEST(SocketPairHistoryTest, The_first_event_has_none_before_it_and_the_second_copies_its_follow_on) {
  SocketPairHistory history;
  history.AddEvent(Event(etLocalServerAcceptedConnection, 0, true));
  EXPECT_FALSE(history.mblnPreviousEventFollowOn);
  history.AddEvent(Event(etConnectionAttemptToRemoteServer));
  EXPECT_TRUE(history.mblnPreviousEventFollowOn);
  history.AddEvent(Event(etConnectionAttemptSuccessful));
  EXPECT_FALSE(history.mblnPreviousEventFollowOn);
}

TEST(SocketPairHistoryTest, The_counters_are_uneven) {
  for (int kind = 0; kind < kSocketEventTypes; ++kind) {
    SocketPairHistory history;
    EXPECT_EQ(history.AddEvent(Event(static_cast<SocketEventType>(kind), 7)), 7);
    EXPECT_EQ(history.mlngBytesC2S, kind == 12 || kind == 16 ? 7 : 0) << kind;
    EXPECT_EQ(history.mlngBytesS2C, kind == 10 ? 7 : 0) << kind;
    EXPECT_EQ(history.mlngMemoryAllocated, 7) << kind;
    EXPECT_EQ(history.mlngEventCount, 1) << kind;
  }
}

TEST(SocketPairHistoryTest, An_event_of_0_bytes_is_filed_and_moves_no_counter) {
  SocketPairHistory history;
  EXPECT_EQ(history.AddEvent(Event(etServerBytesReceived)), 0);
  EXPECT_EQ(history.mobjSocketPairEvents.Count(), 1);
  EXPECT_EQ(history.mlngBytesC2S, 0);
  EXPECT_EQ(history.mlngMemoryAllocated, 0);
}

TEST(SocketPairHistoryTest, Events_are_found_by_position_and_by_key_and_keep_their_keys_when_others_go) {
  SocketPairHistory history;
  QList<SocketEventRef> events;
  for (int i = 0; i < 5; ++i) {
    events.append(Event(etServerBytesReceived, 1));
    history.AddEvent(events.last());
  }
  EventList& list = history.mobjSocketPairEvents;
  EXPECT_EQ(list.Item(1), events[0]);
  EXPECT_EQ(list.Item(QStringLiteral("KEY0")), events[0]);
  EXPECT_EQ(list.KeyAt(5), QStringLiteral("KEY4"));
  list.RemoveFirst();
  list.RemoveFirst();
  EXPECT_EQ(list.Count(), 3);
  EXPECT_EQ(list.Item(1), events[2]);
  EXPECT_EQ(list.KeyAt(1), QStringLiteral("KEY2"));
  EXPECT_EQ(list.Item(QStringLiteral("KEY4")), events[4]);
  EXPECT_FALSE(list.Contains(QStringLiteral("KEY1")));
  EXPECT_FALSE(list.Contains(QStringLiteral("KEY5")));
  EXPECT_FALSE(list.Contains(QStringLiteral("KEY")));
  EXPECT_FALSE(list.Contains(QStringLiteral("4")));
  // The history still tells what it ever had.
  EXPECT_EQ(history.mlngEventCount, 5);
  EXPECT_EQ(history.mlngMemoryAllocated, 5);
  EXPECT_THROW(list.Item(0), Failure);
  EXPECT_THROW(list.Item(4), Failure);
  EXPECT_THROW(list.Item(QStringLiteral("KEY0")), Failure);
}

TEST(SocketPairHistoryTest, An_empty_list_has_no_first) {
  EventList list;
  EXPECT_THROW(list.RemoveFirst(), Failure);
  EXPECT_THROW(list.KeyAt(1), Failure);
  EXPECT_TRUE(list.IsEmpty());
}

TEST(SocketPairHistoryTest, The_sums_go_past_what_32_bits_hold) {
  SocketPairHistory history;
  history.mlngMemoryAllocated = 0x7fffffff;
  history.mlngBytesC2S = 0x7fffffff;
  history.AddEvent(Event(etServerBytesReceived, 1));
  EXPECT_EQ(history.mlngMemoryAllocated, 0x80000000LL);
  EXPECT_EQ(history.mlngBytesC2S, 0x80000000LL);
}

TEST(SocketPairHistoryTest, The_count_of_events_goes_past_what_32_bits_hold) {
  SocketPairHistory history;
  history.mlngEventCount = 2147483647;
  history.AddEvent(std::make_shared<SocketEvent>());
  EXPECT_EQ(history.mlngEventCount, 2147483648);
}

}  // namespace
}  // namespace veltrane
