#pragma once

#include <string>

#include "building/fresh_image.h"
#include "building/manifest.h"

namespace vok::tool {

/// An image onto which a new one is put: its bytes outside the sections stay.
class OntoImage {
 public:
  /// Reads a dump with the folder's PSDT in it, or a codeplug like the folder's.
  /// @throws Failure for a file that is neither
  OntoImage(const std::string& path, const Manifest& manifest, const ImageBytes& psdt);

  /// Its bytes with the sections of @p image in them.
  Bytes With(const FreshImage& image) const;

 private:
  ImageBytes image_;
};

/// How many bytes from @p start to @p end lie in no section and not in the PSDT.
u64 CountOutside(const FreshImage& image, const ImageBytes& psdt, u64 start, u64 end);

}  // namespace vok::tool
