#pragma once

#include "flash/image.h"
#include "image/image_bytes.h"
#include "section/sections.h"
#include "vok/vok_worker.h"

namespace vok::tool {

/// An image that is made from scratch: a PSDT, and under it every section formatted empty with default headers. All
/// sections are mounted and take items, also the read-only ones, of which every block may be filled: nothing that only
/// start-up mounts needs a spare. Its end ends the store.
class FreshImage {
 public:
  /// @param codeplug  sections that do not lie in it are left out
  /// @throws Failure for a PSDT that makes no sense or whose sections overlap
  FreshImage(ImageBytes psdt, u16 version, const FlashRange& codeplug = {.start = 0, .end = kFlashSize});
  ~FreshImage() { ForgetLoadedRanges(); }
  FreshImage(const FreshImage&) = delete;
  FreshImage& operator=(const FreshImage&) = delete;

  const SectionList& sections() const { return sections_; }

  /// Empties every section again.
  void Format();

  /// Where the accepted sections begin and end.
  u64 start() const;
  u64 end() const;

  /// The flash range as a file holds it: the PSDT's bytes as they were given.
  Bytes Range(u64 start, u64 end) const;
  /// From address 0 on, with the PSDT and at least up to @p end.
  Bytes Dump(u64 end) const;

 private:
  void MountForFilling();

  VokWorker worker_;
  ImageBytes psdt_;
  u16 version_;
  FlashRange codeplug_;
  SectionList sections_;
};

}  // namespace vok::tool
