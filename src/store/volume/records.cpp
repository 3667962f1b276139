#include "store/volume/records.h"

#include "flash/codes.h"
#include "flash/hooks.h"

namespace vok {

StoreRoot* store_root = nullptr;

u16 CheckPartitionExists(u8 partition) {
  if (store_root == nullptr) return Fail(code::kUninitialized);
  if (partition >= store_root->partition_count) return Fail(code::kInvalidPartition);
  return code::kOk;
}

u16 CheckPartitionMounted(u8 partition) {
  if (u16 code = CheckPartitionExists(partition)) return code;
  return IsMounted(PartitionAt(partition)) ? code::kOk : Fail(code::kUnmounted);
}

u16 CheckPartitionWritable(u8 partition) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  return IsReadOnly(PartitionAt(partition)) ? Fail(code::kReadOnly) : code::kOk;
}

u16 CheckTypeAndId(u16 type, u16 id) {
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  return id == kAnyId ? Fail(code::kInvalidId) : code::kOk;
}

void ResetBlockRecord(const PartitionRecord& partition, BlockRecord& block) {
  block.dead_bytes = 0;
  block.deleted_slots = 0;
  block.top = BlockEnd(partition, block);
  block.next_slot = FirstSlot(block);
}

u16 BlockOfAddress(const PartitionRecord& partition, FlashAddress address) {
  if (InPartition(partition, address))
    return static_cast<u16>((address - PartitionBase(partition)) / partition.block_size);
  Fail(code::kInternalError);
  return kNoBlock;
}

u16 ProgramBlockState(const BlockRecord& block, u16 state) {
  return FlashProgram16(state, block.base + block_header::kStateOffset);
}

u16 EnterBlockState(BlockRecord& block, u16 state) {
  if (u16 code = ProgramBlockState(block, state)) return code;
  SetBlockState(block, state);
  return code::kOk;
}

}  // namespace vok
