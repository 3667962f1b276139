#pragma once

#include <string>

#include "section/items.h"

/// The names of the files in a folder that unpack makes.

namespace vok::tool {

inline constexpr const char* kManifestFileName = "manifest.json";
inline constexpr const char* kPsdtFileName = "psdt.bin";

/// "SECTION/TYPE-ID.bin"
std::string ItemFileName(const Section& section, const ItemEntry& item);

}  // namespace vok::tool
