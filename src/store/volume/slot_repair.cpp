#include "flash/codes.h"
#include "store/volume/scan.h"
#include "store/volume/slots.h"

namespace vok {

namespace {

/// The location that the record of a cancelled slot would have had: just below the record of the slot before it.
u32 RebuildLocation(const PartitionRecord& partition, const BlockRecord& block, const PassedSlots& before) {
  const u32 word_size = CurrentLayout().word_size;
  if (before.count == 0) return (partition.block_size - word_size) / 4;
  const FlashAddress record_start = LocateRecord(partition, block, before.last_word).payload();
  // Signed: a damaged record may begin at the block's base, and the location then comes out as all ones.
  const auto offset = static_cast<std::int64_t>(record_start - word_size - block.base);
  return static_cast<u32>(offset >> 2);
}

/// The location word of a cancelled slot that had none, with its state still Allocated.
u32 RebuildWord(const PartitionRecord& partition, const BlockRecord& block, const PassedSlots& before, u32 stored) {
  u32 location = RebuildLocation(partition, block, before);
  if (CurrentLayout().repair_keeps_zero_bits && (location & ~stored) != 0) location = 0;
  return AllocatedWord(location);
}

/// The location word of an Allocated slot that a repair deletes at once: as it stands, unless a cut tore its location.
/// A torn one may lead into another item's record, which would then pass for the lowest of the block; and a record to
/// which no location leads may be too long to get a slot of its own behind this one. Such a slot gets the location that
/// it was to have, provided that its record is there, since the record is always written first.
u32 SettledWord(const PartitionRecord& partition, const BlockRecord& block, FlashAddress slot, FlashAddress top,
                u32 stored) {
  const Layout& layout = CurrentLayout();
  const u32 location = LocationOf(block.base, top - layout.word_size);
  const FlashAddress slot_end = slot + layout.slot_size();
  const u64 taken = layout.word_size + RecordSize(ReadHeaderWord(top - layout.word_size));
  const bool is_torn = (stored & layout.location_mask) != location && (location & ~stored) == 0;
  if (!is_torn || slot_end + taken > top) return stored;

  const bool leads_elsewhere = LocateRecord(partition, block, stored).in_block;
  const bool needs_this_slot = slot_end + layout.slot_size() + taken > top;
  return leads_elsewhere || needs_this_slot ? AllocatedWord(location) : stored;
}

bool IsAllocated(u32 word) { return (word & CurrentLayout().state_mask) == CurrentLayout().state_mask; }

}  // namespace

u16 CancelUnfinishedSlot(PartitionRecord& partition, BlockRecord& block, FlashAddress slot, const PassedSlots& before) {
  const Layout& layout = CurrentLayout();
  const u32 stored = ReadHeaderWord(slot + slot_field::kLocationWord);
  u32 word = stored;
  if ((stored & layout.repair_void_mask) != layout.repair_void_bits) {
    word = RebuildWord(partition, block, before, stored);
    if (u16 code = ProgramLocationWord(slot, word)) return code;
    if (u16 code = ProgramLocationWord(slot, VoidWord(word))) return code;
  } else if (IsAllocated(stored)) {
    // The location comes first: once the state says Deleted, nothing mends it any more.
    word = SettledWord(partition, block, slot, before.record, stored);
    if (word != stored)
      if (u16 code = ProgramLocationWord(slot, word)) return code;
  }
  return ProgramLocationWord(slot, DeletedWord(word));
}

}  // namespace vok
