// What the fuzz targets share.
#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Runs a target with one input. Every target defines it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace veltrane {

/// Ends the process, with or without assertions in the build: what must hold of every result does not.
inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "Broken: %s\n", what);
  std::abort();
}

inline QByteArray Input(const std::uint8_t* data, std::size_t size) {
  return QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

}  // namespace veltrane
