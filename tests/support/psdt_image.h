#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vok::test {

using Bytes = std::vector<std::uint8_t>;

/// One section of a PSDT image.
struct Section {
  std::string tag = "CPGA";
  std::uint32_t start = 0x100000;
  std::uint32_t block_size = 0x20000;
  std::uint16_t kind = 4;
  std::uint16_t blocks = 2;
  std::uint16_t partition = 0;
  /// Range ID, first and last type; the primary range and three extra ones (ID 255 = none).
  std::array<std::array<std::uint16_t, 3>, 4> ranges = {{{1, 1, 99}, {255, 0, 0}, {255, 0, 0}, {255, 0, 0}}};
};

/// The big-endian bytes of a PSDT, padded with 0xFF to at least @p least_size.
inline Bytes PsdtImage(const std::vector<Section>& sections, std::size_t least_size = 0) {
  Bytes bytes;
  const auto put = [&bytes](std::uint32_t value, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
      bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  };
  put(0x50484452, 4);
  put(static_cast<std::uint32_t>(sections.size()), 4);
  bytes.resize(96, 0);
  for (const Section& section : sections) {
    const std::size_t record = bytes.size();
    for (const char c : section.tag) bytes.push_back(static_cast<std::uint8_t>(c));
    put(section.start, 4);
    put(section.block_size, 4);
    bytes.resize(record + 36, 0);
    put(section.kind, 2);
    put(section.blocks, 2);
    bytes.resize(record + 68, 0);
    put(section.partition, 2);
    for (const auto& range : section.ranges)
      for (const std::uint16_t value : range) put(value, 2);
    bytes.resize(record + 96, 0);
  }
  if (bytes.size() < least_size) bytes.resize(least_size, 0xFF);
  return bytes;
}

}  // namespace vok::test
