#include "base/large_pages.h"

#include "flash/image.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>

#include <memory>
#endif

namespace vok::tool {

#ifdef __linux__

void UseLargePages() {
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* first = const_cast<u8*>(VirtualMemoryAddress(0));
  std::size_t size = kFlashSize;
  // It is advice: where it is not taken, everything works as before.
  if (std::align(page, page, first, size) != nullptr) ::madvise(first, size, MADV_HUGEPAGE);
}

#else

void UseLargePages() {}

#endif

}  // namespace vok::tool
