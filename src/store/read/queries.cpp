#include <algorithm>
#include <span>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/records.h"
#include "vok/store.h"

namespace vok {

namespace {

/// The one partition number that ItemOverhead() accepts.
constexpr u8 kOverheadPartition = 1;

/// Bytes of a slot, a length word and the word that stays erased.
u32 FixedItemCost() { return 2 * CurrentLayout().word_size + 4; }

u32 AboveZero(u32 value, u32 reduction) { return value > reduction ? value - reduction : 0; }

/// The block held back for reorganisations: the first that will be erased, else the first Free one.
const BlockRecord* SpareBlock(const PartitionRecord& partition) {
  const std::span<const BlockRecord> blocks(partition.block_table, partition.block_count);
  auto spare = std::find_if(blocks.begin(), blocks.end(), AwaitsErase);
  if (spare == blocks.end())
    spare = std::find_if(blocks.begin(), blocks.end(),
                         [](const BlockRecord& block) { return block.state == CurrentLayout().states.free; });
  return spare != blocks.end() ? &*spare : nullptr;
}

void AddActiveBlock(const BlockRecord& block, PartitionSpace& space) {
  const u32 free = UsableSpace(block);
  const u32 room_now = AboveZero(free, FixedItemCost());
  const u32 room_then = room_now != 0 ? room_now + block.dead_bytes : AboveZero(block.dead_bytes, FixedItemCost());
  space.free_now += free;
  space.free_after_reorganisation += free + block.dead_bytes;
  space.largest_item_now = std::max(space.largest_item_now, room_now);
  space.largest_item_after_reorganisation = std::max(space.largest_item_after_reorganisation, room_then);
}

void AddBlock(const PartitionRecord& partition, const BlockRecord& block, PartitionSpace& space) {
  const u32 empty = AboveZero(partition.block_size, CurrentLayout().word_size + block_header::kSize);
  const u32 empty_room = AboveZero(empty, FixedItemCost());
  if (AwaitsErase(block)) {
    space.free_after_reorganisation += empty;
    space.largest_item_after_reorganisation = empty_room;
  } else if (block.state == CurrentLayout().states.active) {
    AddActiveBlock(block, space);
  } else if (block.state == CurrentLayout().states.free) {
    space.free_now += empty;
    space.free_after_reorganisation += empty;
    space.largest_item_now = space.largest_item_after_reorganisation = empty_room;
  }
}

/// Where the length word is half a unit, a payload of whole 4-byte units needs its pad from the same room.
void LeaveRoomForPad(u32& largest) {
  if (largest != 0 && largest % 4 == 0) largest -= Pad(largest);
}

}  // namespace

u16 ItemOverhead(u8 partition, u32 length, u8* overhead) {
  if (overhead == nullptr) return Fail(code::kInvalidParameter);
  if (partition != kOverheadPartition) return Fail(code::kInvalidPartition);
  *overhead = static_cast<u8>(Pad(length) + FixedItemCost());
  return code::kOk;
}

u16 GetPartitionRecord(u8 partition, PartitionRecord* record) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (record == nullptr) return Fail(code::kInvalidParameter);
  *record = PartitionAt(partition);
  return code::kOk;
}

u16 GetPartitionSpace(u8 partition, PartitionSpace* space) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (space == nullptr) return Fail(code::kInvalidParameter);
  PartitionRecord& record = PartitionAt(partition);
  const LockGuard first(PartitionLock(record));
  const LockGuard second(SecondPartitionLock(record));

  *space = {};
  const BlockRecord* const spare = SpareBlock(record);
  for (u16 i = 0; i < record.block_count; ++i)
    if (&record.block_table[i] != spare) AddBlock(record, record.block_table[i], *space);
  LeaveRoomForPad(space->largest_item_now);
  LeaveRoomForPad(space->largest_item_after_reorganisation);
  return code::kOk;
}

}  // namespace vok
