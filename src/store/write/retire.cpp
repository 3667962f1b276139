#include "store/write/retire.h"

#include <algorithm>

#include "flash/codes.h"
#include "store/volume/slots.h"

namespace vok {

namespace {

FlashAddress PayloadOf(const PartitionRecord& partition, FlashAddress slot) {
  const BlockRecord& block = partition.block_table[BlockOfAddress(partition, slot)];
  return LocateRecord(partition, block, ReadHeader(slot).word).payload();
}

}  // namespace

u16 MarkItemDeleted(const PartitionRecord& partition, BlockRecord& block, FlashAddress slot) {
  const u32 word = DeletedWord(ReadHeader(slot).word);
  if (u16 code = ProgramLocationWord(slot, word)) return code;
  ++block.deleted_slots;
  block.dead_bytes += static_cast<u32>(RecordAndSlotSize(LocateRecord(partition, block, word).length));
  return code::kOk;
}

u16 MarkItemDeleted(PartitionRecord& partition, FlashAddress slot) {
  return MarkItemDeleted(partition, partition.block_table[BlockOfAddress(partition, slot)], slot);
}

void RepointHandles(PartitionRecord& partition, FlashAddress old_slot, FlashAddress new_slot) {
  if (partition.handle_table == nullptr) return;
  const FlashAddress old_payload = PayloadOf(partition, old_slot);
  // A free entry holds 0, as would the handle of a payload at address 0.
  if (old_payload == 0) return;
  u64* const end = partition.handle_table + partition.handle_count;
  std::replace(partition.handle_table, end, old_payload, PayloadOf(partition, new_slot));
}

}  // namespace vok
