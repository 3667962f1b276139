#pragma once

#include "image/image_bytes.h"
#include "section/sections.h"

/// Empty sections that take items, in the flash image in memory.

namespace vok::tool {

/// Writes a default header into every block of a section whose bytes are erased.
void FormatSection(const Section& section);

/// Sets the store up anew such that the read-only sections take items, too, and every block of them may be filled:
/// nothing that only start-up mounts needs a spare. Nothing is mounted.
/// @throws Failure
void SetUpForFilling();

/// @throws Failure when the section lies over the PSDT or another accepted section
void RequireApart(const Section& section, const SectionList& sections, const ImageBytes& psdt);

}  // namespace vok::tool
