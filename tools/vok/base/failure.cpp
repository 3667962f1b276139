#include "base/failure.h"

#include <fmt/core.h>

#include <algorithm>

#include "vok/vok_worker.h"

namespace vok::tool {

std::string ErrorText(u16 code) { return VokError(code).ErrorMessage(code); }

std::string FailureLine(const std::string& what, u16 code) {
  std::string line = code == code::kOk ? "vok: " + what : fmt::format("vok: {} ({})", what, ErrorText(code));
  // A path may hold any character; the report stays one line.
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return c < ' '; }, ' ');
  return line + '\n';
}

}  // namespace vok::tool
