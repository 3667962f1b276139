#pragma once

#include <span>
#include <string>

#include "answer/json.h"
#include "view/explanation.h"
#include "view/image_view.h"
#include "view/item_copies.h"

/// The JSON answers about an image as it lies in flash, each one object with "format": "vok/1".

namespace vok::tool {

std::string MapJson(const ImageView& view);
std::string ExplanationJson(const Explanation& explanation);
std::string HistoryJson(u16 type, u16 id, std::span<const ItemCopy> copies);

/// The map with every slot and every byte that is not erased, on one line and free of "<", for a page to embed.
std::string PageJson(const ImageView& view, const std::string& image_name);

}  // namespace vok::tool
