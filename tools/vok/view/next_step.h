#pragma once

#include "block_view.h"

/// What the store does next with sound, finished parts of a block. What a repair mount does about the others is told by
/// the findings.

namespace vok::tool {

/// @param field  offset in the block header
std::string NextOfHeader(const BlockView& block, u64 field);
std::string NextOfSlot(const BlockView& block, const SlotView& slot);
std::string NextOfFreeSpace(const BlockView& block);

}  // namespace vok::tool
