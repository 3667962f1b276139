#include <algorithm>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/format.h"
#include "store/volume/space.h"
#include "vok/store.h"

namespace vok {

namespace {

constexpr u8 kHundredPercent = 100;

/// Finds the block to erase and marks it as being erased, in RAM alone. A block left Erasing by an erase that failed is
/// taken again without counting its wear twice.
/// @return 0, with 0xFFFF when none is Retired; 109
u16 ChooseRetiredBlock(PartitionRecord& partition, u16& block) {
  const BlockStates& states = CurrentLayout().states;
  BlockRecord* const table = partition.block_table;
  if (block == kNoBlock) {
    BlockRecord* const end = table + partition.block_count;
    BlockRecord* const retired =
        std::find_if(table, end, [&](const BlockRecord& candidate) { return candidate.state == states.retired; });
    if (retired == end) return code::kOk;
    block = static_cast<u16>(retired - table);
  }
  BlockRecord& chosen = table[block];
  if (chosen.state == states.erasing) return code::kOk;
  if (chosen.state != states.retired) return Fail(code::kInvalidBlock);
  --chosen.wear_counter;
  SetBlockState(chosen, states.erasing);
  return code::kOk;
}

void FillActiveFigures(const PartitionRecord& partition, const BlockRecord& block, BlockInfo& info) {
  const u32 unused = UsableSpace(block) + block.dead_bytes;
  info.used_bytes = partition.block_size > unused ? partition.block_size - unused : 0;
  info.largest_item = LargestPayload(UsableSpace(block));
  info.dead_bytes = block.dead_bytes;
}

}  // namespace

u16 GetBlockInfo(u8 partition, u16 block, BlockInfo* info) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  const PartitionRecord& record = PartitionAt(partition);
  if (block >= record.block_count) return Fail(code::kInvalidBlock);
  if (info == nullptr) return Fail(code::kInvalidParameter);

  const BlockRecord& source = record.block_table[block];
  *info = {};
  info->erase_count = ~source.wear_counter;
  info->block_size = record.block_size;
  info->state = source.state;
  info->deleted_slots = source.deleted_slots;
  info->live_slots = source.slot_count - source.deleted_slots;
  if (source.state == CurrentLayout().states.active) FillActiveFigures(record, source, *info);
  return code::kOk;
}

u16 CheckReorgNeed(u8 partition, u8 threshold_percent, u16* block, u8 admit_pointers_out) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (threshold_percent > kHundredPercent || block == nullptr) return Fail(code::kInvalidParameter);
  const PartitionRecord& record = PartitionAt(partition);
  const SpaceSurvey survey =
      FreeSpaceSurvey(record, admit_pointers_out != 0 ? PointersOut::kAdmit : PointersOut::kSkip);
  *block = survey.most_dead;
  if (survey.most_dead == kNoBlock) return code::kOk;

  // A block with dead bytes has room for more than its header, so the divisor is above zero for it.
  const u32 room = record.block_size - CurrentLayout().word_size - block_header::kSize;
  const u64 percent = u64{survey.dead_bytes} * kHundredPercent / room;
  if (percent <= threshold_percent) return code::kOk;
  return Fail(survey.has_pointers_out ? code::kPointersOut : code::kNeedReorg);
}

u16 EraseRetiredBlock(u8 partition, u16* block) {
  if (u16 code = CheckPartitionWritable(partition)) return code;
  if (block == nullptr) return Fail(code::kInvalidParameter);
  PartitionRecord& record = PartitionAt(partition);
  if (*block != kNoBlock && *block >= record.block_count) return Fail(code::kInvalidBlock);
  {
    const StoreLock lock;
    if (u16 code = ChooseRetiredBlock(record, *block)) return code;
  }
  if (*block == kNoBlock) return code::kOk;
  return FormatBlock(record, record.block_table[*block], WearSource::kRecord);
}

u16 LockTypePartition(u16 type) {
  const u8 partition = FindPartitionForType(type);
  if (u16 code = CheckPartitionWritable(partition)) return code;
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  Hooks().TakeLock(PartitionLock(PartitionAt(partition)));
  return code::kOk;
}

}  // namespace vok
