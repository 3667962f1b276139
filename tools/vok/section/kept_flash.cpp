#include "section/kept_flash.h"

#include <algorithm>

#include "flash/image.h"
#include "store/volume/layout.h"

namespace vok::tool {

KeptFlash::KeptFlash(u64 start, u64 end) : start_(start), bytes_(std::min<u64>(end, kFlashSize) - start) {
  CopyFromFlash(bytes_.data(), start_, static_cast<u32>(bytes_.size()));
}

KeptFlash::KeptFlash(const Section& section)
    : KeptFlash(section.entry.start, section.end() + CurrentLayout().erase_size) {}

void KeptFlash::Restore() const { CopyToFlash(start_, bytes_.data(), static_cast<u32>(bytes_.size())); }

}  // namespace vok::tool
