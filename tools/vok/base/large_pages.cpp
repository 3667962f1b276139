#include "base/large_pages.h"

#include "flash/image.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#endif

namespace vok::tool {

#ifdef __linux__

void UseLargePages() {
  const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  const auto image = reinterpret_cast<std::uintptr_t>(VirtualMemoryAddress(0));
  const std::uintptr_t first = (image + page - 1) / page * page;
  // It is advice: where it is not taken, everything works as before.
  ::madvise(reinterpret_cast<void*>(first), image + kFlashSize - first, MADV_HUGEPAGE);
}

#else

void UseLargePages() {}

#endif

}  // namespace vok::tool
