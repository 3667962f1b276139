#include "base/byte_difference.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/hex_dump.h"

namespace vok::tool {

namespace {

Bytes Part(std::span<const u8> bytes, std::size_t first, std::size_t last) {
  const std::size_t size = bytes.size();
  const auto part = bytes.subspan(std::min(first, size), std::min(last, size) - std::min(first, size));
  return Bytes(part.begin(), part.end());
}

std::string Short(const Bytes& bytes) {
  constexpr std::size_t kMost = 24;
  if (bytes.empty()) return "nothing";
  if (bytes.size() <= kMost) return HexString(bytes);
  return fmt::format("{}... ({} bytes)", HexString(std::span(bytes).first(kMost)), bytes.size());
}

}  // namespace

std::vector<ByteDifference> CompareBytes(std::span<const u8> before, std::span<const u8> after) {
  constexpr std::size_t kBridged = 4;
  const std::size_t size = std::max(before.size(), after.size());
  const auto differs = [&](std::size_t i) { return i >= before.size() || i >= after.size() || before[i] != after[i]; };
  std::vector<ByteDifference> differences;
  for (std::size_t i = 0; i < size; ++i) {
    if (!differs(i)) continue;
    const std::size_t first = i;
    std::size_t last = i + 1;
    for (; i < size && i < last + kBridged; ++i)
      if (differs(i)) last = i + 1;
    differences.push_back(
        {.offset = static_cast<u32>(first), .before = Part(before, first, last), .after = Part(after, first, last)});
    i = last;
  }
  return differences;
}

std::string TextOf(const ByteDifference& difference) {
  return fmt::format("at {}: {} -> {}", difference.offset, Short(difference.before), Short(difference.after));
}

}  // namespace vok::tool
