#pragma once

#include "view/image_view.h"

namespace vok::tool {

/// Prints one line a block, its bytes as a bar, then which block is worst off.
void PrintMap(const ImageView& view);

/// "3 unfinished, 20620 dead bytes (15.7 %)": why a block is badly off.
std::string TroubleOf(const RankedBlock& block);

}  // namespace vok::tool
