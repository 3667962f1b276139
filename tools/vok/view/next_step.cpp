#include "view/next_step.h"

#include <fmt/core.h>

#include "image/image_bytes.h"

namespace vok::tool {

namespace {

std::string NextOfState(const BlockView& block) {
  const BlockStates& states = CurrentLayout().states;
  if (block.figures.state == states.free)
    return "a write opens the block when no Active one has room and another spare is left; a reorganisation may move "
           "items into it";
  if (block.figures.state != states.active) return "";
  const std::string regain =
      block.shares.dead == 0
          ? "it has no dead bytes that a reorganisation would regain"
          : fmt::format("a reorganisation moves its items out and regains {} dead bytes", block.shares.dead);
  return UsableSpace(block.figures) != 0 ? "the block takes new records while it has room; " + regain
                                         : "the block is full; " + regain;
}

}  // namespace

std::string NextOfHeader(const BlockView& block, u64 field) {
  switch (field) {
    case block_header::kSignatureOffset: return "every mount looks for it; a block without it is formatted or refused";
    case block_header::kFormatVersionOffset: return "no mount looks at it; the host may ask for it";
    case block_header::kWearCounterOffset:
      return fmt::format("the next format writes 0x{:08X}; the Free block with the highest counter serves as spare",
                         block.figures.wear_counter - 1);
    case block_header::kStateOffset: return NextOfState(block);
    default: return "nothing: no one reads it";
  }
}

std::string NextOfSlot(const BlockView& block, const SlotView& slot) {
  if (!IsValid(slot.header.word))
    return fmt::format("nothing reads it; its {} bytes come back when the block is reorganised and erased",
                       slot.header.word == 0 ? CurrentLayout().slot_size()
                                             : RecordAndSlotSize(slot.IsSound() ? slot.record.length : 0));
  if (!block.IsCurrent()) return fmt::format("reads do not look into a block in state {}", block.StateName());
  return "reads give this copy; a rewrite of the same length may overwrite it, any other, a rename or a delete makes "
         "it "
         "Deleted; a reorganisation of the block moves it";
}

std::string NextOfFreeSpace(const BlockView& block) {
  if (block.figures.next_slot == 0) return "nothing: the block takes no more slots";
  if (block.IsToBeFormatted()) return "nothing until the block is formatted";
  const bool in_use = block.IsCurrent();
  return fmt::format("{}the next slot goes to {}, the next record ends at {}",
                     in_use ? "" : "once the block is in use, ", HexAddress(block.figures.next_slot),
                     HexAddress(block.figures.top - 1));
}

}  // namespace vok::tool
