#pragma once

#include <vector>

#include "view/image_view.h"

/// The copies of one item that still lie in flash: the current one, and those that were superseded, deleted or never
/// finished and whose blocks have not been erased since.

namespace vok::tool {

/// One copy; points into the views.
struct ItemCopy {
  const SectionView* section;
  const BlockView* block;
  const SlotView* slot;

  /// Whether it is Valid in a block that reads look into.
  bool IsCurrent() const;
  /// Its payload. @throws Failure for a damaged record
  Bytes Payload() const;
};

/// The copies in the sections of the view: current ones first, in the order in which a search meets them; then the
/// others by block, in each from the newest slot to the oldest. Which block is older the flash does not tell.
std::vector<ItemCopy> FindCopies(const ImageView& view, u16 type, u16 id);

}  // namespace vok::tool
