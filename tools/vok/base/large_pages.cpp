#include "base/large_pages.h"

#include "flash/image.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#endif

namespace vok::tool {

#ifdef __linux__

void UseLargePages(const void* start, std::size_t size) {
  constexpr std::size_t kWorthwhile = 0x400000;
  if (size < kWorthwhile) return;
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* first = const_cast<void*>(start);
  // It is advice: where it is not taken, everything works as before.
  if (std::align(page, page, first, size) != nullptr) ::madvise(first, size, MADV_HUGEPAGE);
}

#else

void UseLargePages(const void*, std::size_t) {}

#endif

void UseLargePages() { UseLargePages(VirtualMemoryAddress(0), kFlashSize); }

}  // namespace vok::tool
