#pragma once

#include <span>

#include "answer/json.h"

/// What check and repair tell of an image.

namespace vok::tool {

/// Inspects every accepted section; the mount codes are still to come.
std::vector<SectionReport> InspectSections(const SectionList& sections);

/// Whether nothing needs a repair. A section that start-up never mounts does not count.
bool IsClean(std::span<const SectionReport> reports);

/// What the PSDT or the file is wrong about.
void PrintPsdtFindings(const Losses& losses);

void PrintReport(std::span<const SectionReport> reports);

}  // namespace vok::tool
