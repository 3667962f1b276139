#include "store/volume/scan.h"

#include <algorithm>
#include <limits>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/format.h"
#include "store/volume/slots.h"

namespace vok {

namespace {

constexpr FlashAddress kNothing = 0;

/// What the passes over a block met.
struct BlockFinding {
  FlashAddress unfinished = kNothing;  ///< the slot at which the last pass stopped
  FlashAddress journal = kNothing;     ///< the last Valid journal record that the last pass saw
  /// The start of the lowest sound record that a Valid slot names.
  FlashAddress lowest_live = std::numeric_limits<FlashAddress>::max();
};

bool IsScannedState(const BlockRecord& block) {
  return IsSearched(block) || block.state == CurrentLayout().states.free;
}

void CountDeadSlot(const PartitionRecord& partition, BlockRecord& block, const SlotHeader& header) {
  ++block.deleted_slots;
  // A cancelled slot whose location could not be rebuilt names no record.
  if (header.word != 0)
    block.dead_bytes += static_cast<u32>(RecordAndSlotSize(ItemDataLength(partition, block, header)));
}

void NoteValidSlot(const PartitionRecord& partition, const BlockRecord& block, const SlotWalk& walk,
                   BlockFinding& finding) {
  if (walk.header().type == kJournalType) finding.journal = walk.slot();
  const ItemRecord record = LocateRecord(partition, block, walk.header().word);
  if (record.sound) finding.lowest_live = std::min(finding.lowest_live, record.payload());
}

/// Settles top and next slot after a pass that ended at @p walk, whose last slot had @p last_word. A torn location may
/// lead above live records; nothing is ever placed over them.
u16 SettleBlock(PartitionRecord& partition, BlockRecord& block, const SlotWalk& walk, u32 last_word,
                FlashAddress lowest_live, MountMode mode) {
  const ItemRecord last = LocateRecord(partition, block, last_word);
  const FlashAddress lowest =
      last_word != 0 && last.in_block ? last.payload() : LowestRecord(partition, block, walk.slot());
  block.top = std::min(lowest, lowest_live);
  if (walk.RanOut()) {
    block.next_slot = 0;
    return code::kOk;
  }
  block.next_slot = walk.slot();
  if (CloseIfFull(block)) return code::kOk;
  return CheckBlockTail(partition, block, mode);
}

/// Counts the slots from @p first on; @p counter is the number of slots before it.
/// @return 0; 132 with finding.unfinished at the first unfinished slot, in every mode; the codes of CheckBlockTail()
u16 ScanBlock(PartitionRecord& partition, BlockRecord& block, FlashAddress first, u32& counter, MountMode mode,
              BlockFinding& finding) {
  finding.unfinished = finding.journal = kNothing;
  SlotWalk walk(partition, block, first);
  if (!walk.AtSlot() && !walk.RanOut()) return code::kOk;

  u32 last_word = 0;
  for (; walk.AtSlot(); walk.Advance()) {
    block.slot_count = ++counter;
    const SlotHeader& header = walk.header();
    last_word = header.word;
    if (IsUnfinished(header.word)) {
      finding.unfinished = walk.slot();
      return code::kNeedsRepair;
    }
    if (walk.IsValidItem()) {
      NoteValidSlot(partition, block, walk, finding);
    } else {
      CountDeadSlot(partition, block, header);
    }
  }
  return SettleBlock(partition, block, walk, last_word, finding.lowest_live, mode);
}

/// Scans a block, cancelling unfinished slots. Each rescan starts at the slot just cancelled, so a journal record that
/// lies before it in the same block is left to the next mount.
u16 ScanAndRepairBlock(PartitionRecord& partition, BlockRecord& block, BlockFinding& finding) {
  u32 counter = 0;
  u16 code = ScanBlock(partition, block, FirstSlot(block), counter, MountMode::kRepair, finding);
  while (finding.unfinished != kNothing) {
    const FlashAddress slot = finding.unfinished;
    if (u16 failure = CancelUnfinishedSlot(partition, block, slot, counter)) return failure;
    --counter;
    code = ScanBlock(partition, block, slot, counter, MountMode::kRepair, finding);
    // A device that claims to have programmed the slot but did not would keep the scan here for ever.
    if (finding.unfinished == slot) return Fail(code::kFlashWrite);
  }
  return code;
}

u16 CheckBlock(PartitionRecord& partition, BlockRecord& block) {
  u32 counter = 0;
  BlockFinding finding;
  const u16 code = ScanBlock(partition, block, FirstSlot(block), counter, MountMode::kCheck, finding);
  if (finding.unfinished != kNothing) return Fail(code);
  if (code != code::kOk) return code;
  return finding.journal != kNothing ? Fail(code::kNeedsRepair) : code::kOk;
}

u16 RepairBlock(PartitionRecord& partition, BlockRecord& block) {
  BlockFinding finding;
  if (u16 code = ScanAndRepairBlock(partition, block, finding)) return code;
  return finding.journal != kNothing ? ReplayJournalRecord(partition, finding.journal) : code::kOk;
}

}  // namespace

u16 ScanPartition(PartitionRecord& partition, MountMode mode) {
  for (u16 i = 0; i < partition.block_count; ++i) {
    BlockRecord& block = partition.block_table[i];
    u16 code = code::kOk;
    if (!IsScannedState(block)) {
      code = mode == MountMode::kRepair ? FormatBlock(partition, block, WearSource::kFlash) : Fail(code::kNeedsRepair);
    } else {
      ResetBlockRecord(partition, block);
      code = mode == MountMode::kRepair ? RepairBlock(partition, block) : CheckBlock(partition, block);
    }
    if (code != code::kOk) return code;
  }
  return code::kOk;
}

}  // namespace vok
