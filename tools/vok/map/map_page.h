#pragma once

#include "view/image_view.h"

namespace vok::tool {

/// The map as one self-contained page, in which a person looks at sections, blocks, slots and their bytes.
/// @param image_name  what the page calls the image
std::string MapPage(const ImageView& view, const std::string& image_name);

}  // namespace vok::tool
