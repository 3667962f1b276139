#pragma once

#include <span>
#include <vector>

#include "image/image_bytes.h"
#include "section/sections.h"

/// Empty sections that take items, in the flash image in memory.

namespace vok::tool {

/// The wear counters of a section's blocks after an erase: one erase more than before for each block whose counter
/// makes sense, also where its signature is damaged, and the first one for others.
std::vector<u32> WearAfterErase(const Section& section);

/// Writes a default header into every block of a section whose bytes are erased.
/// @param wear  the blocks' wear counters; empty = of blocks that were never in use
void FormatSection(const Section& section, std::span<const u32> wear = {});

/// Sets the store up anew such that the read-only sections take items, too, and every block of them may be filled:
/// nothing that only start-up mounts needs a spare. Nothing is mounted.
/// @throws Failure
void SetUpForFilling();

/// @throws Failure when the section lies over the PSDT or another accepted section
void RequireApart(const Section& section, const SectionList& sections, const ImageBytes& psdt);

}  // namespace vok::tool
