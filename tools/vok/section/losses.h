#pragma once

#include <optional>
#include <string>
#include <vector>

#include "section/stray_blocks.h"
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
  bool outside = false;  ///< the PSDT or the file is wrong about it, not the blocks
  bool absent = false;   ///< of bytes that were not loaded: what items it has nobody knows
};
using Losses = std::vector<Loss>;

/// That the file does not hold the whole of a section.
Loss AbsenceOf(const Section& section);
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
  /// Of the blocks that lie in no section of the PSDT.
  Losses FindStrayLosses() const;
  /// Whether items lie where start-up makes no partition, so that another PSDT would give them.
  bool HasItemsOutside(const SectionList& sections) const;

 private:
  struct HeldSection {
    u16 record;  ///< in the PSDT
    SectionHoldings holdings;
    std::vector<BlockHead> heads;
    std::vector<u32> sums;  ///< of the copies whose names have several, in their order
  };
  friend class SectionLosses;

  std::vector<HeldSection> sections_;
  std::vector<StrayBlock> strays_;
};

/// The command that shows what only another PSDT would give.
inline constexpr const char* kRemedyOfPsdt = "vok unpack --rebuilt DIR";

/// "26 items"
std::string CountText(std::size_t count, const std::string& what);

}  // namespace vok::tool
