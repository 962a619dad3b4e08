// How much payload all handlers together may hold for readers that are slower than their senders. Past the
// limit nothing is read from a sender whose own reader is behind, until the readers have caught up; all other
// connections go on. What is held keeps its order, and no event changes: the next bytes only arrive later.
#pragma once

#include <deque>
#include <functional>

#include "base/Timer.h"

namespace veltrane {

class PayloadLimit {
 public:
  explicit PayloadLimit(TimerQueue& timers);

  /// In bytes; 0 or less is no limit.
  void SetMost(qint64 bytes) { mMost = bytes; }
  qint64 Most() const { return mMost; }
  /// What is held has grown or shrunk by so many bytes.
  void Change(qint64 bytes);
  qint64 Held() const { return mHeld; }
  bool IsReached() const { return mMost > 0 && mHeld >= mMost; }

  /// Calls goOn once from the message loop when the limit is not reached any more, in the order of asking.
  void Wait(std::function<void()> goOn);

 private:
  void GoOn();

  qint64 mMost = 0;
  qint64 mHeld = 0;
  std::deque<std::function<void()>> mWaiting;
  Timer mSoon;
};

}  // namespace veltrane
