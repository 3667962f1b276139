#pragma once

#include <optional>

#include "view/condition.h"

/// Which block of an image is worst off.

namespace vok::tool {

/// A block in the order of RankBlocks(); points into the view.
struct RankedBlock {
  const SectionView* section;
  const BlockView* block;
  Condition condition;
};

/// The blocks from the worst off to the best: by condition, then by lost items, then by dead bytes; equal ones stay in
/// the order of the image.
std::vector<RankedBlock> RankBlocks(const ImageView& view);

/// The first of RankBlocks(); nothing when all are fine.
std::optional<RankedBlock> WorstBlock(const ImageView& view);

/// "26 items lost, 1 finding, 20620 dead bytes (15.7 %)": why a block is badly off.
std::string TroubleOf(const RankedBlock& ranked);

}  // namespace vok::tool
