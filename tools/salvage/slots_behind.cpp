#include "slots_behind.h"

#include <algorithm>

namespace vok::tool {

namespace {

bool IsErased(FlashAddress start, FlashAddress end) {
  if (start >= end || !InFlash(start, end - start)) return true;
  const u8* const first = VirtualMemoryAddress(start);
  const u8* const last = VirtualMemoryAddress(end);
  return *first == kErasedByte && std::equal(first + 1, last, first);
}

/// A slot behind the end of the list, or what is left of one.
class SlotBehind {
 public:
  SlotBehind(const PartitionRecord& partition, const BlockRecord& block, FlashAddress slot)
      : partition_(partition), block_(block), slot_(slot), header_(ReadHeader(slot)) {}

  bool IsValidItem() const { return header_.type != kUnusedType && IsValid(header_.word); }

  /// Steps over its record. Of a slot that looks unused nothing is known but that its record comes next in line.
  /// @return whether the record is sound, in line, and apart from the slots
  bool StepOver(RecordLine& line) const {
    if (header_.type != kUnusedType && header_.word == 0) return true;
    const u32 word =
        header_.type != kUnusedType ? header_.word : LocationOf(block_.base, line.lowest() - CurrentLayout().word_size);
    const ItemRecord record = LocateRecord(partition_, block_, word);
    return record.sound && record.payload() >= slot_ + CurrentLayout().slot_size() && line.IsExact() &&
           line.Take(record);
  }

 private:
  const PartitionRecord& partition_;
  const BlockRecord& block_;
  FlashAddress slot_;
  SlotHeader header_;
};

}  // namespace

std::vector<FlashAddress> SlotsBehind(const PartitionRecord& partition, const BlockRecord& block, FlashAddress list_end,
                                      RecordLine line) {
  std::vector<FlashAddress> slots;
  if (IsErased(list_end, line.lowest())) return slots;
  const u32 size = CurrentLayout().slot_size();
  for (FlashAddress slot = list_end; slot + size <= line.lowest(); slot += size) {
    const SlotBehind behind(partition, block, slot);
    if (!behind.StepOver(line)) break;
    if (behind.IsValidItem()) slots.push_back(slot);
  }
  return slots;
}

}  // namespace vok::tool
