#pragma once

#include "store/read/index/item_index.h"

/// The acceleration: what the store keeps in RAM to be fast, and nothing else. Without it (VOK_ACCELERATION off, or no
/// memory for it) every operation walks the flash and does the same.

namespace vok {

/// The item index of a partition in step with its bytes, from its mount on; null when a walk must answer.
ItemIndex* IndexOf(const PartitionRecord& partition);

/// At the end of the store.
void DropAcceleration();

}  // namespace vok
