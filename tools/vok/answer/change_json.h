#pragma once

#include <span>
#include <string>
#include <vector>

#include "answer/json_answer.h"
#include "base/byte_difference.h"
#include "building/manifest.h"
#include "building/rebuild.h"
#include "section/items.h"
#include "section/losses_text.h"

/// The JSON answers of the changing commands and of diff, each one object with "format": "vok/1".

namespace vok::tool {

/// What a reorganisation did to one section.
struct Regained {
  std::string section;
  u32 blocks;  ///< reorganised
  u32 free_before;
  u32 free_after;
};

/// An item that two images do not have alike. One side is absent when the item is only in the other image.
struct ItemDifference {
  std::string section;
  const ItemEntry* before;                 ///< null = added
  const ItemEntry* after;                  ///< null = removed
  std::vector<ByteDifference> bytes = {};  ///< of an item that both have
};

JsonAnswer WrittenJson(const Section& section, const ItemEntry& item, const Losses& losses);
JsonAnswer DeletedJson(std::size_t count, const Losses& losses);
JsonAnswer RegainedJson(std::span<const Regained> sections, const Losses& losses);
/// Each section with its noteworthy items and the damaged ones.
JsonAnswer RebuiltJson(u16 version, std::span<const RebuiltSection> sections, const Losses& losses);
/// @param with_bytes  also where changed items differ
JsonAnswer DifferencesJson(std::span<const ItemDifference> differences, std::span<const ImageLosses> images,
                           bool with_bytes);
/// DifferencesJson() of what apply changes, with the items that it leaves in the image though the folder lacks them.
/// @param kept  as removals
JsonAnswer AppliedJson(std::span<const ItemDifference> differences, std::span<const ItemDifference> kept, bool dry_run,
                       const Losses& losses);
/// What pack took that is not as the manifest says.
/// @param erased  bytes outside the sections
JsonAnswer PackedJson(std::span<const PackedSection> sections, u64 erased, const Losses& losses);

}  // namespace vok::tool
