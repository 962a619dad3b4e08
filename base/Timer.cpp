#include "base/Timer.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace veltrane {

Timer::Timer(TimerQueue& queue, std::function<void()> onTimer)
    : mQueue(queue), mOnTimer(std::move(onTimer)), mSerial(++queue.mLastSerial) {}

Timer::~Timer() {
  mQueue.Remove(*this);
}

void Timer::SetEnabled(bool enabled) {
  if (enabled == mEnabled) return;
  mEnabled = enabled;
  Rearm();
}

void Timer::SetInterval(qint32 interval) {
  mInterval = interval;
  Rearm();
}

void Timer::Rearm() {
  mQueue.Remove(*this);
  if (mEnabled && mInterval > 0) {
    mQueue.Add(*this, mQueue.mClock.Steady() + std::chrono::milliseconds(mInterval));
  }
}

bool TimerQueue::Earlier::operator()(const Timer* left, const Timer* right) const {
  return std::pair(left->mDeadline, left->mSerial) < std::pair(right->mDeadline, right->mSerial);
}

void TimerQueue::Add(Timer& timer, Clock::Instant deadline) {
  timer.mDeadline = deadline;
  timer.mWaiting = true;
  mWaiting.insert(&timer);
  if (*mWaiting.begin() == &timer && OnEarlierDeadline) OnEarlierDeadline();
}

void TimerQueue::Remove(Timer& timer) {
  if (!timer.mWaiting) return;
  mWaiting.erase(&timer);
  timer.mWaiting = false;
}

void TimerQueue::RunDue() {
  const Clock::Instant now = mClock.Steady();
  // What a timer re-arms from here on is later than now, so the loop ends.
  while (!mWaiting.empty() && (*mWaiting.begin())->mDeadline <= now) {
    Timer& timer = **mWaiting.begin();
    const auto interval = std::chrono::milliseconds(timer.mInterval);
    const Clock::Instant regular = timer.mDeadline + interval;
    Remove(timer);
    Add(timer, regular > now ? regular : now + interval);
    // A copy, because the event may destroy its timer.
    const std::function<void()> event = timer.mOnTimer;
    event();
  }
}

std::optional<Clock::Instant> TimerQueue::NextDeadline() const {
  if (mWaiting.empty()) return std::nullopt;
  return (*mWaiting.begin())->mDeadline;
}

}  // namespace veltrane
