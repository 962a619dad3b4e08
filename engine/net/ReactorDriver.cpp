#include "engine/net/ReactorDriver.h"

#include <QThread>

#include <algorithm>

#include "engine/net/Reactor.h"

namespace veltrane {

ReactorDriver::ReactorDriver(Reactor& reactor, TimerQueue& timers, const Clock& clock,
                             std::function<void(const Failure&)> onEscapedFailure)
    : mReactor(reactor),
      mTimers(timers),
      mClock(clock),
      mOnEscapedFailure(std::move(onEscapedFailure)),
      mNotifier(reactor.Descriptor(), QSocketNotifier::Read) {
  mReactor.OnEscapedFailure = mOnEscapedFailure;
  connect(&mNotifier, &QSocketNotifier::activated, this, [this] { mReactor.Turn(); });
  mTimer.setTimerType(Qt::PreciseTimer);
  mTimer.setSingleShot(true);
  connect(&mTimer, &QTimer::timeout, this, &ReactorDriver::RunTimers);
  mTimers.OnEarlierDeadline = [this] { ArmTimer(); };
  ArmTimer();
}

ReactorDriver::~ReactorDriver() {
  mTimers.OnEarlierDeadline = nullptr;
  mReactor.OnEscapedFailure = nullptr;
}

void ReactorDriver::RunTimers() {
  // Armed before the events run: one of them may open a modal window, and timers go on meanwhile. RunDue
  // stops at an event that lets a failure out; the others are due at once again.
  mTimer.start(1);
  // A window that is drawn before the message loop runs must not start what the loop is for.
  if (QThread::currentThread()->loopLevel() == 0) return;
  try {
    mTimers.RunDue();
  } catch (...) {
    mOnEscapedFailure(CurrentFailure());
  }
  ArmTimer();
}

void ReactorDriver::ArmTimer() {
  const auto deadline = mTimers.NextDeadline();
  if (!deadline) {
    mTimer.stop();
    return;
  }
  // Rounded up, so that a timer is never early.
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*deadline - mClock.Steady());
  mTimer.start(std::max(wait, std::chrono::milliseconds(0)));
}

}  // namespace veltrane
