#include "map/map_terminal.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/terminal.h"
#include "map/screen.h"
#include "map/share_bar.h"
#include "view/ranking.h"

namespace vok::tool {

namespace {

constexpr std::size_t kNarrowestBar = 10;
constexpr std::size_t kWidestBar = 120;

/// One line of the map but for its bar, which gets what room the other columns leave.
struct Line {
  std::string before;
  const BlockView* block;  ///< null in the title line
  std::string after;
};

struct Widths {
  std::size_t section = std::string_view("SECTION").size();
  std::size_t address = std::string_view("ADDRESS").size();
  std::size_t state = std::string_view("STATE").size();
};

Widths WidthsOf(const ImageView& view) {
  Widths widths;
  for (const SectionView& section : view.sections) {
    widths.section = std::max(widths.section, section.section->name.size());
    for (const BlockView& block : section.blocks) {
      widths.address = std::max(widths.address, HexAddress(block.figures.base).size());
      widths.state = std::max(widths.state, block.StateName().size());
    }
  }
  return widths;
}

Line TitleLine(const Widths& widths) {
  return {.before = fmt::format("{:<{}}  BLOCK  {:>{}}  {:<{}}  WEAR  ", "SECTION", widths.section, "ADDRESS",
                                widths.address, "STATE", widths.state),
          .block = nullptr,
          .after = fmt::format("  {:>7}  {:>7}  {:>7}", "LIVE", "DEAD", "FREE")};
}

/// What is wrong with a block, in a word; dead bytes have a column of their own.
std::string MarkOf(const SectionView& section, const BlockView& block) {
  return ConditionOf(section, block) >= Condition::kDue ? "  " + HeadlineOf(section, block) : "";
}

Line BlockLine(const Widths& widths, const SectionView& section, const BlockView& block) {
  const std::string wear = block.has_signature ? std::to_string(block.erase_count()) : "-";
  return {.before =
              fmt::format("{:<{}}  {:>5}  {:>{}}  {:<{}}  {:>4}  ", section.section->name, widths.section, block.index,
                          HexAddress(block.figures.base), widths.address, block.StateName(), widths.state, wear),
          .block = &block,
          .after = fmt::format("  {:>7}  {:>7}  {:>7}{}", block.shares.live, block.shares.dead, block.shares.free,
                               MarkOf(section, block))};
}

std::size_t BarWidth(const std::vector<Line>& lines) {
  std::size_t others = 0;
  for (const Line& line : lines) others = std::max(others, line.before.size() + line.after.size());
  const std::size_t screen = ScreenWidth();
  return std::clamp(screen > others ? screen - others : 0, kNarrowestBar, kWidestBar);
}

void PrintSummary(const ImageView& view) {
  const std::optional<RankedBlock> worst = WorstBlock(view);
  if (worst)
    Print(fmt::format("worst off: {} block {}, {}\n", worst->section->section->name, worst->block->index,
                      TroubleOf(*worst)));
  const bool has_findings =
      std::ranges::any_of(view.sections, [](const SectionView& section) { return !section.findings.empty(); });
  if (has_findings) Print("'vok check' tells what was found\n");
}

}  // namespace

void PrintMap(const ImageView& view) {
  const Widths widths = WidthsOf(view);
  std::vector<Line> lines = {TitleLine(widths)};
  for (const SectionView& section : view.sections)
    for (const BlockView& block : section.blocks) lines.push_back(BlockLine(widths, section, block));

  const std::size_t width = BarWidth(lines);
  const Colour colour{HasColour()};
  for (const Line& line : lines) {
    const std::string bar =
        line.block != nullptr ? BarText(line.block->shares, width, colour) : std::string(width, ' ');
    Print(line.before + bar + line.after + '\n');
  }
  Print('\n' + BarLegend(colour) + '\n');
  PrintSummary(view);
}

}  // namespace vok::tool
