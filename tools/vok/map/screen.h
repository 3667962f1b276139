#pragma once

#include <cstddef>

/// What the place that standard output goes to can show.

namespace vok::tool {

/// Whether to print in colour: to a terminal, unless NO_COLOR is set to anything or the terminal is a dumb one.
bool HasColour();

/// Characters on a line: the terminal's, or what COLUMNS says, or 80.
std::size_t ScreenWidth();

}  // namespace vok::tool
