#include "image/written_runs.h"

#include <algorithm>

#include "flash/image.h"

namespace vok::tool {

namespace {

/// A gap shorter than this costs less as bytes than as the start of another run.
constexpr std::ptrdiff_t kShortestGap = 32;

bool IsWritten(u8 byte) { return byte != kErasedByte; }

}  // namespace

std::vector<WrittenRun> WrittenRuns(FlashAddress base, u32 size) {
  if (!InFlash(base, size)) return {};
  const std::span<const u8> block(VirtualMemoryAddress(base), size);
  std::vector<WrittenRun> runs;
  auto start = std::find_if(block.begin(), block.end(), IsWritten);
  while (start != block.end()) {
    auto end = start;
    auto next = start;
    do {
      end = std::find_if_not(next, block.end(), IsWritten);
      next = std::find_if(end, block.end(), IsWritten);
    } while (next != block.end() && next - end < kShortestGap);
    runs.push_back({.offset = static_cast<u32>(start - block.begin()), .bytes = {start, end}});
    start = next;
  }
  return runs;
}

std::string Base64(std::span<const u8> bytes) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    u32 group = 0;
    for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (k < count ? bytes[i + k] : 0u);
    for (std::size_t k = 0; k < 4; ++k) text += k <= count ? kDigits[group >> (18 - 6 * k) & 0x3F] : '=';
  }
  return text;
}

}  // namespace vok::tool
