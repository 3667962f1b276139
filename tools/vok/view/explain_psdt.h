#pragma once

#include "image/image.h"
#include "view/explanation.h"

namespace vok::tool {

/// Tells which field of the PSDT lies at an address that the PSDT covers, with its value as the file holds it.
void ExplainPsdt(const LoadedImage& image, Explanation& explanation);

}  // namespace vok::tool
