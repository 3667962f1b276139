#pragma once

#include <limits>
#include <span>
#include <string>

#include "answer/json.h"
#include "answer/json_answer.h"
#include "view/explanation.h"
#include "view/image_view.h"
#include "view/item_copies.h"

/// The JSON answers about an image as it lies in flash, each one object with "format": "vok/1".

namespace vok::tool {

constexpr std::size_t kEveryFinding = std::numeric_limits<std::size_t>::max();

/// The map as an object to which more can be added.
/// @param most_findings  of each block that it holds
Json MapObject(const ImageView& view, std::size_t most_findings = kEveryFinding);
JsonAnswer MapJson(const ImageView& view, const Losses& losses);
JsonAnswer ExplanationJson(const Explanation& explanation, const Losses& losses);
JsonAnswer HistoryJson(u16 type, u16 id, std::span<const ItemCopy> copies, const Losses& losses);

}  // namespace vok::tool
