#include "store/volume/format.h"

#include "flash/codes.h"

namespace vok {

namespace {

/// The signature goes first: without it the block counts as unformatted, whatever follows.
u16 ProgramBlockHeader(FlashAddress base, u32 wear_counter, u16 state) {
  if (u16 code = FlashProgram32(block_header::kSignature, base + block_header::kSignatureOffset)) return code;
  if (u16 code = FlashProgram32(CurrentLayout().version, base + block_header::kFormatVersionOffset)) return code;
  if (u16 code = FlashProgram32(wear_counter, base + block_header::kWearCounterOffset)) return code;
  return FlashProgram16(state, base + block_header::kStateOffset);
}

u32 NextWearCounter(FlashAddress base) {
  return HasSignature(base) ? ReadFlashWord32(base + block_header::kWearCounterOffset) - 1
                            : block_header::kFirstWearCounter;
}

}  // namespace

u16 FormatBlock(const PartitionRecord& partition, BlockRecord& block, WearSource wear) {
  if (wear == WearSource::kFlash) block.wear_counter = NextWearCounter(block.base);
  if (u16 code = FlashEraseBlock(block.base)) return code;
  if (u16 code = ProgramBlockHeader(block.base, block.wear_counter, CurrentLayout().states.free)) return code;
  ResetBlockRecord(partition, block);
  SetBlockState(block, CurrentLayout().states.free);
  return code::kOk;
}

u16 FormatAllBlocks(PartitionRecord& partition) {
  for (u16 i = 0; i < partition.block_count; ++i)
    if (u16 code = FormatBlock(partition, partition.block_table[i], WearSource::kFlash)) return code;
  return code::kOk;
}

u16 WriteDefaultBlockHeader(FlashAddress base, bool active, u32 wear_counter) {
  const BlockStates& states = CurrentLayout().states;
  return ProgramBlockHeader(base, wear_counter, active ? states.active : states.free);
}

u16 ReadBlockState(BlockRecord& block) {
  SetBlockState(block, ReadFlashWord16(block.base + block_header::kStateOffset));
  block.wear_counter = ReadFlashWord32(block.base + block_header::kWearCounterOffset);
  return block.state;
}

}  // namespace vok
