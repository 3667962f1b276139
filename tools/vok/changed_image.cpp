#include "changed_image.h"

namespace vok::tool {

ChangedImage::ChangedImage(const ImageArguments& arguments) : image_(arguments) {
  RequireSetUp(image_.sections());
  Remount();
}

void ChangedImage::Remount() {
  sections_ = MountSections(MountPurpose::kRepair);
  RequireAllMounted(sections_);
}

void ChangedImage::Save(const std::string& output) {
  Remount();
  ReplaceFile(output.empty() ? image_.changed_path() : output, image_.CurrentBytes());
}

}  // namespace vok::tool
