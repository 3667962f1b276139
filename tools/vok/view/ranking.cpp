#include "view/ranking.h"

#include <fmt/core.h>

#include <algorithm>
#include <tuple>

namespace vok::tool {

namespace {

std::string Counted(std::size_t count, const std::string& what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

}  // namespace

std::vector<RankedBlock> RankBlocks(const ImageView& view) {
  std::vector<RankedBlock> ranked;
  for (const SectionView& section : view.sections)
    for (const BlockView& block : section.blocks)
      ranked.push_back({.section = &section, .block = &block, .condition = ConditionOf(section, block)});
  const auto weight = [](const RankedBlock& one) {
    return std::tuple(one.condition, one.block->shares.lost, one.block->shares.dead);
  };
  std::ranges::stable_sort(ranked, std::greater{}, weight);
  return ranked;
}

std::optional<RankedBlock> WorstBlock(const ImageView& view) {
  const std::vector<RankedBlock> ranked = RankBlocks(view);
  if (ranked.empty() || ranked.front().condition == Condition::kFine) return {};
  return ranked.front();
}

std::string TroubleOf(const RankedBlock& ranked) {
  const BlockView& block = *ranked.block;
  std::string trouble;
  const auto add = [&trouble](const std::string& text) { trouble += (trouble.empty() ? "" : ", ") + text; };
  if (const std::size_t lost = ranked.section->LostIn(block.index).size()) add(Counted(lost, "item") + " lost");
  if (const std::size_t found = ranked.section->FindingsOf(block.index).size()) add(Counted(found, "finding"));
  if (const u32 dead = block.shares.dead)
    add(fmt::format("{} ({:.1f} %)", Counted(dead, "dead byte"), 100.0 * dead / std::max(block.size, 1U)));
  return trouble;
}

}  // namespace vok::tool
