#include "map/map_svg.h"

#include <fmt/core.h>

#include <algorithm>

namespace vok::tool {

namespace {

constexpr u32 kWidth = 1040;
constexpr u32 kMargin = 24;
constexpr u32 kHeadHeight = 76;
constexpr u32 kSectionHeight = 40;
constexpr u32 kRowHeight = 26;
constexpr u32 kBarHeight = 16;
constexpr u32 kBarLeft = 300;
constexpr u32 kBarWidth = 440;
constexpr u32 kBaseline = 13;  ///< of a row's text, from the bar's upper edge

constexpr const char* kStyle = R"(<style>
  svg { --paper: #ffffff; --ink: #1c2430; --soft: #5b6675; --line: #d9dee5;
        --live: #2f7d5b; --dead: #c2503f; --unfinished: #d99a1c; --free: #e8ecf1; }
  @media (prefers-color-scheme: dark) {
    svg { --paper: #14181e; --ink: #e4e9f0; --soft: #98a3b3; --line: #333c48;
          --live: #46a67c; --dead: #e06c58; --unfinished: #e5b044; --free: #262d37; } }
  text { font: 13px system-ui, "Segoe UI", "DejaVu Sans", sans-serif; fill: var(--ink); }
  .title { font-size: 18px; font-weight: 600; }
  .section { font-size: 14px; font-weight: 600; }
  .soft { fill: var(--soft); }
  .figure { text-anchor: end; font-variant-numeric: tabular-nums; }
  .paper { fill: var(--paper); } .live { fill: var(--live); } .dead { fill: var(--dead); }
  .unfinished { fill: var(--unfinished); } .free { fill: var(--free); }
  .frame { fill: none; stroke: var(--line); } .worst { fill: none; stroke: var(--ink); stroke-width: 2; }
  .mark { font-weight: 600; }
</style>
)";

/// The text of an element; a section's name and a block's state may hold these characters.
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

std::string Box(double x, u32 y, double width, const std::string& style) {
  return fmt::format("<rect x=\"{:.2f}\" y=\"{}\" width=\"{:.2f}\" height=\"{}\" class=\"{}\"/>\n", x, y, width,
                     kBarHeight, style);
}

std::string Bar(const BlockView& block, u32 y) {
  std::string bar;
  double x = kBarLeft;
  const auto add = [&](u32 bytes, const char* style) {
    const double width = static_cast<double>(kBarWidth) * bytes / block.size;
    if (bytes != 0) bar += Box(x, y, width, style);
    x += width;
  };
  add(block.shares.live, "live");
  add(block.shares.dead, "dead");
  add(block.shares.unfinished, "unfinished");
  add(block.shares.free, "free");
  return bar;
}

/// What to look at in a block.
std::string MarkOf(std::size_t findings, bool is_worst) {
  const std::string mark = is_worst ? "worst off" : "";
  return findings == 0 ? mark : fmt::format("{}{}!{}", mark, is_worst ? " " : "", findings);
}

std::string Row(const SectionView& section, const BlockView& block, u32 y, bool is_worst) {
  const u32 text_y = y + kBaseline;
  std::string row = fmt::format("<g><title>{} block {}: {} live, {} dead, {} unfinished, {} free bytes</title>\n",
                                section.section->name, block.index, block.shares.live, block.shares.dead,
                                block.shares.unfinished, block.shares.free);
  row += TextAt(kMargin, text_y, "", std::to_string(block.index));
  row += TextAt(kMargin + 28, text_y, "soft", HexAddress(block.figures.base));
  row += TextAt(kMargin + 112, text_y, "", block.StateName());
  row += TextAt(kMargin + 212, text_y, "soft", block.has_signature ? fmt::format("wear {}", block.erase_count()) : "");
  row += Bar(block, y) + Box(kBarLeft, y, kBarWidth, is_worst ? "worst" : "frame");
  row += TextAt(kBarLeft + kBarWidth + 90, text_y, "figure", fmt::format("{} dead", block.shares.dead));
  row += TextAt(kBarLeft + kBarWidth + 180, text_y, "figure soft", fmt::format("{} free", block.shares.free));
  row += TextAt(kBarLeft + kBarWidth + 194, text_y, "mark", MarkOf(section.FindingsOf(block.index).size(), is_worst));
  return row + "</g>\n";
}

std::string LegendAt(u32 y) {
  std::string legend;
  u32 x = kBarLeft + 140;
  for (const char* const share : {"live", "dead", "unfinished", "free"}) {
    legend += fmt::format("<rect x=\"{}\" y=\"{}\" width=\"12\" height=\"12\" class=\"{}\"/>\n", x, y - 11, share);
    legend += TextAt(x + 18, y, "soft", share);
    x += 100;
  }
  return legend + TextAt(x, y, "soft", "!N: so many findings");
}

u32 HeightOf(const ImageView& view) {
  u32 height = kHeadHeight + kMargin;
  for (const SectionView& section : view.sections)
    height += kSectionHeight + kRowHeight * static_cast<u32>(section.blocks.size());
  return height;
}

std::string SectionTitle(const Section& section) {
  return fmt::format("{}, {}, {} × {} bytes", section.name, KindOf(section), section.entry.block_count,
                     section.entry.block_size);
}

std::string Rows(const ImageView& view, const BlockView* worst) {
  std::string rows;
  u32 y = kHeadHeight;
  for (const SectionView& section : view.sections) {
    rows += TextAt(kMargin, y + kSectionHeight - 16, "section", SectionTitle(*section.section));
    y += kSectionHeight;
    for (const BlockView& block : section.blocks) {
      rows += Row(section, block, y, &block == worst);
      y += kRowHeight;
    }
  }
  return rows;
}

}  // namespace

std::string MapSvg(const ImageView& view) {
  const std::optional<RankedBlock> worst = WorstBlock(view);
  const std::string summary = worst ? fmt::format("Worst off: {} block {}, {}", worst->section->section->name,
                                                  worst->block->index, TroubleOf(*worst))
                                    : "No dead bytes, nothing unfinished";
  const u32 height = HeightOf(view);
  std::string svg = fmt::format(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" "
      "height=\"{1}\" "
      "viewBox=\"0 0 {0} {1}\" role=\"img\" aria-labelledby=\"title summary\">\n<title id=\"title\">Flash map</title>\n"
      "<desc id=\"summary\">{2}</desc>\n{3}<rect width=\"{0}\" height=\"{1}\" class=\"paper\"/>\n",
      kWidth, height, Escaped(summary), kStyle);
  svg += TextAt(kMargin, kMargin + 14, "title", fmt::format("Flash map, store version {}", view.version));
  svg += TextAt(kMargin, kMargin + 38, "soft", summary);
  svg += LegendAt(kMargin + 14);
  return svg + Rows(view, worst ? worst->block : nullptr) + "</svg>\n";
}

}  // namespace vok::tool
