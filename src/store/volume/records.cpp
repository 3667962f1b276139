#include "store/volume/records.h"

#include "flash/codes.h"
#include "flash/hooks.h"

namespace vok {

StoreRoot* store_root = nullptr;

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
