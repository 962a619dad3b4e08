// A clock that moves when told to, and timers that fire as it does.
#pragma once

#include <algorithm>

#include "base/Clock.h"
#include "base/Failure.h"
#include "base/Timer.h"

namespace veltrane {

class FakeClock : public Clock {
 public:
  LocalTime Now() const override {
    if (mFailNow) throw Failure(FailureNumber::kInternal);
    return mNow;
  }
  Instant Steady() const override { return mSteady; }
  void Sleep(std::chrono::milliseconds time) override {
    mSlept += time;
    mSteady += time;
    if (OnSleep) OnSleep(time);
  }

  bool mFailNow = false;
  LocalTime mNow{2026, 3, 9, 7, 5, 3, 42};
  Instant mSteady{std::chrono::seconds(1000)};
  std::chrono::milliseconds mSlept{0};
  std::function<void(std::chrono::milliseconds)> OnSleep;
};

class FakeTimers : public TimerQueue {
 public:
  explicit FakeTimers(FakeClock& clock) : TimerQueue(clock), mFakeClock(clock) {}

  /// Lets time pass, stopping at every deadline on the way.
  void Advance(std::chrono::milliseconds time) {
    const Clock::Instant end = mFakeClock.mSteady + time;
    while (NextDeadline() && *NextDeadline() <= end) {
      mFakeClock.mSteady = std::max(mFakeClock.mSteady, *NextDeadline());
      RunDue();
    }
    mFakeClock.mSteady = end;
  }

 private:
  FakeClock& mFakeClock;
};

}  // namespace veltrane
