#pragma once

#include "view/image_view.h"

namespace vok::tool {

/// The map as a standalone SVG picture: a bar a block, with legend and figures, for light and dark surroundings.
std::string MapSvg(const ImageView& view);

}  // namespace vok::tool
