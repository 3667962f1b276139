#pragma once

#include <optional>
#include <span>
#include <vector>

#include "flash/types.h"

/// Filling a partition that holds nothing yet.

namespace vok::tool {

/// An item to be written; its bytes stay the caller's.
struct NewItem {
  u16 type;
  u16 id;
  std::span<const u8> bytes;
};

/// @param items  of any kind that has a type, an ID and bytes
template <typename Items>
std::vector<NewItem> AsNewItems(const Items& items) {
  std::vector<NewItem> fresh;
  fresh.reserve(items.size());
  for (const auto& item : items) fresh.push_back({.type = item.type, .id = item.id, .bytes = item.bytes});
  return fresh;
}

enum class FillOrder : u8 {
  kAsGiven,
  kTight,  ///< blocks as full as can be; takes much longer
};

/// The item that a partition did not take.
struct RefusedItem {
  std::size_t index;  ///< in the items given
  u16 code;           ///< the answer of its write
};

/// Writes the items into a mounted partition without items, up to the first that it refuses. Items that leave gaps in
/// their own order may fit in the tight one; the partition must be formatted anew in between.
/// @return nothing once all are written
std::optional<RefusedItem> FillPartition(u8 partition, std::span<const NewItem> items, FillOrder order);

}  // namespace vok::tool
