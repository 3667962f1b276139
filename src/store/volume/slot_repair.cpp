#include "flash/codes.h"
#include "store/volume/scan.h"
#include "store/volume/slots.h"

namespace vok {

namespace {

/// The location that the record of a cancelled slot would have had: just below the record of the slot before it.
u32 RebuildLocation(const PartitionRecord& partition, const BlockRecord& block, FlashAddress slot, u32 number) {
  const u32 word_size = CurrentLayout().word_size;
  if (number == 1) return (partition.block_size - word_size) / 4;
  const SlotHeader previous = ReadHeader(slot - CurrentLayout().slot_size());
  const FlashAddress record_start = LocateRecord(partition, block, previous.word).payload();
  // Signed: a damaged record may begin at the block's base, and the location then comes out as all ones.
  const auto offset = static_cast<std::int64_t>(record_start - word_size - block.base);
  return static_cast<u32>(offset >> 2);
}

/// The location word of a cancelled slot that had none, with its state still Allocated.
u32 RebuildWord(const PartitionRecord& partition, const BlockRecord& block, FlashAddress slot, u32 number, u32 stored) {
  u32 location = RebuildLocation(partition, block, slot, number);
  if (CurrentLayout().repair_keeps_zero_bits && (location & ~stored) != 0) location = 0;
  return AllocatedWord(location);
}

}  // namespace

u16 CancelUnfinishedSlot(PartitionRecord& partition, BlockRecord& block, FlashAddress slot, u32 number) {
  const Layout& layout = CurrentLayout();
  u32 word = ReadHeaderWord(slot + slot_field::kLocationWord);
  if ((word & layout.repair_void_mask) != layout.repair_void_bits) {
    word = RebuildWord(partition, block, slot, number, word);
    if (u16 code = ProgramLocationWord(slot, word)) return code;
    if (u16 code = ProgramLocationWord(slot, VoidWord(word))) return code;
  }
  return ProgramLocationWord(slot, DeletedWord(word));
}

}  // namespace vok
