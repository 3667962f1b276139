#pragma once

#include "block_view.h"
#include "section/losses.h"

/// The copies that losses tell of, where they lie.

namespace vok::tool {

struct LostCopy {
  ItemKey name;
  u16 block;         ///< index in the section
  u32 slot;          ///< number in the block
  std::size_t loss;  ///< index in the losses of the image
};

/// Finds them in a section, and moves the bytes that only a rebuild brings back to the lost share of their blocks. What
/// a repair brings into service is not lost.
/// @param blocks  all blocks of the section, with the slots to which no mount comes
std::vector<LostCopy> MarkLostCopies(const Losses& losses, const std::string& section, std::vector<BlockView>& blocks);

}  // namespace vok::tool
