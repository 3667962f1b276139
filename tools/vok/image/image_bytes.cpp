#include "image/image_bytes.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "flash/image.h"

namespace vok::tool {

void RequireInFlash(const ImageBytes& image, const std::string& what) {
  if (image.bytes.empty()) throw Failure(fmt::format("{} {} is empty", what, image.path));
  if (InFlash(image.address, image.bytes.size())) return;
  throw Failure(fmt::format("{} {}: {} bytes at {} do not lie inside the flash image, which ends at {}", what,
                            image.path, image.bytes.size(), HexAddress(image.address), HexAddress(kFlashSize)));
}

std::string HexAddress(u64 address) { return fmt::format("0x{:X}", address); }

}  // namespace vok::tool
