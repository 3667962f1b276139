#pragma once

#include <span>
#include <vector>

#include "base/files.h"

namespace vok::tool {

/// A place where two byte sequences differ, and what each of them has there.
struct ByteDifference {
  u32 offset;
  Bytes before;
  Bytes after;
};

/// The places where they differ, byte against byte; a few equal bytes between two places do not part them. What one
/// has beyond the other's end is a place of its own, or part of the last.
std::vector<ByteDifference> CompareBytes(std::span<const u8> before, std::span<const u8> after);

/// "at 12: 4142 -> 43", long sides cut short.
std::string TextOf(const ByteDifference& difference);

}  // namespace vok::tool
