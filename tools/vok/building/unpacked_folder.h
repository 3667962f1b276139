#pragma once

#include <filesystem>
#include <set>
#include <string>

#include "section/items.h"

/// The names of the files in a folder that unpack makes.

namespace vok::tool {

inline constexpr const char* kManifestFileName = "manifest.json";
inline constexpr const char* kPsdtFileName = "psdt.bin";

/// "SECTION/TYPE-ID.bin"
std::string ItemFileName(const Section& section, const ItemEntry& item);

/// The files of @p directory that its manifest tells of, relative to it: what unpack made. None without a manifest.
/// @throws Failure for a manifest that makes no sense
std::set<std::filesystem::path> MadeFiles(const std::string& directory);

}  // namespace vok::tool
