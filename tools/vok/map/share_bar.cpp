#include "map/share_bar.h"

#include <algorithm>

namespace vok::tool {

namespace {

/// How a share looks. The character tells it apart without the colour too.
struct Mark {
  char character;
  const char* colour;  ///< control sequence
  const char* meaning;
};
// Red is for damage alone; what is fine has no colour.
constexpr Mark kLive = {'#', "\x1b[7m", "live"};
constexpr Mark kDead = {'x', "\x1b[30;43m", "dead: a reorganisation regains it"};
constexpr Mark kUnfinished = {'!', "\x1b[97;44m", "waits for a repair"};
constexpr Mark kLost = {'R', "\x1b[97;41m", "only a rebuild brings it back"};
constexpr Mark kFree = {'.', "\x1b[90m", "free"};
constexpr const char* kNoColour = "\x1b[0m";

std::string Cells(const Mark& mark, std::size_t count, Colour colour) {
  if (count == 0) return {};
  const std::string cells(count, mark.character);
  return colour == Colour::kYes ? mark.colour + cells + kNoColour : cells;
}

}  // namespace

BarCells DivideBar(const ByteShares& shares, std::size_t width) {
  const std::array<u64, 5> bytes = {shares.live, shares.dead, shares.unfinished, shares.lost, shares.free};
  u64 total = 0;
  for (const u64 share : bytes) total += share;
  std::array<std::size_t, 5> cells{};
  if (total == 0) return {};
  std::size_t used = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == 0) continue;
    cells[i] = std::max<std::size_t>(1, bytes[i] * width / total);
    used += cells[i];
  }
  // Rounding is settled with the widest share, where a cell more or less shows least.
  for (; used != width; used < width ? ++used : --used) {
    std::size_t& widest = *std::max_element(cells.begin(), cells.end());
    used < width ? ++widest : --widest;
  }
  return {.live = cells[0], .dead = cells[1], .unfinished = cells[2], .lost = cells[3], .free = cells[4]};
}

std::string BarText(const ByteShares& shares, std::size_t width, Colour colour) {
  const BarCells cells = DivideBar(shares, width);
  return Cells(kLive, cells.live, colour) + Cells(kDead, cells.dead, colour) +
         Cells(kUnfinished, cells.unfinished, colour) + Cells(kLost, cells.lost, colour) +
         Cells(kFree, cells.free, colour);
}

std::string BarLegend(Colour colour) {
  const auto line = [colour](std::initializer_list<Mark> marks) {
    std::string text;
    for (const Mark& mark : marks) text += (text.empty() ? "" : "   ") + Cells(mark, 1, colour) + ' ' + mark.meaning;
    return text;
  };
  return line({kLive, kFree, kDead}) + '\n' + line({kUnfinished, kLost});
}

}  // namespace vok::tool
