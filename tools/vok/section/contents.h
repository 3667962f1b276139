#pragma once

#include "section/findings.h"

namespace vok::tool {

/// InspectSection(), and beside it everything that no mount looks at: where the records lie, the names of the items,
/// the items in blocks that a repair formats, the free space, the wear. In the order of the flash.
std::vector<Finding> ExamineSection(const Section& section);

/// Adds a finding for each block of a mounted section whose RAM figures are not what its bytes say.
void CompareFigures(const Section& section, std::vector<Finding>& findings);

}  // namespace vok::tool
