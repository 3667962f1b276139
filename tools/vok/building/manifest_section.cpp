#include "building/manifest_section.h"

#include <fmt/core.h>

#include <filesystem>
#include <set>

#include "base/failure.h"
#include "base/hex_dump.h"
#include "base/progress.h"
#include "building/folder_files.h"
#include "building/unpacked_folder.h"
#include "section/items.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

constexpr u64 kMost32 = 0xFFFFFFFF;
constexpr u16 kLastId = 0xFFFE;

/// A manifest that came from elsewhere reads nothing outside its directory.
void RequireInside(const JsonValue& file) {
  const fs::path path(file.Text());
  bool inside = path.is_relative() && path.has_filename();
  for (const fs::path& part : path) inside = inside && part != "..";
  if (!inside) file.Refuse(file.Text() + " is not a file in the directory");
}

void RequireNumber(const JsonValue& json, const char* field, u64 wanted) {
  if (!json.Has(field)) return;
  const JsonValue value = json.Field(field);
  if (value.Number(0, kMost32) != wanted)
    value.Refuse(fmt::format("{} is not the {} of the PSDT", value.Number(0, kMost32), wanted));
}

void RequireKind(const JsonValue& json, const Section& section) {
  if (!json.Has("kind")) return;
  const JsonValue kind = json.Field("kind");
  if (kind.Text() != KindOf(section))
    kind.Refuse(fmt::format("{} is not the {} of the PSDT", kind.Text(), KindOf(section)));
}

void RequireTypes(const JsonValue& json, const Section& section) {
  if (!json.Has("types")) return;
  const JsonValue types = json.Field("types");
  const JsonElements listed = types.Elements();
  const std::vector<psdt::TypeRange> ranges = TypeRangesOf(section);
  if (listed.size() != ranges.size())
    types.Refuse(fmt::format("{} ranges are not the {} of the PSDT", listed.size(), ranges.size()));
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    const JsonElements bounds = listed[i].Elements();
    if (bounds.size() != 2) listed[i].Refuse("is not a first and a last type");
    if (bounds[0].Number(0, kMost32) != ranges[i].first_type || bounds[1].Number(0, kMost32) != ranges[i].last_type)
      listed[i].Refuse(fmt::format("is not the range {} to {} of the PSDT", ranges[i].first_type, ranges[i].last_type));
  }
}

void RequireSection(const JsonValue& json, const Section& section) {
  RequireNumber(json, "partition", section.partition());
  RequireKind(json, section);
  RequireNumber(json, "start", section.entry.start);
  RequireNumber(json, "block_size", section.entry.block_size);
  RequireNumber(json, "block_count", section.entry.block_count);
  RequireTypes(json, section);
  if (json.Has("mounted")) static_cast<void>(json.Field("mounted").Flag());
}

/// An image may hold items that no range of their section covers; unpack says so of them, and nobody else should.
void RequireServed(const JsonValue& json, const Section& section, u16 type) {
  const bool may_be_unserved = json.Has("unserved") && json.Field("unserved").Flag();
  if (!may_be_unserved && !Serves(section, type))
    json.Field("type").Refuse(fmt::format("{} is in no type range of section {}", type, section.name));
}

void RequireChecksum(const JsonValue& json, const Bytes& bytes) {
  if (json.Has("length")) {
    const JsonValue length = json.Field("length");
    if (length.Number(0, kMost32) != bytes.size())
      length.Refuse(fmt::format("{} is not the {} bytes of its file", length.Number(0, kMost32), bytes.size()));
  }
  if (json.Has("crc32")) {
    const JsonValue crc = json.Field("crc32");
    const std::string text = ChecksumText(Crc32(bytes));
    if (crc.Text() != text) crc.Refuse(fmt::format("{} is not the {} of its file", crc.Text(), text));
  }
}

bool HasChanged(const JsonValue& json, const Bytes& bytes) {
  return (json.Has("length") && json.Field("length").Number(0, kMost32) != bytes.size()) ||
         (json.Has("crc32") && json.Field("crc32").Text() != ChecksumText(Crc32(bytes)));
}

[[noreturn]] void RefuseSize(const std::string& where, std::size_t size, const Section& section) {
  throw Failure(fmt::format("{}: {} bytes are more than the {} that a block of section {} takes", where, size,
                            LargestItem(section.entry.block_size), section.name));
}

/// Reads a section of a folder item by item.
class FolderSection {
 public:
  FolderSection(const std::string& directory, const Section& section, Tolerance tolerance)
      : directory_(directory), section_(section), tolerance_(tolerance) {}

  void AddListed(const JsonValue& json);
  void AddUnlisted();
  PackedSection Take(bool is_whole) {
    packed_.is_whole = is_whole;
    return std::move(packed_);
  }

 private:
  void Add(PackedItem item);

  const std::string& directory_;
  const Section& section_;
  Tolerance tolerance_;
  PackedSection packed_ = {
      .name = section_.name, .partition = section_.partition(), .is_whole = false, .items = {}, .missing = {}};
  std::set<std::pair<u16, u16>> names_;
  std::set<fs::path> files_;  ///< that the manifest tells of
};

void FolderSection::Add(PackedItem item) {
  if (item.bytes.size() > LargestItem(section_.entry.block_size)) RefuseSize(item.where, item.bytes.size(), section_);
  packed_.items.push_back(std::move(item));
}

void FolderSection::AddListed(const JsonValue& json) {
  json.AllowOnly({"type", "id", "length", "crc32", "file", "unserved"});
  const u16 type = static_cast<u16>(json.Field("type").Number(1, kLastItemType));
  const u16 id = static_cast<u16>(json.Field("id").Number(0, kLastId));
  RequireServed(json, section_, type);
  if (!names_.insert({type, id}).second) json.Refuse(fmt::format("item type {} ID {} is there already", type, id));
  const std::string usual = ItemFileName(section_, {.type = type, .id = id, .length = 0, .crc32 = 0});
  const fs::path file = json.Has("file") ? json.Field("file").Text() : usual;
  files_.insert(file.lexically_normal());
  const bool is_gone = !fs::exists(directory_ / file);
  if (is_gone && tolerance_.missing) return packed_.missing.push_back({.type = type, .id = id});
  Bytes bytes = ReadManifestFile(directory_, json, usual, is_gone ? "; --delete does without the item" : "");
  if (!tolerance_.edits) RequireChecksum(json, bytes);
  const Origin origin = HasChanged(json, bytes) ? Origin::kChanged : Origin::kUnpacked;
  Add({.type = type, .id = id, .bytes = std::move(bytes), .where = json.Where(), .origin = origin});
}

void FolderSection::AddUnlisted() {
  for (const AddedFile& added : FindAddedFiles(directory_, section_, files_)) {
    const std::string path = directory_ + '/' + added.file;
    if (!tolerance_.edits) throw Failure(fmt::format("{} is not in the manifest", path));
    if (!names_.insert({added.type, added.id}).second)
      throw Failure(fmt::format("{}: the manifest names another file for the item", path));
    Add({.type = added.type, .id = added.id, .bytes = ReadFile(path), .where = path, .origin = Origin::kAdded});
  }
}

}  // namespace

Bytes ReadManifestFile(const std::string& directory, const JsonValue& json, const std::string& default_name,
                       const std::string& advice) {
  const bool named = json.Has("file");
  if (named) RequireInside(json.Field("file"));
  const std::string name = named ? json.Field("file").Text() : default_name;
  try {
    return ReadFile(directory + '/' + name);
  } catch (const Failure& failure) {
    (named ? json.Field("file") : json).Refuse(failure.what() + advice);
  }
}

const Section& SectionNamed(const JsonValue& name, const SectionList& sections) {
  try {
    return FindSection(sections, name.Text());
  } catch (const Failure& failure) {
    name.Refuse(failure.what());
  }
}

PackedSection ReadManifestSection(const std::string& directory, const JsonValue& json, const Section& section,
                                  Tolerance tolerance) {
  RequireSection(json, section);
  FolderSection folder(directory, section, tolerance);
  const JsonElements elements = json.Field("items").Elements();
  Progress progress("files of section " + section.name, elements.size());
  for (const JsonValue& element : elements) {
    progress.Advance();
    folder.AddListed(element);
  }
  folder.AddUnlisted();
  return folder.Take(!json.Has("mounted") || json.Field("mounted").Flag());
}

PackedSection ReadUnlistedSection(const std::string& directory, const Section& section, Tolerance tolerance) {
  FolderSection folder(directory, section, tolerance);
  folder.AddUnlisted();
  return folder.Take(false);
}

Loss ReadManifestLoss(const JsonValue& json) {
  json.AllowOnly({"section", "block", "items", "why", "remedy"});
  Loss loss{.section = json.Field("section").Text(),
            .block = {},
            .items = {},
            .why = json.Field("why").Text(),
            .remedy = json.Field("remedy").Text()};
  if (json.Has("block")) loss.block = static_cast<u16>(json.Field("block").Number(0, 0xFFFF));
  for (const JsonValue& item : json.Field("items").Elements())
    loss.items.push_back({.type = static_cast<u16>(item.Field("type").Number(0, 0xFFFF)),
                          .id = static_cast<u16>(item.Field("id").Number(0, 0xFFFF))});
  return loss;
}

}  // namespace vok::tool
