#pragma once

#include <span>
#include <string>

#include "base/files.h"

namespace vok::tool {

/// The bytes of a file and the flash address of the first one.
struct ImageBytes {
  std::string path;
  Bytes bytes;
  u64 address = 0;

  u64 end() const { return address + bytes.size(); }
  bool Covers(u64 start, u64 stop) const { return start >= address && stop <= end(); }
};

/// @throws Failure when the bytes are none or do not lie inside the flash image; @p what says what they are
void RequireInFlash(const ImageBytes& image, const std::string& what);

/// "0x1F000"
std::string HexAddress(u64 address);

}  // namespace vok::tool
