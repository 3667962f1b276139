#include "view/explanation.h"

#include <fmt/core.h>

#include "image/image_bytes.h"

namespace vok::tool {

std::string AddressRange(u64 start, u64 end) { return HexAddress(start) + " to " + HexAddress(end - 1); }

std::string WordText(u32 value, u32 width) { return fmt::format("0x{:0{}X} ({})", value, 2 * width, value); }

}  // namespace vok::tool
