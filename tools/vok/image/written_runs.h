#pragma once

#include <span>
#include <string>
#include <vector>

#include "flash/types.h"

namespace vok::tool {

/// Bytes of a block that are not erased, but for short gaps between them.
struct WrittenRun {
  u32 offset;  ///< in the block
  std::span<const u8> bytes;
};

/// What is written in @p size bytes of the flash image from @p base on: whatever lies in no run is erased.
std::vector<WrittenRun> WrittenRuns(FlashAddress base, u32 size);

void AppendBase64(std::span<const u8> bytes, std::string& text);

}  // namespace vok::tool
