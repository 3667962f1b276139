#pragma once

#include <optional>
#include <string_view>

#include "flash/types.h"

namespace vok::tool {

/// The number that @p text writes in decimal or 0x-hexadecimal, without a sign; nothing when it writes none.
std::optional<u64> ParseNumber(std::string_view text);

}  // namespace vok::tool
