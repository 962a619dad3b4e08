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

PayloadLimit::Place PayloadLimit::Wait(std::function<void()> goOn) {
  mWaiting.emplace(++mLastPlace, std::move(goOn));
  return mLastPlace;
}

// Each may fill up again what the others have drained.
void PayloadLimit::GoOn() {
  while (!mWaiting.empty() && !IsReached()) {
    const auto first = mWaiting.extract(mWaiting.begin());
    first.mapped()();
  }
  mSoon.SetEnabled(!mWaiting.empty() && !IsReached());
}

}  // namespace veltrane
