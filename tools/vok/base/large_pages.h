#pragma once

#include <cstddef>

namespace vok::tool {

/// Asks the system to back the flash image in memory by large pages. Every command fills all of the image, and to get
/// it page by page would take most of a short command's time.
void UseLargePages();
/// The same for memory that nothing was written to yet, if it is worth it.
void UseLargePages(const void* start, std::size_t size);

}  // namespace vok::tool
