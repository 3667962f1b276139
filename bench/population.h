#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace vok::bench {

using Bytes = std::vector<std::uint8_t>;

struct Item {
  std::uint16_t type;
  std::uint16_t id;
  Bytes data;
};

/// The names of a population are those of kTypes types from kFirstType on; IDs of a type begin at 0 and have no gaps.
inline constexpr std::uint16_t kFirstType = 10;
inline constexpr std::uint16_t kTypes = 20;

/// @p count items in random order, the same ones in every run: 5 % are empty, 60 % have 4 to 64 bytes, 25 % have 65 to
/// 512, 9 % have 513 to 4096, 1 % have 4097 to 20000.
std::vector<Item> Population(std::uint32_t count);

/// The same items in another random order.
std::vector<Item> Shuffled(std::vector<Item> items);

/// The first @p count items of the population in random order, each as often as another give or take one, with new
/// bytes.
std::vector<Item> SameLengths(const std::vector<Item>& items, std::uint32_t count);
/// The same with lengths that differ from the old ones by up to 16 bytes.
std::vector<Item> OtherLengths(const std::vector<Item>& items, std::uint32_t count);

/// Bytes of all payloads, each with what the store adds to it in its largest version.
std::uint64_t StoredBytes(const std::vector<Item>& items);

}  // namespace vok::bench
