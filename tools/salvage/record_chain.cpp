#include "record_chain.h"

#include <algorithm>

#include "flash/image.h"

namespace vok::tool {

FlashAddress RecordChain::Below(FlashAddress end) const {
  const u32 word_size = CurrentLayout().word_size;
  if (end < slots_end_ + word_size) return 0;
  const u32 length = ReadHeaderWord(end - word_size);
  if (length == CurrentLayout().all_ones() || RecordSize(length) > end - slots_end_) return 0;
  return end - RecordSize(length);
}

bool RecordChain::Reaches(FlashAddress from, FlashAddress to, u64 most) const {
  for (u64 step = 0; from > to && step < most; ++step) from = Below(from);
  return from == to;
}

bool RecordChain::EndsInFreeSpace(FlashAddress from) const {
  if (from < slots_end_) return false;
  for (u32 step = 0; step < kMostSteps; ++step) {
    const FlashAddress next = Below(from);
    if (next == 0) break;
    from = next;
  }
  // The word right below may be all that was written of a record.
  const u32 word_size = CurrentLayout().word_size;
  return from < slots_end_ + word_size || IsErased(slots_end_, from - word_size);
}

bool IsErased(FlashAddress start, FlashAddress end) {
  if (start >= end || !InFlash(start, end - start)) return true;
  const u8* const first = VirtualMemoryAddress(start);
  const u8* const last = VirtualMemoryAddress(end);
  return *first == kErasedByte && std::equal(first + 1, last, first);
}

}  // namespace vok::tool
