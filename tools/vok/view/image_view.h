#pragma once

#include <span>
#include <vector>

#include "block_view.h"
#include "building/read_image.h"
#include "section/findings.h"
#include "view/lost_copies.h"

/// A whole image as it lies in flash, before any repair.

namespace vok::tool {

struct SectionView {
  const Section* section;
  std::vector<BlockView> blocks;
  std::vector<Finding> findings;  ///< by block
  std::vector<LostCopy> lost;     ///< by block; none in a view of one section

  /// The findings that concern a block or one of its slots.
  std::span<const Finding> FindingsOf(u16 block) const;
  /// The copies of a block that are lost.
  std::span<const LostCopy> LostIn(u16 block) const;
};

struct ImageView {
  u16 version;
  bool is_rebuilt = false;  ///< as a rebuild would leave it
  Losses losses = {};
  std::vector<SectionView> sections;
};

SectionView ViewSection(const Section& section, UnreachedSlots unreached = UnreachedSlots::kSkip);

/// Looks at every accepted section, also at slots to which no mount comes. @throws Failure when they cannot be set up
/// @param image  as it lies
ImageView ViewImage(const ReadImage& image);

}  // namespace vok::tool
