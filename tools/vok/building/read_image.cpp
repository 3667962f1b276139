#include "building/read_image.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "base/terminal.h"
#include "building/rebuild.h"
#include "section/kept_flash.h"
#include "section/losses_text.h"
#include "section/mounting.h"

namespace vok::tool {

ReadImage::ReadImage(const ImageArguments& arguments, Look look)
    : image_(arguments), sections_(image_.sections()), is_rebuilt_(arguments.rebuilt) {
  if (is_rebuilt_) RebuildInMemory();
  std::vector<KeptFlash> kept;
  if (look == Look::kAsItLies)
    for (const Section& section : sections_.accepted) kept.emplace_back(section);
  Mount();
  if (look == Look::kServed) return;
  for (const KeptFlash& bytes : kept) bytes.Restore();
  sections_ = SetUpSections();
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
  if (losses_.empty()) RequireSetUp(sections_);
}

}  // namespace vok::tool
