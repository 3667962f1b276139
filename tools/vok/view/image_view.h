#pragma once

#include <optional>
#include <vector>

#include "block_view.h"
#include "image/image.h"
#include "section/findings.h"

/// A whole image as it lies in flash, before any repair.

namespace vok::tool {

struct SectionView {
  const Section* section;
  std::vector<BlockView> blocks;
  std::vector<Finding> findings;

  /// The findings that concern a block or one of its slots.
  std::vector<const Finding*> FindingsOf(u16 block) const;
};

struct ImageView {
  u16 version;
  std::vector<SectionView> sections;
};

/// A block in the order of RankBlocks(); points into the view.
struct RankedBlock {
  const SectionView* section;
  const BlockView* block;
  std::size_t findings;

  bool IsFine() const { return findings == 0 && block->shares.dead == 0; }
};

SectionView ViewSection(const Section& section);

/// Looks at every accepted section. @throws Failure when they cannot be set up
ImageView ViewImage(const LoadedImage& image);

/// The blocks from the worst off to the best: first those in which something is unfinished or damaged, then by dead
/// bytes; equal ones stay in the order of the image.
std::vector<RankedBlock> RankBlocks(const ImageView& view);

/// The first of RankBlocks(); nothing when no block has dead bytes or a finding.
std::optional<RankedBlock> WorstBlock(const ImageView& view);

/// "3 findings, 20620 dead bytes (15.7 %)": why a block is badly off.
std::string TroubleOf(const RankedBlock& ranked);

}  // namespace vok::tool
