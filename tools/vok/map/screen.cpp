#include "map/screen.h"

#include <cstdlib>
#include <optional>
#include <string_view>

#include "base/number.h"
#include "base/platform.h"

namespace vok::tool {

namespace {

constexpr std::size_t kUsualWidth = 80;
constexpr std::size_t kGreatestWidth = 1000;

std::string_view Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

}  // namespace

bool HasColour() {
  return platform::OutputIsTerminal() && Environment("NO_COLOR").empty() && Environment("TERM") != "dumb";
}

std::size_t ScreenWidth() {
  if (const auto width = platform::TerminalWidth()) return *width;
  const std::optional<u64> columns = ParseNumber(Environment("COLUMNS"));
  return columns && *columns != 0 && *columns <= kGreatestWidth ? static_cast<std::size_t>(*columns) : kUsualWidth;
}

}  // namespace vok::tool
