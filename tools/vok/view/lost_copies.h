#pragma once

#include <vector>

#include "block_view.h"
#include "section_copies.h"

/// Copies of items that reads do not give and that a rebuild brings back.

namespace vok::tool {

struct LostCopy {
  ItemKey name;
  u16 block;  ///< index in the section
  u32 slot;   ///< number in the block
};

/// Finds them in a section, and tells the shares of its blocks.
/// @param blocks  all blocks of the section, with the slots to which no mount comes
std::vector<LostCopy> MarkLostCopies(std::vector<BlockView>& blocks);

}  // namespace vok::tool
