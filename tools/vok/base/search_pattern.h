#pragma once

#include <string>
#include <vector>

#include "base/files.h"

/// Bytes to look for, as a person writes them.

namespace vok::tool {

/// One way in which what is looked for may lie in an item.
struct SearchPattern {
  std::string as;  ///< "utf-8", "utf-16le", "utf-16be" or "hex"
  Bytes bytes;     ///< at least one
  bool any_case;   ///< ASCII letters match in either case
};

/// The bytes that pairs of hexadecimal digits write, with or without 0x, with spaces between pairs where one likes.
/// @return none when @p text is something else
Bytes BytesOfHex(const std::string& text);

/// The text in UTF-8 and, where it is sound UTF-8, in both orders of UTF-16.
std::vector<SearchPattern> TextPatterns(const std::string& text, bool any_case);

/// Where the pattern lies, at places that do not overlap.
std::vector<u32> FindAll(std::span<const u8> bytes, const SearchPattern& pattern);

}  // namespace vok::tool
