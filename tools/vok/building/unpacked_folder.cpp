#include "building/unpacked_folder.h"

#include <fmt/core.h>

#include "base/json_reader.h"

namespace vok::tool {

std::string ItemFileName(const Section& section, const ItemEntry& item) {
  return fmt::format("{}/{}-{}.bin", section.name, item.type, item.id);
}

std::set<std::filesystem::path> MadeFiles(const std::string& directory) {
  const std::string path = directory + '/' + kManifestFileName;
  if (!std::filesystem::exists(path)) return {};
  const Bytes bytes = ReadFile(path);
  const JsonValue manifest = JsonValue::Parse(std::string(bytes.begin(), bytes.end()), path);
  std::set<std::filesystem::path> made = {kManifestFileName, kPsdtFileName};
  for (const JsonValue& section : manifest.Field("sections").Elements())
    for (const JsonValue& item : section.Field("items").Elements())
      if (item.Has("file")) made.insert(item.Field("file").Text());
  return made;
}

}  // namespace vok::tool
