#pragma once

#include <optional>
#include <vector>

#include "block_view.h"
#include "image/image.h"
#include "section/findings.h"
#include "view/lost_copies.h"

/// A whole image as it lies in flash, before any repair.

namespace vok::tool {

struct SectionView {
  const Section* section;
  std::vector<BlockView> blocks;
  std::vector<Finding> findings;
  std::vector<LostCopy> lost;  ///< of ViewImage() only

  /// The findings that concern a block or one of its slots.
  std::vector<const Finding*> FindingsOf(u16 block) const;
  /// How many items of a block reads do not give and a rebuild brings back.
  std::size_t LostIn(u16 block) const;
};

struct ImageView {
  u16 version;
  std::vector<SectionView> sections;
};

SectionView ViewSection(const Section& section, UnreachedSlots unreached = UnreachedSlots::kSkip);

/// Looks at every accepted section, also at slots to which no mount comes. @throws Failure when they cannot be set up
ImageView ViewImage(const LoadedImage& image);

}  // namespace vok::tool
