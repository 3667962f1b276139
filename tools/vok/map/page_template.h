#pragma once

#include <string_view>

namespace vok::tool {

/// The page of the map with its style and script in it, and the marks @DATA@ and @BLOCKS@, each once and in this order,
/// where its figures and its blocks go. The build makes the definition from the files in page/.
std::string_view PageTemplate();

}  // namespace vok::tool
