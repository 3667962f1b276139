#pragma once

#include <vector>

#include "record_line.h"

namespace vok::tool {

/// The Valid slots that lie behind the first unused slot of a block, or behind a gap of a few more, as far as their
/// records lie in line. No writer leaves a gap in a slot list, so that damage made the slot look unused; no reader goes
/// on behind it.
/// @param list_end  the unused slot
/// @param line      as the slots before it leave it
std::vector<FlashAddress> SlotsBehind(const PartitionRecord& partition, const BlockRecord& block, FlashAddress list_end,
                                      RecordLine line);

}  // namespace vok::tool
