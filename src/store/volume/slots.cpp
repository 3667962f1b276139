#include "store/volume/slots.h"

namespace vok {

ItemRecord LocateRecord(const PartitionRecord& partition, const BlockRecord& block, u32 word) {
  detail::CountRead();
  const FlashAddress length_word = LengthWordAddress(block.base, word);
  ItemRecord record{.length_word = length_word, .length = 0, .in_block = false, .sound = false};
  record.in_block = length_word + CurrentLayout().word_size <= BlockEnd(partition, block);
  if (!record.in_block) return record;

  const u32 length = ReadHeaderWord(length_word);
  record.sound = u64{length} + Pad(length) <= length_word - block.base;
  if (record.sound) record.length = length;
  return record;
}

}  // namespace vok
