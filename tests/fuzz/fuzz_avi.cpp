// The animation reader with any bytes: it gives pictures within its limits, or fails as it says.
#include "base/Failure.h"
#include "tests/fuzz/Fuzz.h"
#include "ui/AviFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace veltrane;
  const QByteArray input = Input(data, size);
  try {
    const AviFile file = ReadAvi(input);
    Require(!file.frames.isEmpty() && file.frames.size() <= kMostAviFrames, "the number of frames");
    Require(file.width >= 1 && file.width <= kMostAviPixels, "the width");
    Require(file.height >= 1 && file.height <= kMostAviPixels, "the height");
    Require(file.frameMs >= kLeastFrameMs && file.frameMs <= kMostFrameMs, "the time of a frame");
    for (const QByteArray& frame : file.frames)
      Require(input.contains(frame), "a frame that is not in the file");
  } catch (const Failure& failure) {
    Require(!failure.Text().isEmpty(), "a failure without a text");
  }
  return 0;
}
