// How long a text may keep a field busy. The processor's time counts: what else the machine does does not.
#pragma once

#include <chrono>
#include <ctime>

namespace veltrane {

#if defined(__SANITIZE_ADDRESS__)
constexpr std::chrono::seconds kLongestForAField{5};
#else
constexpr std::chrono::seconds kLongestForAField{1};
#endif

class ProcessorTime {
 public:
  std::chrono::duration<double> Spent() const {
    return std::chrono::duration<double>(static_cast<double>(std::clock() - mBegan) / CLOCKS_PER_SEC);
  }

 private:
  std::clock_t mBegan = std::clock();
};

}  // namespace veltrane
