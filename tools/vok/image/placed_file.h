#pragma once

#include <optional>
#include <string>

#include "flash/types.h"

namespace vok::tool {

/// A file and the flash address of its first byte.
struct PlacedFile {
  std::string path;
  std::optional<u64> address;
};

/// Reads FILE[@ADDRESS]; an @ that no number follows belongs to the file's name.
PlacedFile PlacedFileOf(const std::string& text);

}  // namespace vok::tool
