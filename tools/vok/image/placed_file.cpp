#include "image/placed_file.h"

#include "base/number.h"

namespace vok::tool {

PlacedFile PlacedFileOf(const std::string& text) {
  const std::size_t at = text.rfind('@');
  if (at != std::string::npos && at != 0)
    if (const auto address = ParseNumber(std::string_view(text).substr(at + 1)))
      return {.path = text.substr(0, at), .address = address};
  return {.path = text, .address = {}};
}

}  // namespace vok::tool
