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

void AppendBase64(std::span<const u8> bytes, std::string& text) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::size_t out = text.size();
  text.resize(out + (bytes.size() + 2) / 3 * 4, '=');
  for (; bytes.size() >= 3; bytes = bytes.subspan(3)) {
    const u32 group = u32{bytes[0]} << 16 | u32{bytes[1]} << 8 | bytes[2];
    for (u32 shift = 24; shift != 0;) text[out++] = kDigits[group >> (shift -= 6) & 0x3F];
  }
  if (bytes.empty()) return;
  const u32 group = u32{bytes[0]} << 16 | (bytes.size() == 2 ? u32{bytes[1]} << 8 : 0);
  text[out++] = kDigits[group >> 18];
  text[out++] = kDigits[group >> 12 & 0x3F];
  if (bytes.size() == 2) text[out] = kDigits[group >> 6 & 0x3F];
}

}  // namespace vok::tool
