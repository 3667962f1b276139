#pragma once

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/layout.h"
#include "vok/store.h"

/// The RAM records of the store, and what is asked of them everywhere. Invariants of a mounted partition:
///  - every block's figures (top, next slot, dead bytes, slot counts, state) are what a walk over its bytes would find,
///    apart from steps that failed half way, which stay as far as they got until the next mount;
///  - next slot is 0 exactly when the block takes no more slots, otherwise free space holds at least an empty item;
///  - no decision about space reads the flash: the records serve them all.

namespace vok {

/// The one store of the process.
struct StoreRoot {
  u16 partition_count;
  u16 journal_sequence;  ///< ID of the next journal record
  PartitionRecord* partitions;
};

extern StoreRoot* store_root;  ///< null while the store is not set up

inline constexpr u16 kNoBlock = 0xFFFF;

namespace partition_flag {
inline constexpr u8 kReadOnly = 1;
inline constexpr u8 kMounted = 2;
inline constexpr u8 kWriteOnce = 4;
}  // namespace partition_flag

inline bool IsReadOnly(const PartitionRecord& partition) { return (partition.flags & partition_flag::kReadOnly) != 0; }
inline bool IsMounted(const PartitionRecord& partition) { return (partition.flags & partition_flag::kMounted) != 0; }
inline bool IsWriteOnce(const PartitionRecord& partition) {
  return (partition.flags & partition_flag::kWriteOnce) != 0;
}

/// The record of a partition number that a guard has accepted.
inline PartitionRecord& PartitionAt(u8 partition) { return store_root->partitions[partition]; }

/// The number of a partition, for the hooks.
inline u8 NumberOf(const PartitionRecord& partition) { return static_cast<u8>(&partition - store_root->partitions); }

/// @return 0; 138 not set up; 116 no such partition.
inline u16 CheckPartitionExists(u8 partition) {
  if (store_root == nullptr) return Fail(code::kUninitialized);
  if (partition >= store_root->partition_count) return Fail(code::kInvalidPartition);
  return code::kOk;
}
/// @return as CheckPartitionExists(); 140 not mounted.
inline u16 CheckPartitionMounted(u8 partition) {
  if (u16 code = CheckPartitionExists(partition)) return code;
  return IsMounted(PartitionAt(partition)) ? code::kOk : Fail(code::kUnmounted);
}
/// @return as CheckPartitionMounted(); 134 read-only.
inline u16 CheckPartitionWritable(u8 partition) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  return IsReadOnly(PartitionAt(partition)) ? Fail(code::kReadOnly) : code::kOk;
}
/// @return 0; 118 not an item type; 112 ID 65535.
inline u16 CheckTypeAndId(u16 type, u16 id) {
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  return id == kAnyId ? Fail(code::kInvalidId) : code::kOk;
}

/// The locks of a partition; null for a read-only one, which has none to take.
inline u32* PartitionLock(PartitionRecord& partition) { return IsReadOnly(partition) ? nullptr : &partition.locks[0]; }
inline u32* SecondPartitionLock(PartitionRecord& partition) {
  return IsReadOnly(partition) ? nullptr : &partition.locks[1];
}
inline u32* DirectoryLock(PartitionRecord& partition) { return &partition.locks[2]; }

inline FlashAddress PartitionBase(const PartitionRecord& partition) { return partition.block_table[0].base; }
inline FlashAddress FirstSlot(const BlockRecord& block) { return block.base + block_header::kSize; }
inline FlashAddress BlockEnd(const PartitionRecord& partition, const BlockRecord& block) {
  return block.base + partition.block_size;
}
inline FlashAddress LastAddress(const PartitionRecord& partition, const BlockRecord& block) {
  return BlockEnd(partition, block) - 1;
}

/// Counts changes of block states in RAM, so that whoever follows them can tell that there is something to follow.
inline u32 block_state_changes = 0;

/// The one way to change a block's state in RAM.
inline void SetBlockState(BlockRecord& block, u16 state) {
  block.state = state;
  ++block_state_changes;
}

/// Whether the block may hold current items: searches look into no other.
inline bool IsSearched(const BlockRecord& block) {
  const BlockStates& states = CurrentLayout().states;
  return block.state == states.active || block.state == states.reorg_target || block.state == states.reorg_source;
}

inline bool AwaitsErase(const BlockRecord& block) {
  const BlockStates& states = CurrentLayout().states;
  return block.state == states.retired || block.state == states.erased || block.state == states.erasing;
}

/// Bytes between the next slot and the lowest record, less the word that stays erased; 0 for a block that is overfull.
/// Not meaningful while next slot is 0.
inline u32 FreeSpace(const BlockRecord& block) {
  const u64 taken = block.next_slot + CurrentLayout().word_size;
  return block.top > taken ? static_cast<u32>(block.top - taken) : 0;
}

/// The free bytes that a write can use: 0 for a closed block.
inline u32 UsableSpace(const BlockRecord& block) { return block.next_slot != 0 ? FreeSpace(block) : 0; }

/// Closes the block when not even an empty item fits any more. @return whether it is closed now
inline bool CloseIfFull(BlockRecord& block) {
  if (FreeSpace(block) >= RecordAndSlotSize(0)) return false;
  block.next_slot = 0;
  return true;
}

/// Takes the block for empty; wear counter, state and slot count stay.
void ResetBlockRecord(const PartitionRecord& partition, BlockRecord& block);

/// Whether @p address lies in one of the partition's blocks.
inline bool InPartition(const PartitionRecord& partition, FlashAddress address) {
  if (partition.block_count == 0) return false;
  const FlashAddress base = PartitionBase(partition);
  return address >= base && address - base < u64{partition.block_size} * partition.block_count;
}

/// The index of the block that holds @p address; 0xFFFF, with 108 reported, outside the partition.
u16 BlockOfAddress(const PartitionRecord& partition, FlashAddress address);

/// Programs a block state word. @return 0, or 105. The RAM state is the caller's.
u16 ProgramBlockState(const BlockRecord& block, u16 state);

/// Programs a block state word and follows it in RAM. @return 0, or 105 with the RAM state as before.
u16 EnterBlockState(BlockRecord& block, u16 state);

}  // namespace vok
