#pragma once

#include <span>

#include "base/json_text.h"
#include "section/losses_text.h"

namespace vok::tool {

/// Adds "complete" and "losses" to an answer.
void AddLosses(Json& answer, const Losses& losses);
/// Likewise for several images; each loss tells its image.
void AddLosses(Json& answer, std::span<const ImageLosses> images);

}  // namespace vok::tool
