#include "base/Clock.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <thread>

#include "base/Failure.h"

namespace veltrane {

LocalTime SystemClock::Now() const {
  timespec now{};
  if (clock_gettime(CLOCK_REALTIME, &now) != 0) throw Failure(errno, QString::fromLocal8Bit(strerror(errno)));
  if (now.tv_sec != mCachedSecond) {
    tm local{};
    if (localtime_r(&now.tv_sec, &local) == nullptr) {
      throw Failure(errno, QString::fromLocal8Bit(strerror(errno)));
    }
    mCached = {
        local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, 0};
    mCachedSecond = now.tv_sec;
  }
  LocalTime result = mCached;
  result.millisecond = static_cast<int>(now.tv_nsec / 1'000'000);
  return result;
}

Clock::Instant SystemClock::Steady() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

void SystemClock::Sleep(std::chrono::milliseconds time) {
  std::this_thread::sleep_for(time);
}

}  // namespace veltrane
