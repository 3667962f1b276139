#pragma once

#include <array>
#include <string>

#include "block_view.h"

namespace vok::tool {

/// Cells of a bar, in the order in which they are drawn.
struct BarCells {
  std::size_t live = 0;
  std::size_t dead = 0;
  std::size_t unfinished = 0;
  std::size_t lost = 0;
  std::size_t free = 0;
};

/// Divides @p width cells among the shares. A share that is not empty gets a cell at least, while there are cells.
BarCells DivideBar(const ByteShares& shares, std::size_t width);

enum class Colour : bool { kNo, kYes };

/// The bar as text, with a different character for each share.
std::string BarText(const ByteShares& shares, std::size_t width, Colour colour);

/// What the characters of a bar mean, in lines for any terminal.
std::string BarLegend(Colour colour);

}  // namespace vok::tool
