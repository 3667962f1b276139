#include "building/folder_files.h"

#include <fmt/core.h>

#include <algorithm>
#include <tuple>

#include "base/failure.h"
#include "base/number.h"
#include "building/unpacked_folder.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

constexpr u16 kLastId = 0xFFFE;

/// Digits, a dash, digits and ".bin".
bool LooksLikeItem(const std::string& name) {
  constexpr std::string_view kDigits = "0123456789";
  const std::size_t dash = name.find_first_not_of(kDigits);
  if (dash == 0 || dash == std::string::npos || name[dash] != '-') return false;
  const std::size_t end = name.find_first_not_of(kDigits, dash + 1);
  return end != dash + 1 && end != std::string::npos && name.substr(end) == ".bin";
}

[[noreturn]] void Refuse(const std::string& directory, const std::string& file, const std::string& why) {
  throw Failure(fmt::format("{}/{}: {}", directory, file, why));
}

AddedFile AddedFileOf(const std::string& directory, const Section& section, const std::string& name) {
  const std::string file = section.name + '/' + name;
  const std::size_t dash = name.find('-');
  const auto type = ParseNumber(std::string_view(name).substr(0, dash));
  const auto id = ParseNumber(std::string_view(name).substr(dash + 1, name.find('.') - dash - 1));
  if (!type || *type == 0 || *type > kLastItemType || !id || *id > kLastId)
    Refuse(directory, file, fmt::format("types are 1 to {} and IDs 0 to {}", kLastItemType, kLastId));
  AddedFile added{.type = static_cast<u16>(*type), .id = static_cast<u16>(*id), .file = file};
  const std::string usual = ItemFileName(section, {.type = added.type, .id = added.id, .length = 0, .crc32 = 0});
  if (usual != file) Refuse(directory, file, "the file of that item is named " + usual);
  if (!Serves(section, added.type))
    Refuse(directory, file, fmt::format("type {} is in no type range of section {}", added.type, section.name));
  return added;
}

}  // namespace

std::vector<AddedFile> FindAddedFiles(const std::string& directory, const Section& section,
                                      const std::set<fs::path>& listed) {
  std::vector<AddedFile> added;
  std::error_code none;
  for (const fs::directory_entry& entry : fs::directory_iterator(fs::path(directory) / section.name, none)) {
    const std::string name = entry.path().filename().string();
    if (LooksLikeItem(name) && !listed.contains(fs::path(section.name) / name))
      added.push_back(AddedFileOf(directory, section, name));
  }
  std::sort(added.begin(), added.end(),
            [](const AddedFile& a, const AddedFile& b) { return std::tie(a.type, a.id) < std::tie(b.type, b.id); });
  return added;
}

}  // namespace vok::tool
