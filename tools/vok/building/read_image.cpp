#include "building/read_image.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "base/terminal.h"
#include "building/rebuild.h"
#include "section/kept_flash.h"
#include "section/losses_text.h"
#include "section/mounting.h"

namespace vok::tool {

ReadImage::ReadImage(const ImageArguments& arguments, Look look)
    : image_(arguments, Care::kLoose), sections_(image_.sections()), is_rebuilt_(arguments.rebuilt) {
  Losses mended;
  if (is_rebuilt_) {
    mended = image_.MendPsdt();
    sections_ = image_.sections();
    RebuildInMemory();
  }
  std::vector<KeptFlash> kept;
  if (look == Look::kAsItLies)
    for (const Section& section : sections_.accepted) kept.emplace_back(section);
  Mount();
  std::ranges::copy(mended, std::back_inserter(losses_));
  std::ranges::copy(image_.troubles(), std::back_inserter(losses_));
  if (losses_.empty()) RequireSetUp(sections_);
  if (look == Look::kServed) return;
  for (const KeptFlash& bytes : kept) bytes.Restore();
  sections_ = SetUpSections();
}

void ReadImage::ShowAllBlocks() {
  image_.MendPsdt();
  sections_ = image_.sections();
  RequireSetUp(sections_);
}

bool ReadImage::HasPartition(const Section& section) const {
  return served_.setup_code == code::kOk &&
         std::ranges::find(served_.accepted, section.name, &Section::name) != served_.accepted.end();
}

void ReadImage::RebuildInMemory() {
  if (sections_.setup_code != code::kOk) return;
  for (const Section& section : sections_.accepted) {
    const KeptFlash kept(section);
    try {
      SetUpSections();
      Rebuild(image_, {SalvageSection(section)});
    } catch (const Failure& failure) {
      kept.Restore();
      Warn(fmt::format("section {} is shown as it is: {}", section.name, failure.what()));
    }
  }
}

void ReadImage::Mount() {
  sections_ = MountSections(MountPurpose::kRead);
  losses_ = image_.holdings().FindLosses(sections_);
  // A rebuild has chosen between the copies of an item.
  if (is_rebuilt_) losses_ = WithoutHidden(losses_);
  served_ = sections_;
}

}  // namespace vok::tool
