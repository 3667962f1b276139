#pragma once

#include "base/files.h"
#include "section/sections.h"

namespace vok::tool {

/// The bytes of a flash range as they were, for what is tried on them and then undone.
class KeptFlash {
 public:
  KeptFlash(u64 start, u64 end);
  /// A section with all that an erase of its last block wipes, whatever block size it has.
  explicit KeptFlash(const Section& section);

  void Restore() const;

 private:
  u64 start_;
  Bytes bytes_;
};

}  // namespace vok::tool
