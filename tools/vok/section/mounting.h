#pragma once

#include "section/sections.h"

/// Bringing the sections of a loaded image into service, or asking whether they could be. Everything happens in the
/// flash image in memory.

namespace vok::tool {

/// What a person wants done with the sections.
enum class MountPurpose {
  kRead,    ///< as start-up mounts them; for checking where it has no way to
  kRepair,  ///< with repair, also the read-write sections that start-up only checks
};

/// Whether start-up can mount the section at all: a read-only section is never repaired, so that one without a route
/// for checking is not mounted.
bool IsMountable(const Section& section);

/// Mounts every section, again and again until another mount would change nothing more: a repair mount leaves a journal
/// record for the next one when an unfinished slot follows it in its block.
/// @return the sections with their mount codes
SectionList MountSections(MountPurpose purpose);

/// Mounts every mountable section for checking, which changes nothing. @return the sections with their mount codes
SectionList CheckMountSections();

/// What a repair mount of a section that is not mounted would answer. The flash stays as it was, so that a section for
/// which the answer is 0 must be set up anew before its items are looked at.
u16 TryRepairMount(const Section& section);

/// @throws Failure for the first section that is not mounted but should be
void RequireAllMounted(const SectionList& sections);

}  // namespace vok::tool
