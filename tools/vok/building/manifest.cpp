#include "building/manifest.h"

#include <fmt/core.h>

#include <filesystem>
#include <set>

#include "base/failure.h"
#include "building/manifest_section.h"
#include "building/unpacked_folder.h"
#include "flash/image.h"

namespace vok::tool {

namespace {

JsonValue ParseManifest(const std::string& directory) {
  const std::string path = directory + '/' + kManifestFileName;
  const Bytes bytes = ReadFile(path);
  return JsonValue::Parse(std::string(bytes.begin(), bytes.end()), path);
}

}  // namespace

Manifest::Manifest(const std::string& directory) : directory_(directory), root_(ParseManifest(directory)) {
  root_.AllowOnly({"format", "version", "psdt", "codeplug", "sections", "complete", "losses"});
  const JsonValue format = root_.Field("format");
  if (format.Text() != "vok/1") format.Refuse(format.Text() + " is not vok/1");
  version_ = static_cast<u16>(root_.Field("version").Number(1, 3));
  const JsonValue codeplug = root_.Field("codeplug");
  codeplug.AllowOnly({"address", "length"});
  codeplug_start_ = codeplug.Field("address").Number(0, kFlashSize - 1);
  codeplug_end_ = codeplug_start_ + codeplug.Field("length").Number(1, kFlashSize - codeplug_start_);
}

ImageBytes Manifest::ReadPsdt() const {
  const JsonValue psdt = root_.Field("psdt");
  psdt.AllowOnly({"file", "address"});
  return {.path = directory_ + '/' + kPsdtFileName,
          .bytes = ReadManifestFile(directory_, psdt, kPsdtFileName),
          .address = psdt.Field("address").Number(0, kFlashSize - 1)};
}

std::vector<PackedSection> Manifest::ReadItems(const SectionList& sections, Tolerance tolerance) const {
  RequireCodeplugHolds(sections);
  std::vector<PackedSection> packed;
  std::set<std::string> names;
  for (const JsonValue& json : root_.Field("sections").Elements()) {
    json.AllowOnly({"section", "partition", "kind", "start", "block_size", "block_count", "types", "mounted", "items"});
    const JsonValue name = json.Field("section");
    if (!names.insert(name.Text()).second) name.Refuse("section " + name.Text() + " is there already");
    packed.push_back(ReadManifestSection(directory_, json, SectionNamed(name, sections), tolerance));
  }
  for (const Section& section : sections.accepted)
    if (!names.contains(section.name)) packed.push_back(ReadUnlistedSection(directory_, section, tolerance));
  return packed;
}

Losses Manifest::ReadLosses() const {
  Losses losses;
  if (!root_.Has("losses")) return losses;
  for (const JsonValue& json : root_.Field("losses").Elements()) losses.push_back(ReadManifestLoss(json));
  return losses;
}

/// Whether the folder tells of the section, or has files for it.
bool Manifest::Names(const Section& section) const {
  for (const JsonValue& json : root_.Field("sections").Elements())
    if (json.Field("section").Text() == section.name) return true;
  return std::filesystem::exists(directory_ + '/' + section.name);
}

/// A folder of an image that had not all of them has the others alone.
void Manifest::RequireCodeplugHolds(const SectionList& sections) const {
  for (const Section& section : sections.passed_over)
    if (section.presence == Presence::kOutsideFile && Names(section))
      root_.Field("codeplug")
          .Refuse(fmt::format("{} does not hold the whole of section {} ({})", TextOf(codeplug()), section.name,
                              TextOf(section.range())));
}

}  // namespace vok::tool
