#pragma once

#include <optional>
#include <string>
#include <vector>

#include "section/valid_copies.h"

/// What an image holds beside what the store serves once it is mounted.

namespace vok::tool {

/// Items of a section with a Valid copy that is not served, all for one reason.
struct Loss {
  std::string section;
  std::optional<u16> block;    ///< absent for what concerns the whole section
  std::vector<ItemKey> items;  ///< by name; none for slots that are Valid but name no item
  std::string why;
  std::string remedy;    ///< the command that gets them back, or "none: …"
  bool dropped = false;  ///< no Valid copy lies in the flash any more
  bool hidden = false;   ///< another copy of each is served
};
using Losses = std::vector<Loss>;

/// Whether a repair is enough to get the items back.
bool IsEndedByRepair(const Loss& loss);
/// Whether nothing less than a rebuild gets them back.
bool IsEndedByRebuild(const Loss& loss);

/// What the sections of an image hold before anything is mounted.
class ImageHoldings {
 public:
  ImageHoldings() = default;
  explicit ImageHoldings(const SectionList& sections);

  /// Works out what is not served. What a journal record announces is no loss: the old name of a rename, the old copy
  /// of a replacement.
  /// @param mounted  the same sections after their mounts
  Losses FindLosses(const SectionList& mounted) const;
  Losses FindLosses(const Section& section) const;

 private:
  struct HeldSection {
    u16 record;  ///< in the PSDT
    SectionHoldings holdings;
    std::vector<BlockHead> heads;
    std::vector<u32> sums;  ///< of the copies whose names have several, in their order
  };
  friend class SectionLosses;

  std::vector<HeldSection> sections_;
};

/// "26 items"
std::string CountText(std::size_t count, const std::string& what);

}  // namespace vok::tool
