#include "building/manifest_section.h"

#include <fmt/core.h>

#include <filesystem>
#include <set>

#include "base/failure.h"
#include "base/hex_dump.h"
#include "base/progress.h"
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
  const std::vector<JsonValue> listed = types.Elements();
  const std::vector<psdt::TypeRange> ranges = TypeRangesOf(section);
  if (listed.size() != ranges.size())
    types.Refuse(fmt::format("{} ranges are not the {} of the PSDT", listed.size(), ranges.size()));
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    const std::vector<JsonValue> bounds = listed[i].Elements();
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

PackedItem ReadItem(const std::string& directory, const JsonValue& json, const Section& section) {
  json.AllowOnly({"type", "id", "length", "crc32", "file", "unserved"});
  PackedItem item{.type = static_cast<u16>(json.Field("type").Number(1, kLastItemType)),
                  .id = static_cast<u16>(json.Field("id").Number(0, kLastId)),
                  .bytes = {},
                  .where = json.Where()};
  RequireServed(json, section, item.type);
  const ItemEntry entry{.type = item.type, .id = item.id, .length = 0, .crc32 = 0};
  item.bytes = ReadManifestFile(directory, json, ItemFileName(section, entry));
  RequireChecksum(json, item.bytes);
  const u32 largest = LargestItem(section.entry.block_size);
  if (item.bytes.size() > largest)
    json.Refuse(fmt::format("{} bytes are more than the {} that a block of section {} takes", item.bytes.size(),
                            largest, section.name));
  return item;
}

}  // namespace

Bytes ReadManifestFile(const std::string& directory, const JsonValue& json, const std::string& default_name) {
  const bool named = json.Has("file");
  if (named) RequireInside(json.Field("file"));
  const std::string name = named ? json.Field("file").Text() : default_name;
  try {
    return ReadFile(directory + '/' + name);
  } catch (const Failure& failure) {
    (named ? json.Field("file") : json).Refuse(failure.what());
  }
}

const Section& SectionNamed(const JsonValue& name, const SectionList& sections) {
  try {
    return FindSection(sections, name.Text());
  } catch (const Failure& failure) {
    name.Refuse(failure.what());
  }
}

PackedSection ReadManifestSection(const std::string& directory, const JsonValue& json, const Section& section) {
  RequireSection(json, section);
  PackedSection packed{.name = section.name, .partition = section.partition(), .items = {}};
  std::set<std::pair<u16, u16>> names;
  const std::vector<JsonValue> elements = json.Field("items").Elements();
  Progress progress("files of section " + section.name, elements.size());
  for (const JsonValue& element : elements) {
    progress.Advance();
    packed.items.push_back(ReadItem(directory, element, section));
    const PackedItem& item = packed.items.back();
    if (!names.insert({item.type, item.id}).second)
      element.Refuse(fmt::format("item type {} ID {} is there already", item.type, item.id));
  }
  return packed;
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
