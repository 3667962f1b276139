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
  std::vector<BlockView> blocks;  ///< without their slots in a view of the image
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

/// The slots of one item in every block of a section, also those to which no mount comes. Without findings.
SectionView ViewItem(const Section& section, const ItemKey& name);

/// One block alone, with its slots and a finding for each that has one.
SectionView ViewOneBlock(const Section& section, u16 block);

/// A block of ViewImage() with its slots.
BlockView WithSlots(const SectionView& section, const BlockView& block);

/// Looks at every accepted section, also at slots to which no mount comes. @throws Failure when they cannot be set up
/// @param image  as it lies
ImageView ViewImage(const ReadImage& image);

}  // namespace vok::tool
