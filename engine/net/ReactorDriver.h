// Ties the reactor and the timers to Qt's event loop.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <functional>

#include "base/Failure.h"
#include "base/Timer.h"

namespace veltrane {

class Reactor;

class ReactorDriver : public QObject {
  Q_OBJECT

 public:
  /// onEscapedFailure hears of failures that an event procedure let out; the system goes on.
  ReactorDriver(Reactor& reactor, TimerQueue& timers, const Clock& clock,
                std::function<void(const Failure&)> onEscapedFailure);
  ~ReactorDriver() override;

 private:
  void RunTimers();
  void ArmTimer();

  Reactor& mReactor;
  TimerQueue& mTimers;
  const Clock& mClock;
  std::function<void(const Failure&)> mOnEscapedFailure;
  QSocketNotifier mNotifier;
  QTimer mTimer;
};

}  // namespace veltrane
