#pragma once

#include <array>
#include <optional>

#include "image/image_bytes.h"

namespace vok::tool {

inline constexpr u16 kHighestVersion = 3;

/// How many blocks of the PSDT's sections carry each store version, from 1.
using VersionCount = std::array<u32, kHighestVersion + 1>;

/// Counts the blocks with an intact signature whose header lies in @p image.
VersionCount CountVersions(const ImageBytes& image);

/// The version that most blocks carry; 0 when none carries one.
u16 MostFrequent(const VersionCount& count);

/// Where the sections that start-up accepts under a store version begin; nothing when it accepts none. Applies the
/// version.
std::optional<u32> FirstSectionStart(u16 version);

/// Gives a codeplug that was named without an address the one at which its blocks make most sense: the start of the
/// first section under the version that most of them carry then. @p version 0 = any
/// @throws Failure when no section is accepted
void PlaceCodeplug(ImageBytes& codeplug, u16 version);

}  // namespace vok::tool
