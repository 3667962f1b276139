#pragma once

#include "image/image.h"
#include "salvage.h"

/// Building sections anew from the copies of their items.

namespace vok::tool {

/// A section and what was got out of it.
struct RebuiltSection {
  const Section* section;
  std::vector<BlockView> blocks;  ///< as they were
  Salvaged salvaged;
};

/// Looks at a section whose partition is set up.
RebuiltSection SalvageSection(const Section& section);
/// Every accepted section.
std::vector<RebuiltSection> SalvageSections(const SectionList& sections);

/// Builds each section from what was got out of it, in memory; all other bytes stay. The store ends with nothing
/// mounted but the rebuilt sections, which passed a check.
/// @throws Failure also when a section has no room for an item
void Rebuild(const LoadedImage& image, const std::vector<RebuiltSection>& sections);

}  // namespace vok::tool
