#pragma once

#include "store/volume/records.h"

namespace vok {

/// Retires one copy of an item: programs the Deleted form of its location word and counts its record as dead space.
///
/// The state bits are cleared whatever they were; the location bits stay, so the record can still be measured.
///
/// @param slot  flash address of the copy's header slot in @p block
/// @return 0; 105 when the word could not be programmed (then the block's counters are as before)
u16 MarkItemDeleted(const PartitionRecord& partition, BlockRecord& block, FlashAddress slot);

/// MarkItemDeleted() for a slot whose block is not at hand.
u16 MarkItemDeleted(PartitionRecord& partition, FlashAddress slot);

/// After an item moved, makes the open handles of its old copy follow it to the new one.
void RepointHandles(PartitionRecord& partition, FlashAddress old_slot, FlashAddress new_slot);

}  // namespace vok
