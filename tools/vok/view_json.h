#pragma once

#include <span>
#include <string>

#include "explanation.h"
#include "image_view.h"
#include "item_copies.h"
#include "json.h"

/// The JSON answers about an image as it lies in flash, each one object with "format": "vok/1".

namespace vok::tool {

std::string MapJson(const ImageView& view);
std::string ExplanationJson(const Explanation& explanation);
std::string HistoryJson(u16 type, u16 id, std::span<const ItemCopy> copies);

/// The map with every slot and every byte that is not erased, on one line and free of "<", for a page to embed.
std::string PageJson(const ImageView& view, const std::string& image_name);

}  // namespace vok::tool
