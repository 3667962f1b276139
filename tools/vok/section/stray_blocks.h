#pragma once

#include <string>
#include <vector>

#include "section/valid_copies.h"

/// Blocks with a header of their own where no section of the PSDT has a block, and what lies in them.

namespace vok::tool {

struct StrayBlock {
  u64 address;
  std::string section;  ///< to which it must belong
  SectionHoldings holdings;
  u32 sum;  ///< of all its bytes
};

/// @param sections  of the PSDT in force; nothing is mounted yet
std::vector<StrayBlock> HoldStrayBlocks(const SectionList& sections);

/// Where a section is misplaced, what looks like slots of its blocks is something in the middle of those that lie
/// there.
void LeaveOutStrays(const Section& section, const std::vector<BlockHead>& heads, const std::vector<StrayBlock>& strays,
                    SectionHoldings& holdings);

/// The items of the stray blocks of one section.
struct StrayItems {
  std::string section;
  std::vector<ItemKey> items;
  std::string places;    ///< "0x60000, 0x70000"
  bool changed = false;  ///< the bytes of a block are not what they were
};
std::vector<StrayItems> StrayItemsOf(const std::vector<StrayBlock>& strays);

}  // namespace vok::tool
