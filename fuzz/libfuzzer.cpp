#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vok::fuzz::VOK_FUZZ_TARGET(vok::fuzz::Input(data, size));
  return 0;
}
