#include "store/volume/scan.h"

#include <algorithm>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/format.h"
#include "store/volume/slots.h"

namespace vok {

namespace {

constexpr FlashAddress kNothing = 0;

/// What the passes over a block met. A pass that goes on from a cancelled slot adds to what the ones before it passed,
/// so that no slot is passed twice.
struct BlockFinding {
  explicit BlockFinding(FlashAddress block_end) : passed{.record = block_end}, lowest_live(block_end) {}

  FlashAddress unfinished = kNothing;  ///< the slot at which the last pass stopped
  FlashAddress journal = kNothing;     ///< the last Valid journal record that the last pass saw
  PassedSlots passed;
  FlashAddress lowest_live;  ///< the start of the lowest sound record that a Valid slot names
};

bool IsScannedState(const BlockRecord& block) {
  return IsSearched(block) || block.state == CurrentLayout().states.free;
}

void CountDeadSlot(BlockRecord& block, const SlotHeader& header, const ItemRecord& record) {
  ++block.deleted_slots;
  // A cancelled slot whose location could not be rebuilt names no record.
  if (header.word != 0) block.dead_bytes += static_cast<u32>(RecordAndSlotSize(record.length));
}

void PassSlot(const PartitionRecord& partition, BlockRecord& block, const SlotWalk& walk, BlockFinding& finding) {
  const SlotHeader& header = walk.header();
  const ItemRecord record = LocateRecord(partition, block, header.word);
  if (!walk.IsValidItem()) {
    CountDeadSlot(block, header, record);
  } else {
    if (header.type == kJournalType) finding.journal = walk.slot();
    if (record.sound) finding.lowest_live = std::min(finding.lowest_live, record.payload());
  }
  ++finding.passed.count;
  finding.passed.last_word = header.word;
  if (header.word != 0 && record.in_block) finding.passed.record = record.payload();
}

/// Settles top and next slot after a pass that ended at @p walk. A torn location of the last slot may lead above live
/// records; nothing is ever placed over them.
u16 SettleBlock(PartitionRecord& partition, BlockRecord& block, const SlotWalk& walk, const BlockFinding& finding,
                MountMode mode) {
  block.top = std::min(finding.passed.record, finding.lowest_live);
  if (walk.RanOut()) {
    block.next_slot = 0;
    return code::kOk;
  }
  block.next_slot = walk.slot();
  if (CloseIfFull(block)) return code::kOk;
  return CheckBlockTail(partition, block, mode);
}

/// Counts the slots from @p first on.
/// @return 0; 132 with finding.unfinished at the first unfinished slot, in every mode; the codes of CheckBlockTail()
u16 ScanBlock(PartitionRecord& partition, BlockRecord& block, FlashAddress first, MountMode mode,
              BlockFinding& finding) {
  finding.unfinished = finding.journal = kNothing;
  SlotWalk walk(partition, block, first);
  if (!walk.AtSlot() && !walk.RanOut()) return code::kOk;

  for (; walk.AtSlot(); walk.Advance()) {
    block.slot_count = finding.passed.count + 1;
    if (IsUnfinished(walk.header().word)) {
      finding.unfinished = walk.slot();
      return code::kNeedsRepair;
    }
    PassSlot(partition, block, walk, finding);
  }
  return SettleBlock(partition, block, walk, finding, mode);
}

/// Scans a block, cancelling unfinished slots. Each rescan starts at the slot just cancelled, so a journal record that
/// lies before it in the same block is left to the next mount.
u16 ScanAndRepairBlock(PartitionRecord& partition, BlockRecord& block, BlockFinding& finding) {
  u16 code = ScanBlock(partition, block, FirstSlot(block), MountMode::kRepair, finding);
  while (finding.unfinished != kNothing) {
    const FlashAddress slot = finding.unfinished;
    if (u16 failure = CancelUnfinishedSlot(partition, block, slot, finding.passed)) return failure;
    code = ScanBlock(partition, block, slot, MountMode::kRepair, finding);
    // A device that claims to have programmed the slot but did not would keep the scan here for ever.
    if (finding.unfinished == slot) return Fail(code::kFlashWrite);
  }
  return code;
}

u16 CheckBlock(PartitionRecord& partition, BlockRecord& block) {
  BlockFinding finding(BlockEnd(partition, block));
  const u16 code = ScanBlock(partition, block, FirstSlot(block), MountMode::kCheck, finding);
  if (finding.unfinished != kNothing) return Fail(code);
  if (code != code::kOk) return code;
  return finding.journal != kNothing ? Fail(code::kNeedsRepair) : code::kOk;
}

u16 RepairBlock(PartitionRecord& partition, BlockRecord& block) {
  BlockFinding finding(BlockEnd(partition, block));
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
