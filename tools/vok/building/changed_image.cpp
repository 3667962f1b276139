#include "building/changed_image.h"

namespace vok::tool {

ChangedImage::ChangedImage(const ImageArguments& arguments, AcceptLoss accept) : image_(arguments) {
  RequireSetUp(image_.sections());
  RequireApart(image_.sections());
  Remount();
  losses_ = image_.holdings().FindLosses(sections_);
  RequireNothingDropped(losses_, accept);
}

void ChangedImage::Remount() {
  sections_ = MountSections(MountPurpose::kRepair);
  RequireAllMounted(sections_);
}

void ChangedImage::Save(const Claim& claim) {
  Remount();
  WriteChanged(image_, claim, losses_);
}

}  // namespace vok::tool
