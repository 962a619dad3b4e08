// The clock, handed in to whoever needs the time, so that a test can move it.
#pragma once

#include <QtGlobal>

#include <chrono>

namespace veltrane {

/// Local wall-clock time, as the user's watch shows it. month and day are 1-based.
struct LocalTime {
  int year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;
};

class Clock {
 public:
  using Instant = std::chrono::nanoseconds;

  virtual ~Clock() = default;

  /// The local time; may fail with the system's number.
  virtual LocalTime Now() const = 0;

  /// Time since an arbitrary start; never goes back, whatever happens to the wall clock.
  virtual Instant Steady() const = 0;

  /// Blocks the thread: neither sockets nor windows are served meanwhile.
  virtual void Sleep(std::chrono::milliseconds time) = 0;
};

class SystemClock : public Clock {
 public:
  LocalTime Now() const override;
  Instant Steady() const override;
  void Sleep(std::chrono::milliseconds time) override;

 private:
  // The calendar of the last second asked for. Recording asks for the time at every event, and the
  // calendar arithmetic is the dear part of the answer.
  mutable qint64 mCachedSecond = -1;
  mutable LocalTime mCached;
};

}  // namespace veltrane
