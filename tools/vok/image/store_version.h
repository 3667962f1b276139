#pragma once

#include <array>

#include "image/image_bytes.h"
#include "section/signed_blocks.h"

namespace vok::tool {

/// How many blocks carry each store version, from 1.
using VersionCount = std::array<u32, kHighestVersion + 1>;

/// Counts the blocks with an intact signature whose header lies in @p image: those of the PSDT's sections, and if that
/// gives none, those of the whole image.
VersionCount CountVersions(const ImageBytes& image);

/// Counts them wherever they lie in @p image, whatever the PSDT says.
VersionCount CountVersionsAnywhere(const ImageBytes& image);

/// The version that most blocks carry; 0 when none carries one.
u16 MostFrequent(const VersionCount& count);

}  // namespace vok::tool
