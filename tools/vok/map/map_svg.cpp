#include "map/map_svg.h"

#include <fmt/core.h>

#include <algorithm>

#include "map/svg_style.h"
#include "view/ranking.h"

namespace vok::tool {

namespace {

constexpr u32 kWidth = 1040;
constexpr u32 kMargin = 24;
constexpr u32 kHeadHeight = 118;
constexpr u32 kSectionHeight = 44;
constexpr u32 kGap = 8;
constexpr u32 kPadding = 8;  ///< between a tile's frame and what stands in it
constexpr u32 kBarHeight = 12;
constexpr u32 kSignSize = 14;

/// How the tiles of a section stand. Those of a section with many blocks show their number and their bar alone.
struct Grid {
  u32 columns;
  u32 height;  ///< of a tile
  bool has_words;

  u32 width() const { return (kWidth - 2 * kMargin + kGap) / columns - kGap; }
};

Grid GridFor(std::size_t block_count) {
  constexpr std::size_t kManyBlocks = 48;
  if (block_count > kManyBlocks) return {.columns = 14, .height = 42, .has_words = false};
  return {.columns = std::clamp<u32>(static_cast<u32>(block_count), 4, 6), .height = 64, .has_words = true};
}

/// The text of an element; the names of files and sections may hold these characters.
std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&') {
      escaped += "&amp;";
    } else if (c == '<') {
      escaped += "&lt;";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

std::string TextAt(u32 x, u32 y, const std::string& style, const std::string& text) {
  return fmt::format("<text x=\"{}\" y=\"{}\" class=\"{}\">{}</text>\n", x, y, style, Escaped(text));
}

std::string Box(double x, u32 y, double width, u32 height, const std::string& style) {
  return fmt::format("<rect x=\"{:.2f}\" y=\"{}\" width=\"{:.2f}\" height=\"{}\" class=\"{}\"/>\n", x, y, width, height,
                     style);
}

/// Nothing for a condition that needs no sign.
std::string Sign(u32 x, u32 y, Condition condition) {
  if (condition == Condition::kFine) return {};
  return fmt::format("<use href=\"#{0}\" class=\"sign {0}\" transform=\"translate({1} {2}) scale({3:.3f})\"/>\n",
                     NameOf(condition), x, y, kSignSize / 16.0);
}

std::string Bar(const BlockView& block, u32 x, u32 y, u32 width) {
  std::string bar;
  double left = x;
  const auto add = [&](u32 bytes, const char* style) {
    const double share = static_cast<double>(width) * bytes / block.size;
    if (bytes != 0) bar += Box(left, y, share, kBarHeight, style);
    left += share;
  };
  add(block.shares.live, "live");
  add(block.shares.dead, "dead");
  add(block.shares.unfinished, "unfinished");
  add(block.shares.lost, "lost");
  add(block.shares.free, "free");
  return bar + Box(x, y, width, kBarHeight, "frame");
}

std::string TitleOf(const SectionView& section, const BlockView& block) {
  const ByteShares& shares = block.shares;
  return fmt::format(
      "{} block {} at {}, {}, {}: {} live, {} dead, {} waiting for a repair, {} only by a rebuild, {} free bytes",
      section.section->name, block.index, HexAddress(block.figures.base), block.StateName(),
      TextOf(ConditionOf(section, block)), shares.live, shares.dead, shares.unfinished, shares.lost, shares.free);
}

std::string Tile(const SectionView& section, const BlockView& block, const Grid& grid, u32 x, u32 y) {
  const Condition condition = ConditionOf(section, block);
  const u32 right = x + grid.width() - kPadding;
  std::string tile = fmt::format("<g class=\"block\"><title>{}</title>\n", Escaped(TitleOf(section, block)));
  tile += fmt::format("<rect x=\"{}\" y=\"{}\" width=\"{}\" height=\"{}\" rx=\"5\" class=\"frame {}\"/>\n", x, y,
                      grid.width(), grid.height, NameOf(condition));
  tile += TextAt(x + kPadding, y + 18, "name", std::to_string(block.index));
  tile += Sign(right - kSignSize, y + 7, condition);
  tile += Bar(block, x + kPadding, y + 25, grid.width() - 2 * kPadding);
  if (!grid.has_words) return tile + "</g>\n";
  tile += TextAt(x + kPadding + 26, y + 18, "soft", block.StateName());
  tile += TextAt(x + kPadding, y + 54, "", HeadlineOf(section, block));
  return tile + "</g>\n";
}

std::string SectionTitle(const SectionView& view) {
  const Section& section = *view.section;
  return fmt::format("{}, {} × {} bytes from {}", KindOf(section), section.entry.block_count, section.entry.block_size,
                     HexAddress(section.entry.start));
}

u32 HeightOf(const SectionView& section) {
  const Grid grid = GridFor(section.blocks.size());
  const u32 rows = (static_cast<u32>(section.blocks.size()) + grid.columns - 1) / grid.columns;
  return kSectionHeight + rows * (grid.height + kGap);
}

std::string SectionAt(u32 y, const SectionView& section) {
  const Grid grid = GridFor(section.blocks.size());
  std::string text =
      fmt::format("<text x=\"{}\" y=\"{}\" class=\"section\">{} <tspan dx=\"6\" class=\"soft\">{}</tspan></text>\n",
                  kMargin, y + kSectionHeight - 13, Escaped(section.section->name), Escaped(SectionTitle(section)));
  for (const BlockView& block : section.blocks) {
    const u32 column = block.index % grid.columns;
    const u32 row = block.index / grid.columns;
    text += Tile(section, block, grid, kMargin + column * (grid.width() + kGap),
                 y + kSectionHeight + row * (grid.height + kGap));
  }
  return text;
}

std::string Legend(u32 y) {
  struct Entry {
    const char* share;
    const char* text;
    u32 width;
  };
  std::string legend;
  u32 x = kMargin;
  for (const Entry& entry : {Entry{"live", "live", 90}, Entry{"dead", "dead: a reorganisation regains it", 270},
                             Entry{"unfinished", "waits for a repair", 185},
                             Entry{"lost", "only a rebuild brings it back", 245}, Entry{"free", "free", 90}}) {
    legend += Box(x, y - 11, 14, kBarHeight, entry.share) + Box(x, y - 11, 14, kBarHeight, "frame");
    legend += TextAt(x + 20, y, "soft", entry.text);
    x += entry.width;
  }
  return legend;
}

std::string SignLegend(u32 y) {
  std::string legend;
  u32 x = kWidth - kMargin - 312;
  for (const Condition condition : {Condition::kDamage, Condition::kDue, Condition::kRegain}) {
    legend += Sign(x, y - 12, condition) + TextAt(x + kSignSize + 6, y, "soft", TextOf(condition));
    x += 104;
  }
  return legend;
}

std::string SummaryOf(const ImageView& view) {
  const std::optional<RankedBlock> worst = WorstBlock(view);
  if (!worst) return "Nothing is damaged, nothing is unfinished, no dead bytes";
  return fmt::format("Worst off: {} block {}, {}", worst->section->section->name, worst->block->index,
                     TroubleOf(*worst));
}

std::string Head(const ImageView& view, const std::string& image_name) {
  const Condition condition = ConditionOf(view);
  std::string head = fmt::format(
      "<text x=\"{}\" y=\"40\" class=\"title\">{} <tspan dx=\"8\" font-size=\"13\" class=\"soft\">flash map, store "
      "version {}</tspan></text>\n",
      kMargin, Escaped(image_name), view.version, view.is_rebuilt ? ", as rebuilt" : "");
  head += Sign(kMargin, 53, condition);
  const u32 x = condition == Condition::kFine ? kMargin : kMargin + kSignSize + 6;
  return head + TextAt(x, 65, "", SummaryOf(view)) + Legend(94) + SignLegend(40);
}

}  // namespace

std::string MapSvg(const ImageView& view, const std::string& image_name) {
  u32 height = kHeadHeight + kMargin - kGap;
  for (const SectionView& section : view.sections) height += HeightOf(section);
  std::string svg = fmt::format(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" "
      "height=\"{1}\" viewBox=\"0 0 {0} {1}\" role=\"img\" aria-labelledby=\"title summary\">\n"
      "<title id=\"title\">Flash map of {2}</title>\n<desc id=\"summary\">{3}</desc>\n{4}"
      "<rect width=\"{0}\" height=\"{1}\" class=\"paper\"/>\n",
      kWidth, height, Escaped(image_name), Escaped(SummaryOf(view)), kSvgStyle);
  svg += Head(view, image_name);
  u32 y = kHeadHeight - 16;
  for (const SectionView& section : view.sections) {
    svg += SectionAt(y, section);
    y += HeightOf(section);
  }
  return svg + "</svg>\n";
}

}  // namespace vok::tool
