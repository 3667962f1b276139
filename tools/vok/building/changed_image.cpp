#include "building/changed_image.h"

namespace vok::tool {

ChangedImage::ChangedImage(const ImageArguments& arguments) : image_(arguments) {
  RequireSetUp(image_.sections());
  const std::vector<RebuiltSection> before = SalvageSections(image_.sections());
  Remount();
  lost_ = FindLostItems(before, sections_);
}

void ChangedImage::Remount() {
  sections_ = MountSections(MountPurpose::kRepair);
  RequireAllMounted(sections_);
}

void ChangedImage::Save(const Claim& claim) {
  Remount();
  WriteChanged(image_, claim, lost_);
}

}  // namespace vok::tool
