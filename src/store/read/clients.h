#pragma once

#include "store/volume/records.h"

namespace vok {

/// Turns a lock number (from 1) into the entry of a registered client's lock. @return 0; 113
u16 CheckLockNumber(const PartitionRecord& partition, u16& lock_number);

}  // namespace vok
