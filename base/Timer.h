// Timers as the system knows them: Enabled, Interval and one repeating event; an interval of 0 is silent.
// They wait in a TimerQueue. Production and tests use the same two classes; only the clock differs.
#pragma once

#include <QtGlobal>

#include <functional>
#include <optional>
#include <set>

#include "base/Clock.h"

namespace veltrane {

class TimerQueue;

/// Owned by whoever receives its event; may be destroyed inside that event. Created enabled, with
/// interval 0, in which state it costs its own few bytes and nothing else.
class Timer {
 public:
  Timer(TimerQueue& queue, std::function<void()> onTimer);
  ~Timer();
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  bool Enabled() const { return mEnabled; }
  /// Switching on starts a whole interval; switching on what is on changes nothing.
  void SetEnabled(bool enabled);

  /// In ms. There is no upper limit below the 32 bits; 0 or less is silent.
  qint32 Interval() const { return mInterval; }
  /// A running timer starts a whole interval anew.
  void SetInterval(qint32 interval);

 private:
  friend class TimerQueue;
  void Rearm();

  TimerQueue& mQueue;
  std::function<void()> mOnTimer;
  quint64 mSerial;
  Clock::Instant mDeadline{};
  qint32 mInterval = 0;
  bool mEnabled = true;
  bool mWaiting = false;
};

/// All waiting timers by deadline, ties in the order in which the timers were created. Whoever runs the
/// event loop calls RunDue at or after NextDeadline.
class TimerQueue {
 public:
  explicit TimerQueue(const Clock& clock) : mClock(clock) {}

  /// Fires what is due, each timer at most once. A timer that lags more than an interval behind skips the
  /// missed events. Safe to call from inside a timer's event (a modal window's loop does).
  void RunDue();

  std::optional<Clock::Instant> NextDeadline() const;

  /// Called whenever NextDeadline has changed to an earlier time or from nothing.
  std::function<void()> OnEarlierDeadline;

 private:
  friend class Timer;
  struct Earlier {
    bool operator()(const Timer* left, const Timer* right) const;
  };

  void Add(Timer& timer, Clock::Instant deadline);
  void Remove(Timer& timer);

  const Clock& mClock;
  std::set<Timer*, Earlier> mWaiting;
  quint64 mLastSerial = 0;
};

}  // namespace veltrane
