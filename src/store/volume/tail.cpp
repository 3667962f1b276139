#include <algorithm>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/scan.h"
#include "store/volume/slots.h"
#include "store/volume/space.h"
#include "store/write/retire.h"

namespace vok {

namespace {

constexpr u32 kCheckChunk = 144;

void CloseBlock(BlockRecord& block) {
  block.dead_bytes += UsableSpace(block);
  block.next_slot = 0;
}

/// Gives the record below top a slot of type 0 and retires it at once, so that its bytes count as dead space. The steps
/// Allocated, Void, Deleted let a repair that is cut off here go on.
u16 WritePlaceholder(PartitionRecord& partition, BlockRecord& block) {
  const FlashAddress slot = block.next_slot;
  SlotHeader placeholder{.type = 0, .id = 0, .word = LocationOf(block.base, block.top - CurrentLayout().word_size)};
  if (u16 code = WriteHeaderSlot(block, placeholder)) return code;
  if (u16 code = ProgramLocationWord(slot, VoidWord(placeholder.word))) return code;
  return MarkItemDeleted(partition, block, slot);
}

/// Asks whether the erased pattern may be programmed over the free area, chunk by chunk from the top down.
/// @param refused  set where it may not
/// @return 0; 128
u16 AskProgramOver(const PartitionRecord& partition, const BlockRecord& block, bool& refused) {
  const HookArray<u8> erased = AllocateArray<u8>(kCheckChunk);
  if (erased == nullptr) return Fail(code::kOutOfRam);
  std::fill_n(erased.get(), kCheckChunk, kErasedByte);

  FlashAddress end = block.top - 4;
  while (!refused && end > block.next_slot) {
    const u32 length = static_cast<u32>(std::min<u64>(kCheckChunk, end - block.next_slot));
    end -= length;
    const u16 answer = Hooks().CheckProgramOver(NumberOf(partition), static_cast<u32>(end), erased.get(), length);
    refused = answer == code::kFlashWrite || answer == code::kInvalidParameter;
  }
  return code::kOk;
}

/// The word below top is no length that fits: it becomes the length word of an empty record.
u16 ClearGarbage(PartitionRecord& partition, BlockRecord& block) {
  bool refused = false;
  if (u16 code = AskProgramOver(partition, block, refused)) return code;
  if (refused) {
    CloseBlock(block);
    return code::kOk;
  }
  const u32 word_size = CurrentLayout().word_size;
  if (u16 code = WriteHeaderWord(0, block.top - word_size)) return code;
  if (u16 code = WritePlaceholder(partition, block)) return code;
  block.top = (block.top - word_size) & ~FlashAddress{3};
  return code::kOk;
}

}  // namespace

u16 CheckBlockTail(PartitionRecord& partition, BlockRecord& block, MountMode mode) {
  const Layout& layout = CurrentLayout();
  const u32 word = ReadHeaderWord(block.top - layout.word_size);
  if (word == layout.all_ones()) return code::kOk;
  if (mode != MountMode::kRepair) return Fail(code::kNeedsRepair);
  if (RecordAndSlotSize(word) > FreeSpace(block)) return ClearGarbage(partition, block);

  const FlashAddress record_start = block.top - RecordSize(word);
  if (ReadHeaderWord(record_start - layout.word_size) != layout.all_ones()) {
    CloseBlock(block);
    return code::kOk;
  }
  if (u16 code = WritePlaceholder(partition, block)) return code;
  block.top = record_start;
  return code::kOk;
}

}  // namespace vok
