#pragma once

#include "image/image_bytes.h"
#include "section/sections.h"

namespace vok::tool {

/// Gives a codeplug that was named without an address the one at which its blocks fit the sections of the loaded PSDT:
/// as a rule where the first of them begins. Applies the store version of most of its blocks, or @p version.
/// @param psdt  is left free
/// @throws Failure when there is no place
void PlaceCodeplug(ImageBytes& codeplug, u16 version, const FlashRange& psdt);

}  // namespace vok::tool
