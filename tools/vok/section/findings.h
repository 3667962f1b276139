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
  static constexpr std::size_t kMostItems = 100;

  u16 block;                ///< index in the section
  std::optional<u32> slot;  ///< index in the block, of the first where it tells of several; absent for the whole block
  u32 last_slot = 0;        ///< with a slot
  u32 count = 1;            ///< slots that are as it tells
  FindingCode code;
  std::string what;
  std::string repair;               ///< what a repair does about it
  std::vector<ItemKey> items = {};  ///< that it concerns, kMostItems of them at most

  Severity severity() const { return KindOf(code).severity; }
};

class FindingList;

/// Looks at the blocks of a section that is set up; changes nothing, in flash or in RAM.
void InspectSection(const Section& section, FindingList& findings);
std::vector<Finding> InspectSection(const Section& section);

/// One of its blocks, a finding for each slot.
std::vector<Finding> InspectBlock(const Section& section, u16 block);

}  // namespace vok::tool
