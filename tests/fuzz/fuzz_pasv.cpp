#include "tests/fuzz/AddressTarget.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  veltrane::FuzzAddress(veltrane::ReadPasvReply, veltrane::WritePasvReply, data, size);
  return 0;
}
