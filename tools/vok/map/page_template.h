#pragma once

#include <string_view>

namespace vok::tool {

/// The page of the map with its style and script in it, and the mark @DATA@ once where the data goes. The build makes
/// its definition from the files in page/.
std::string_view PageTemplate();

}  // namespace vok::tool
