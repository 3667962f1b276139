#pragma once

#include <optional>
#include <string>
#include <vector>

#include "section/finding_kinds.h"
#include "section/sections.h"
#include "section_copies.h"

/// What an interrupted operation, or damage, left in a section: the raw bytes judged by the same rules as the mount
/// scan, block by block and to the end, where a check mount stops at the first finding. A check mount answers 0 exactly
/// when there is no finding, but for damaged items, which the mount does not look at.

namespace vok::tool {

struct Finding {
  u16 block;                ///< index in the section
  std::optional<u32> slot;  ///< index in the block; absent for what concerns the block
  FindingCode code;
  std::string what;
  std::string repair;               ///< what a repair does about it
  std::vector<ItemKey> items = {};  ///< that it concerns

  Severity severity() const { return KindOf(code).severity; }
};

/// Looks at the blocks of a section that is set up; changes nothing, in flash or in RAM.
std::vector<Finding> InspectSection(const Section& section);

}  // namespace vok::tool
