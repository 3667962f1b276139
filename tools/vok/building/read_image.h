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
/// rebuilt in memory first, those that the PSDT is wrong about at the places that their blocks tell; one that cannot be
/// rebuilt stays as it is.
class ReadImage {
 public:
  /// @throws Failure also when nothing can be set up and nothing is known to be lost by that
  explicit ReadImage(const ImageArguments& arguments, Look look = Look::kServed);

  /// From here on the sections are all that blocks were found of, whether or not start-up would make partitions of
  /// them. Of an image looked at as it lies. @throws Failure when there are none
  void ShowAllBlocks();

  const LoadedImage& loaded() const { return image_; }
  u16 version() const { return image_.version(); }
  const SectionList& sections() const { return sections_; }
  const Losses& losses() const { return losses_; }
  bool is_rebuilt() const { return is_rebuilt_; }
  /// Whether the PSDT that was given makes a partition of a section of that name.
  bool HasPartition(const Section& section) const;

 private:
  void RebuildInMemory();
  void Mount();

  LoadedImage image_;
  SectionList sections_;
  SectionList served_;  ///< as the PSDT that was given makes them
  bool is_rebuilt_;
  Losses losses_;
};

}  // namespace vok::tool
