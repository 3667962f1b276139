#pragma once

#include "image/image.h"
#include "section/losses.h"

namespace vok::tool {

/// How a command looks at an image.
enum class Look : u8 {
  kServed,    ///< mounted as start-up mounts it
  kAsItLies,  ///< before any mount: set up, with the bytes of the file
};

/// An image that a command reads, and what of it the store does not serve. Where that is asked for, the sections are
/// rebuilt in memory first; one that cannot be stays as it is.
class ReadImage {
 public:
  /// @throws Failure also when nothing can be set up and nothing is known to be lost by that
  explicit ReadImage(const ImageArguments& arguments, Look look = Look::kServed);

  const LoadedImage& loaded() const { return image_; }
  u16 version() const { return image_.version(); }
  const SectionList& sections() const { return sections_; }
  const Losses& losses() const { return losses_; }
  bool is_rebuilt() const { return is_rebuilt_; }

 private:
  void RebuildInMemory();
  void Mount();

  LoadedImage image_;
  SectionList sections_;
  bool is_rebuilt_;
  Losses losses_;
};

}  // namespace vok::tool
