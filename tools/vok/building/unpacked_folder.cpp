#include "building/unpacked_folder.h"

#include <fmt/core.h>

namespace vok::tool {

std::string ItemFileName(const Section& section, const ItemEntry& item) {
  return fmt::format("{}/{}-{}.bin", section.name, item.type, item.id);
}

}  // namespace vok::tool
