#include "engine/PayloadLimit.h"

#include <utility>

namespace veltrane {

PayloadLimit::PayloadLimit(TimerQueue& timers) : mSoon(timers, [this] { GoOn(); }) {
  mSoon.SetEnabled(false);
  mSoon.SetInterval(1);
}

void PayloadLimit::Change(qint64 bytes) {
  mHeld += bytes;
  mSoon.SetEnabled(!mWaiting.empty() && !IsReached());
}

void PayloadLimit::Wait(std::function<void()> goOn) {
  mWaiting.push_back(std::move(goOn));
}

// Each may fill up again what the others have drained.
void PayloadLimit::GoOn() {
  while (!mWaiting.empty() && !IsReached()) {
    const std::function<void()> goOn = std::move(mWaiting.front());
    mWaiting.pop_front();
    goOn();
  }
  mSoon.SetEnabled(!mWaiting.empty() && !IsReached());
}

}  // namespace veltrane
