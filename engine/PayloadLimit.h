// How much payload all handlers together may hold for readers that are slower than their senders. Past the
// limit nothing is read from a sender whose own reader is behind, until the readers have caught up; all other
// connections go on. What is held keeps its order, and no event changes: the next bytes only arrive later.
#pragma once

#include <functional>
#include <map>

#include "base/Timer.h"

namespace veltrane {

class PayloadLimit {
 public:
  explicit PayloadLimit(TimerQueue& timers);

  /// In bytes of memory; 0 or less is no limit.
  void SetMost(qint64 bytes) { mMost = bytes; }
  qint64 Most() const { return mMost; }
  /// What is held has grown or shrunk by so many bytes.
  void Change(qint64 bytes);
  qint64 Held() const { return mHeld; }
  bool IsReached() const { return mMost > 0 && mHeld >= mMost; }

  /// Who waits, until he has been told.
  using Place = quint64;
  static constexpr Place kNowhere = 0;
  /// Calls goOn once from the message loop when the limit is not reached any more, in the order of asking.
  Place Wait(std::function<void()> goOn);
  /// Whoever had that place waits no more.
  void Forget(Place place) { mWaiting.erase(place); }
  qsizetype WaitingCount() const { return static_cast<qsizetype>(mWaiting.size()); }

 private:
  void GoOn();

  qint64 mMost = 0;
  qint64 mHeld = 0;
  std::map<Place, std::function<void()>> mWaiting;
  Place mLastPlace = kNowhere;
  Timer mSoon;
};

}  // namespace veltrane
