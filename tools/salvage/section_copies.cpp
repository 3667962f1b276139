#include "section_copies.h"

#include "record_line.h"

namespace vok::tool {

namespace {

/// Whether a slot's state bits lie half way from Allocated to Valid, where a version stores each bit twice. Mounts take
/// such a slot for dead.
bool IsHalfCommitted(u32 word) {
  const u32 valid_bits = CurrentLayout().valid_bits;
  return (word & valid_bits) == valid_bits && !IsValid(word) && !IsUnfinished(word);
}

/// Whether a record may be one of an item that the store wrote.
bool IsSoundItem(const CopyView& copy) {
  return copy.slot->IsSound() && copy.slot->record.length <= LargestItem(copy.block->size);
}

void AddJournalRecord(const CopyView& copy, SectionCopies& copies) {
  JournalEntry entry{};
  if (copy.IsSearched() && IsValid(copy.slot->header.word) && copy.slot->has_record &&
      ReadJournalEntry(copy.slot->record, entry))
    copies.journal.push_back(entry);
}

std::vector<CopyView>& ListOfValid(const CopyView& copy, CopiesOfItem& item) {
  if (!IsSoundItem(copy)) return item.damaged;
  if (copy.IsSearched()) return item.searched;
  return copy.contiguous ? item.elsewhere : item.damaged;
}

void AddItemSlot(const CopyView& copy, SectionCopies& copies) {
  const SlotHeader& header = copy.slot->header;
  CopiesOfItem& item = copies.items[{.type = header.type, .id = header.id}];
  if (IsValid(header.word)) {
    ListOfValid(copy, item).push_back(copy);
  } else if (IsUnfinished(header.word) || IsHalfCommitted(header.word)) {
    if (copy.contiguous && IsSoundItem(copy)) item.unfinished.push_back(copy);
  } else {
    item.has_dead = true;
    if (IsSoundItem(copy)) copies.dead.push_back(copy);
  }
}

void AddBlock(const BlockView& block, SectionCopies& copies) {
  RecordLine line(block.end());
  for (const SlotView& slot : block.slots) {
    const bool in_line = slot.has_record && line.Take(slot.record);
    const CopyView copy{.block = &block, .slot = &slot, .contiguous = in_line || slot.behind_list};
    if (slot.IsJournal()) {
      AddJournalRecord(copy, copies);
    } else if (IsItemType(slot.header.type) && slot.header.id != kAnyId) {
      AddItemSlot(copy, copies);
    }
  }
}

}  // namespace

SectionCopies SortCopies(std::span<const BlockView> blocks) {
  SectionCopies copies;
  for (const BlockView& block : blocks) AddBlock(block, copies);
  return copies;
}

}  // namespace vok::tool
