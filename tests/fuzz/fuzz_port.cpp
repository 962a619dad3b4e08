#include "tests/fuzz/AddressTarget.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  veltrane::FuzzAddress(veltrane::ReadPortCommand, veltrane::WritePortCommand, data, size);
  return 0;
}
