#include "base/number.h"

#include <charconv>

namespace vok::tool {

std::optional<u64> ParseNumber(std::string_view text) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  u64 value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, hex ? 16 : 10);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

}  // namespace vok::tool
