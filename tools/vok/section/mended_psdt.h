#pragma once

#include <optional>
#include <string>
#include <vector>

#include "section/sections.h"

/// What the PSDT must have said before it was damaged, as far as the blocks tell: their own headers say where they lie,
/// their items to which section they belong. Only for looking at what start-up does not serve; nothing that a person
/// changes goes by it.

namespace vok::tool {

/// A record that places blocks where they were found, and what it says otherwise than the PSDT does.
struct MendedRecord {
  psdt::Record record;
  std::optional<std::size_t> source;  ///< the record of the PSDT that it stands for, by index
  std::string change;                 ///< empty = nothing

  bool Places(u64 address) const {
    return address >= record.start && address < record.start + u64{record.block_size} * record.block_count;
  }
};

/// Records for all blocks of the loaded image that can be told to belong somewhere, in the order of the PSDT, with
/// partition numbers from 0 on. Also those that the count of the PSDT leaves out, where blocks lie as they say.
std::vector<MendedRecord> MendRecords();

}  // namespace vok::tool
