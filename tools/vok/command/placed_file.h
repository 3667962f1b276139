#pragma once

#include <string>

#include "command/options.h"

namespace vok::tool {

/// Reads FILE[@ADDRESS]; an @ that no number follows belongs to the file's name.
PlacedFile PlacedFileOf(const std::string& text);

}  // namespace vok::tool
