// How long a step takes when nothing else is in its way.
#pragma once

#include <algorithm>
#include <chrono>

namespace veltrane {

/// The shortest of many runs.
template <class Body>
std::chrono::nanoseconds LeastTime(int runs, Body&& body) {
  auto least = std::chrono::nanoseconds::max();
  for (int i = 0; i < runs; ++i) {
    const auto start = std::chrono::steady_clock::now();
    body();
    least = std::min(least, std::chrono::nanoseconds(std::chrono::steady_clock::now() - start));
  }
  return least;
}

}  // namespace veltrane
