#include "view/condition.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>

namespace vok::tool {

namespace {

struct Words {
  const char* name;
  const char* text;
};
constexpr std::array<Words, 4> kWords = {
    {{"fine", "fine"}, {"regain", "dead bytes"}, {"due", "repair due"}, {"error", "damage"}}};

const Words& WordsOf(Condition condition) { return kWords[static_cast<std::size_t>(condition)]; }

}  // namespace

const char* TextOf(Condition condition) { return WordsOf(condition).text; }
const char* NameOf(Condition condition) { return WordsOf(condition).name; }

Condition ConditionOf(const SectionView& section, const Finding& finding) {
  if (finding.severity() == Severity::kNote) return Condition::kFine;
  const bool costs_items = !finding.slot && !section.LostIn(finding.block).empty();
  return costs_items || finding.severity() == Severity::kError ? Condition::kDamage : Condition::kDue;
}

Condition ConditionOf(const SectionView& section, const BlockView& block) {
  Condition condition = block.shares.dead != 0 ? Condition::kRegain : Condition::kFine;
  if (!section.LostIn(block.index).empty()) return Condition::kDamage;
  for (const Finding& finding : section.FindingsOf(block.index))
    condition = std::max(condition, ConditionOf(section, finding));
  return condition;
}

Condition ConditionOf(const ImageView& view) {
  Condition worst = Condition::kFine;
  for (const SectionView& section : view.sections)
    for (const BlockView& block : section.blocks) worst = std::max(worst, ConditionOf(section, block));
  return worst;
}

std::string HeadlineOf(const SectionView& section, const BlockView& block) {
  if (const std::size_t lost = section.LostIn(block.index).size())
    return fmt::format("{} item{} lost", lost, lost == 1 ? "" : "s");
  const Condition condition = ConditionOf(section, block);
  if (condition >= Condition::kDue) return TextOf(condition);
  if (block.shares.dead != 0) return fmt::format("{} dead", block.shares.dead);
  return block.shares.free != 0 ? fmt::format("{} free", block.shares.free) : "full";
}

}  // namespace vok::tool
