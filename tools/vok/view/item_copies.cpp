#include "view/item_copies.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "flash/image.h"

namespace vok::tool {

bool ItemCopy::IsCurrent() const { return IsValid(slot->header.word) && block->IsCurrent() && !slot->behind_list; }

Bytes ItemCopy::Payload() const {
  if (!slot->IsSound())
    throw Failure(fmt::format("the record of slot {} in {} block {} is damaged or was never written", slot->number,
                              section->section->name, block->index));
  Bytes bytes(slot->record.length);
  CopyFromFlash(bytes.data(), slot->record.payload(), slot->record.length);
  return bytes;
}

std::vector<ItemCopy> FindCopies(const ImageView& view, u16 type, u16 id) {
  std::vector<ItemCopy> current;
  std::vector<ItemCopy> others;
  for (const SectionView& section : view.sections)
    for (const BlockView& block : section.blocks) {
      const std::ptrdiff_t first_of_block = std::ssize(others);
      for (const SlotView& slot : block.slots) {
        if (slot.header.type != type || slot.header.id != id) continue;
        const ItemCopy copy{.section = &section, .block = &block, .slot = &slot};
        (copy.IsCurrent() ? current : others).push_back(copy);
      }
      std::reverse(others.begin() + first_of_block, others.end());
    }
  current.insert(current.end(), others.begin(), others.end());
  return current;
}

}  // namespace vok::tool
