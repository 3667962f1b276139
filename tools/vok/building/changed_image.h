#pragma once

#include "building/lost_items.h"
#include "image/image.h"
#include "section/mounting.h"

namespace vok::tool {

/// An image that a command changes: loaded and mounted with repair. Everything happens in memory until Save(), so that
/// a command that fails leaves the file as it was.
class ChangedImage {
 public:
  /// @throws Failure also when a section that should mount does not, or when the repair drops items and that is not
  ///         accepted
  ChangedImage(const ImageArguments& arguments, AcceptLoss accept);

  /// The sections with their mount codes, until the next Remount().
  const SectionList& sections() const { return sections_; }

  /// What the image held and the store does not serve.
  const Losses& losses() const { return losses_; }

  /// Mounts everything anew, with repair: what an operation left unfinished is dropped or finished.
  void Remount();

  /// Writes the image as WriteChanged() does.
  /// @param claim  taken before the image was loaded
  void Save(const Claim& claim);

 private:
  LoadedImage image_;
  SectionList sections_;
  Losses losses_;
};

}  // namespace vok::tool
