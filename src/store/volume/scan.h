#pragma once

#include "store/volume/mount.h"
#include "store/volume/records.h"

/// The mount scan: rebuilds every block's RAM figures from its bytes and finds what an interrupted operation left: a
/// slot still Allocated or Void, a record written without its slot, a Valid journal record. A check ends at the first
/// finding; a repair cancels the unfinished write or finishes the journalled change.

namespace vok {

/// Scans every block in index order. @return 0; 132 a finding in check mode; 122 a journal record of an unknown kind;
/// 104, 105, 127, 128 from a repair
u16 ScanPartition(PartitionRecord& partition, MountMode mode);

/// Looks below a block's lowest record for one that was begun without a slot and, in repair mode, gives it a slot of
/// type 0 that counts it as dead space, or closes the block when the bytes there make no sense.
/// @return 0; 132 in check mode; 105; 128
u16 CheckBlockTail(PartitionRecord& partition, BlockRecord& block, MountMode mode);

/// What a scan knows of the slots before the one at hand.
struct PassedSlots {
  u32 count = 0;
  u32 last_word = 0;        ///< location word of the last of them
  FlashAddress record = 0;  ///< start of the record of the last of them that has one; the block's end when none has
};

/// Cancels the Allocated or Void slot at @p slot. @return 0; 105
u16 CancelUnfinishedSlot(PartitionRecord& partition, BlockRecord& block, FlashAddress slot, const PassedSlots& before);

/// Finishes the change that a Valid journal record announces and retires the record. @return 0; 122; 105; 127
u16 ReplayJournalRecord(PartitionRecord& partition, FlashAddress slot);

}  // namespace vok
