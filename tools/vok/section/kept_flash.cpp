#include "section/kept_flash.h"

#include <algorithm>

#include "base/large_pages.h"
#include "flash/image.h"
#include "store/volume/layout.h"

namespace vok::tool {

KeptFlash::KeptFlash(u64 start, u64 end) : start_(start) {
  const u64 size = std::min<u64>(end, kFlashSize) - start;
  bytes_.reserve(size);
  UseLargePages(bytes_.data(), size);
  const u8* const first = VirtualMemoryAddress(start);
  bytes_.assign(first, first + size);
}

KeptFlash::KeptFlash(const Section& section)
    : KeptFlash(section.entry.start, section.end() + CurrentLayout().erase_size) {}

void KeptFlash::Restore() const { CopyToFlash(start_, bytes_.data(), static_cast<u32>(bytes_.size())); }

}  // namespace vok::tool
