#pragma once

#include "block_view.h"
#include "section/losses.h"

/// The copies that losses tell of, where they lie.

namespace vok::tool {

struct LostCopy {
  ItemKey name;
  u32 slot;   ///< number in the block
  u32 loss;   ///< index in the losses of the image
  u16 block;  ///< index in the section
  bool is_sound;
};

/// Finds them in a section, and moves the bytes that only a rebuild brings back to the lost share of their blocks. What
/// a repair brings into service is not lost.
/// @param blocks  all blocks of the section
std::vector<LostCopy> MarkLostCopies(const Losses& losses, const Section& section, std::vector<BlockView>& blocks);

}  // namespace vok::tool
