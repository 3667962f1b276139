#include "section/findings.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "block_words.h"
#include "flash/image.h"
#include "section/finding_list.h"
#include "store/volume/format.h"

namespace vok::tool {

namespace {

/// Looks at one block, adding to the findings of its section.
class BlockInspection {
 public:
  BlockInspection(const PartitionRecord& partition, u16 index, FindingList& findings)
      : partition_(partition), block_(partition.block_table[index]), index_(index), findings_(findings) {
    ReadBlockState(block_);
    ResetBlockRecord(partition_, block_);
  }

  void Run() {
    if (!HasSignature(block_.base))
      return AddForBlock(FindingCode::kUnsignedEmpty, "no block signature", "erase and format the block");
    InspectState();
    if (!IsFormattedByRepair(block_.state)) InspectSlots();
  }

 private:
  void AddForBlock(FindingCode code, std::string what, std::string repair) {
    findings_.AddForBlock(index_, code, std::move(what), std::move(repair));
  }
  template <typename What>
  void AddForSlot(u32 number, FindingCode code, const char* repair, What what) {
    findings_.AddForSlot(index_, number, code, {}, repair, what);
  }

  void InspectState();
  void InspectSlots();
  void InspectSlot(u32 number, const SlotHeader& header);
  void InspectJournalRecord(u32 number, const ItemRecord& record);
  void InspectTail(const SlotWalk& walk);
  std::string RepairOfTail(u32 word) const;

  const PartitionRecord& partition_;
  BlockRecord block_;  ///< a copy: the store's own record stays as it is
  u16 index_;
  FindingList& findings_;
};

void BlockInspection::InspectState() {
  const BlockStates& states = CurrentLayout().states;
  const std::string what = "block state " + NameOfBlockState(block_.state);
  if (block_.state == states.opening) return AddForBlock(FindingCode::kBlockState, what, "make it Active");
  if (block_.state == states.reorg_source)
    return AddForBlock(FindingCode::kBlockState, what, "move its items out, then erase and format the block");
  if (block_.state == states.reorg_target)
    return AddForBlock(FindingCode::kBlockState, what, "finish the reorganisation and make it Active");
  if (block_.state == states.erased || block_.state == states.retired)
    return AddForBlock(FindingCode::kBlockState, what, "erase and format the block");
  if (IsFormattedByRepair(block_.state))
    AddForBlock(FindingCode::kBlockState, what + " (unknown)", "erase and format the block; its items are lost");
}

void BlockInspection::InspectSlots() {
  const Layout& layout = CurrentLayout();
  u32 number = 0;
  u32 last_word = 0;
  SlotWalk walk(partition_, block_);
  for (; walk.AtSlot(); walk.Advance(), ++number) {
    last_word = walk.header().word;
    const ItemRecord record = LocateRecord(partition_, block_, last_word);
    if (last_word != 0 && record.in_block) block_.top = record.payload();
    InspectSlot(number, walk.header());
  }
  // The repair gives a last slot without a location the record that lies below the others.
  const bool gets_location =
      number != 0 && IsUnfinished(last_word) && (last_word & layout.repair_void_mask) != layout.repair_void_bits;
  if (number != 0 && !walk.RanOut() && !gets_location) InspectTail(walk);
}

void BlockInspection::InspectSlot(u32 number, const SlotHeader& header) {
  const auto what = [&header] {
    return fmt::format("slot {}, item type {} ID {}", NameOfSlotState(header.word), header.type, header.id);
  };
  if (IsUnfinished(header.word)) return AddForSlot(number, FindingCode::kUnfinishedSlot, "cancel the slot", what);
  if (!IsValid(header.word)) return;
  const ItemRecord record = LocateRecord(partition_, block_, header.word);
  if (header.type == kJournalType) return InspectJournalRecord(number, record);
  static const std::string kUnreadable =
      fmt::format("none: the item cannot be read ({})", ErrorText(code::kInternalError));
  if (!record.sound)
    findings_.AddForSlot(index_, number, FindingCode::kRecordOutside, ItemKey{.type = header.type, .id = header.id},
                         kUnreadable.c_str(), [&what] { return what() + ": its record lies outside the block"; });
}

void BlockInspection::InspectJournalRecord(u32 number, const ItemRecord& record) {
  if (!record.sound || record.length < journal::kOffsetWordOffset + CurrentLayout().word_size)
    return AddForSlot(number, FindingCode::kJournalDamaged, "retire the record",
                      [] { return "journal record Valid, damaged"; });
  const FlashAddress start = record.payload();
  const u16 kind = ReadFlashWord16(start + journal::kKindOffset);
  const auto announced = [this, number, start](const char* change, const char* repair) {
    AddForSlot(number, FindingCode::kJournalRecord, repair, [change, start] {
      return fmt::format("journal record Valid, {} item type {} ID {}", change,
                         ReadFlashWord16(start + journal::kTypeOffset), ReadFlashWord16(start + journal::kIdOffset));
    });
  };
  switch (kind) {
    case journal::kPartialWrite: return announced("partial write of", "write the bytes again and retire the record");
    case journal::kReplace: return announced("replacement of", "leave one copy of the item and retire the record");
    case journal::kRename: return announced("rename to", "retire the old name once the new one stands, and the record");
    default:
      AddForSlot(number, FindingCode::kJournalDamaged, "none: the mount fails",
                 [kind] { return fmt::format("journal record Valid, unknown kind {}", kind); });
  }
}

void BlockInspection::InspectTail(const SlotWalk& walk) {
  block_.next_slot = walk.slot();
  if (CloseIfFull(block_)) return;
  const u32 word = ReadHeaderWord(block_.top - CurrentLayout().word_size);
  if (word != CurrentLayout().all_ones())
    AddForBlock(FindingCode::kRecordWithoutSlot, "record written without a slot, below the lowest record",
                RepairOfTail(word));
}

std::string BlockInspection::RepairOfTail(u32 word) const {
  if (RecordAndSlotSize(word) > FreeSpace(block_)) return "take the word there for an empty dead record";
  const FlashAddress start = block_.top - RecordSize(word);
  const bool alone = ReadHeaderWord(start - CurrentLayout().word_size) == CurrentLayout().all_ones();
  return alone ? "count the record as dead space" : "none: the block takes no more items until it is reorganised";
}

}  // namespace

void InspectSection(const Section& section, FindingList& findings) {
  const PartitionRecord& partition = PartitionAt(section.partition());
  for (u16 i = 0; i < partition.block_count; ++i) BlockInspection(partition, i, findings).Run();
}

std::vector<Finding> InspectSection(const Section& section) {
  FindingList findings(PartitionAt(section.partition()).block_count);
  InspectSection(section, findings);
  return findings.Take();
}

std::vector<Finding> InspectBlock(const Section& section, u16 block) {
  const PartitionRecord& partition = PartitionAt(section.partition());
  FindingList findings(partition.block_count, Grouping::kNone);
  BlockInspection(partition, block, findings).Run();
  return findings.Take();
}

}  // namespace vok::tool
