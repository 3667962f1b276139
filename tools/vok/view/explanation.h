#pragma once

#include <optional>
#include <string>
#include <vector>

#include "flash/types.h"

namespace vok::tool {

/// One thing to know about an address.
struct Fact {
  std::string what;
  std::string value;
};

/// What lies at a flash address.
struct Explanation {
  FlashAddress address = 0;
  u8 byte = 0;
  std::string place;         ///< one of a few words, for scripts: "block header", "slot", "record", …
  std::string title;         ///< the same for a person, in one line
  std::string section;       ///< empty outside every section
  std::optional<u32> block;  ///< index in the section
  std::optional<u32> slot;   ///< index in the block, of the slot or of the one whose record it is
  std::vector<Fact> facts;
  std::string next;  ///< what the store does with it next

  void Add(std::string what, std::string value) { facts.push_back({std::move(what), std::move(value)}); }
};

/// "0xA to 0xF", the last address included.
std::string AddressRange(u64 start, u64 end);

/// "0x0010 (16)", as wide as @p width bytes
std::string WordText(u32 value, u32 width);

}  // namespace vok::tool
