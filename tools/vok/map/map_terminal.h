#pragma once

#include "view/image_view.h"

namespace vok::tool {

/// Prints one line a block, its bytes as a bar, then which block is worst off.
void PrintMap(const ImageView& view);

}  // namespace vok::tool
