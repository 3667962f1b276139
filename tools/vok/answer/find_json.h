#pragma once

#include <span>
#include <string>
#include <vector>

#include "answer/json_answer.h"
#include "section/items.h"
#include "section/losses.h"

namespace vok::tool {

/// An item that holds what was looked for.
struct FoundItem {
  const Section* section;
  ItemEntry item;
  std::string as;  ///< the encoding in which it does
  std::vector<u32> offsets;
  std::string excerpt;  ///< the bytes about the first place, as text
};

JsonAnswer FoundJson(u16 version, std::span<const FoundItem> found, const Losses& losses);

}  // namespace vok::tool
