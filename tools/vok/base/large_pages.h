#pragma once

namespace vok::tool {

/// Asks the system to back the flash image in memory by large pages. Every command fills all of the image, and to get
/// it page by page would take most of a short command's time.
void UseLargePages();

}  // namespace vok::tool
