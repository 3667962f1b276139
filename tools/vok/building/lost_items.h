#pragma once

#include <string>
#include <vector>

#include "building/rebuild.h"
#include "image/claim.h"

/// Items that a repair mount drops although a Valid copy of them lies in the section: it formats blocks whose header is
/// damaged with all that they hold.

namespace vok::tool {

/// The items of one block.
struct LostItems {
  std::string section;
  u16 block;
  std::size_t count;
};

/// @param before   what could be got out of the sections before the mounts
/// @param mounted  the sections now, mounted
std::vector<LostItems> FindLostItems(const std::vector<RebuiltSection>& before, const SectionList& mounted);

/// "section CPGA block 2 loses 26 items, section TUNA block 0 loses 1 item"
std::string TextOf(const std::vector<LostItems>& lost);

/// Writes a changed image where @p claim says. When items were lost on the way, it says so on standard error, and an
/// original that would be replaced is kept: it is all that they can be got out of.
void WriteChanged(const LoadedImage& image, const Claim& claim, const std::vector<LostItems>& lost);

}  // namespace vok::tool
