#pragma once

#include "view/image_view.h"

namespace vok::tool {

/// The map as a standalone SVG picture: under the image's name and a legend a grid of blocks for each section, for
/// light and dark surroundings.
std::string MapSvg(const ImageView& view, const std::string& image_name);

}  // namespace vok::tool
