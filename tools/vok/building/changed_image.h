#pragma once

#include "building/lost_items.h"
#include "image/image.h"
#include "section/mounting.h"

namespace vok::tool {

/// An image that a command changes: loaded and mounted with repair. Everything happens in memory until Save(), so that
/// a command that fails leaves the file as it was.
class ChangedImage {
 public:
  /// @throws Failure also when a section that should mount does not
  explicit ChangedImage(const ImageArguments& arguments);

  /// The sections with their mount codes, until the next Remount().
  const SectionList& sections() const { return sections_; }

  /// Mounts everything anew, with repair: what an operation left unfinished is dropped or finished.
  void Remount();

  /// Writes the image as WriteChanged() does.
  /// @param claim  taken before the image was loaded
  void Save(const Claim& claim);

 private:
  LoadedImage image_;
  SectionList sections_;
  std::vector<LostItems> lost_;
};

}  // namespace vok::tool
