#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "section/sections.h"

/// The item files of an unpacked folder that its manifest does not tell of.

namespace vok::tool {

/// An item whose file somebody has put into the folder.
struct AddedFile {
  u16 type;
  u16 id;
  std::string file;  ///< relative to the folder
};

/// The files of the section's folder that are named like items, by type and ID; others are nobody's business.
/// @param listed  what the manifest tells of, relative to the folder
/// @throws Failure for one that looks like an item and can be none of this section
std::vector<AddedFile> FindAddedFiles(const std::string& directory, const Section& section,
                                      const std::set<std::filesystem::path>& listed);

}  // namespace vok::tool
