#include "store/volume/slots.h"

namespace vok {

ItemRecord LocateRecord(const PartitionRecord& partition, const BlockRecord& block, u32 word) {
  const FlashAddress length_word = LengthWordAddress(block.base, word);
  ItemRecord record{.length_word = length_word, .length = 0, .in_block = false, .sound = false};
  record.in_block = length_word + CurrentLayout().word_size <= BlockEnd(partition, block);
  if (!record.in_block) return record;

  const u32 length = ReadHeaderWord(length_word);
  record.sound = u64{length} + Pad(length) <= length_word - block.base;
  if (record.sound) record.length = length;
  return record;
}

FlashAddress LowestRecord(const PartitionRecord& partition, const BlockRecord& block, FlashAddress slots_end) {
  FlashAddress top = BlockEnd(partition, block);
  for (SlotWalk walk(partition, block); walk.AtSlot() && walk.slot() < slots_end; walk.Advance()) {
    if (walk.header().word == 0) continue;
    const ItemRecord record = LocateRecord(partition, block, walk.header().word);
    if (record.in_block) top = record.payload();
  }
  return top;
}

}  // namespace vok
