#include "tests/fuzz/WebTarget.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  veltrane::FuzzWebRequest("https://", data, size);
  return 0;
}
