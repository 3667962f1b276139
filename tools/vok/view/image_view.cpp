#include "view/image_view.h"

#include <fmt/core.h>

#include <algorithm>

namespace vok::tool {

std::vector<const Finding*> SectionView::FindingsOf(u16 block) const {
  std::vector<const Finding*> found;
  for (const Finding& finding : findings)
    if (finding.block == block) found.push_back(&finding);
  return found;
}

SectionView ViewSection(const Section& section) {
  SectionView view{.section = &section, .blocks = {}, .findings = InspectSection(section)};
  const PartitionRecord& partition = PartitionAt(section.partition());
  for (u16 i = 0; i < partition.block_count; ++i) view.blocks.push_back(ViewBlock(partition, i));
  return view;
}

ImageView ViewImage(const LoadedImage& image) {
  RequireSetUp(image.sections());
  ImageView view{.version = image.version(), .sections = {}};
  for (const Section& section : image.sections().accepted) view.sections.push_back(ViewSection(section));
  return view;
}

std::vector<RankedBlock> RankBlocks(const ImageView& view) {
  std::vector<RankedBlock> ranked;
  for (const SectionView& section : view.sections)
    for (const BlockView& block : section.blocks)
      ranked.push_back({.section = &section, .block = &block, .findings = section.FindingsOf(block.index).size()});
  std::stable_sort(ranked.begin(), ranked.end(), [](const RankedBlock& a, const RankedBlock& b) {
    const bool a_unfinished = a.findings != 0;
    const bool b_unfinished = b.findings != 0;
    return a_unfinished != b_unfinished ? a_unfinished : a.block->shares.dead > b.block->shares.dead;
  });
  return ranked;
}

std::optional<RankedBlock> WorstBlock(const ImageView& view) {
  const std::vector<RankedBlock> ranked = RankBlocks(view);
  if (ranked.empty() || ranked.front().IsFine()) return {};
  return ranked.front();
}

std::string TroubleOf(const RankedBlock& ranked) {
  const ByteShares& shares = ranked.block->shares;
  std::string dead =
      fmt::format("{} dead bytes ({:.1f} %)", shares.dead, 100.0 * shares.dead / std::max(ranked.block->size, 1U));
  if (ranked.findings == 0) return dead;
  return fmt::format("{} finding{}, {}", ranked.findings, ranked.findings == 1 ? "" : "s", dead);
}

}  // namespace vok::tool
