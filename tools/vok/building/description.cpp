#include "building/description.h"

#include <fmt/core.h>

#include <functional>
#include <optional>

#include "base/failure.h"
#include "base/json_reader.h"
#include "building/description_check.h"
#include "flash/image.h"
#include "flash/startup.h"
#include "image/image.h"
#include "section/psdt_bytes.h"
#include "store/volume/layout.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

constexpr u64 kMost16 = 0xFFFF;
constexpr u16 kLastRangeId = 254;
/// A route with this range ID has its partition mounted for checking only, the one way for a read-only one.
constexpr u16 kCheckRangeId = 0x81;

/// Reads a description field by field and goes on after a wrong one.
class DescriptionReader {
 public:
  DescriptionReader(const JsonValue& root, std::vector<std::string>& problems)
      : root_(root), problems_(problems), is_answer_(root.Has("format")) {}

  Description Read();

 private:
  void Try(const std::function<void()>& read);
  /// Without one that is known, nothing else makes sense.
  bool ReadVersion();
  u32 ReadPsdtAddress();
  void ReadSection(const JsonValue& json);
  psdt::Record ReadRecord(const JsonValue& json);
  u32 ReadTag(const JsonValue& tag);
  u32 ReadName(const JsonValue& name);
  u16 ReadKind(const JsonValue& kind);
  void ReadRanges(const JsonValue& json, psdt::Record& record);
  void ReadRange(const JsonValue& json, psdt::TypeRange& range);

  const JsonValue& root_;
  std::vector<std::string>& problems_;
  bool is_answer_;  ///< of info, or a manifest: they tell much more than a description needs
  Description description_;
  std::vector<PlacedRecord> sound_;  ///< the sections in which every field is right by itself
};

void DescriptionReader::Try(const std::function<void()>& read) {
  try {
    read();
  } catch (const Failure& failure) {
    problems_.emplace_back(failure.what());
  }
}

Description DescriptionReader::Read() {
  if (!is_answer_) Try([this] { root_.AllowOnly({"version", "psdt_address", "sections"}); });
  if (!problems_.empty() || !ReadVersion()) return description_;
  Try([this] { description_.psdt_address = ReadPsdtAddress(); });
  Try([this] {
    const JsonValue sections = root_.Field("sections");
    const JsonElements elements = sections.Elements();
    if (elements.empty()) sections.Refuse("holds no section");
    if (elements.size() > kMostPartitions)
      sections.Refuse(fmt::format("holds {} sections, more than {}", elements.size(), kMostPartitions));
    for (const JsonValue& json : elements) ReadSection(json);
    CheckTogether(sound_, elements.size(), description_.psdt_address, problems_);
  });
  return description_;
}

u32 DescriptionReader::ReadPsdtAddress() {
  const auto address_of = [](const JsonValue& json) {
    return static_cast<u32>(json.Number(0, kFlashSize - kPsdtLengthInDump));
  };
  if (root_.Has("psdt_address")) return address_of(root_.Field("psdt_address"));
  if (is_answer_ && root_.Has("psdt")) return address_of(root_.Field("psdt").Field("address"));
  return ImageArguments::kDefaultPsdtAddress;
}

bool DescriptionReader::ReadVersion() {
  Try([this] { description_.version = static_cast<u16>(root_.Field("version").Number(1, 3)); });
  if (description_.version == 0) return false;
  ApplyStoreVersion(description_.version);
  return true;
}

void DescriptionReader::ReadSection(const JsonValue& json) {
  const std::size_t before = problems_.size();
  psdt::Record record{};
  Try([&] { record = ReadRecord(json); });
  if (problems_.size() != before) return;
  sound_.push_back({.record = record, .where = json});
  CheckAlone(sound_.back(), problems_);
  description_.sections.push_back(record);
}

psdt::Record DescriptionReader::ReadRecord(const JsonValue& json) {
  if (!is_answer_)
    json.AllowOnly({"tag", "kind", "start", "block_size", "block_count", "partition", "types", "range_ids"});
  psdt::Record record{};
  Try([&] {
    record.tag = json.Has("tag") || !is_answer_ ? ReadTag(json.Field("tag")) : ReadName(json.Field("section"));
  });
  Try([&] { record.kind = ReadKind(json.Field("kind")); });
  Try([&] { record.start = static_cast<u32>(json.Field("start").Number(0, kFlashSize - 1)); });
  record.block_size = CurrentLayout().erase_size;
  if (json.Has("block_size"))
    Try([&] { record.block_size = static_cast<u32>(json.Field("block_size").Number(1, kFlashSize)); });
  Try([&] { record.block_count = static_cast<u16>(json.Field("block_count").Number(1, kMost16)); });
  Try([&] { record.partition = static_cast<u16>(json.Field("partition").Number(0, kMostPartitions - 1)); });
  Try([&] { ReadRanges(json, record); });
  return record;
}

u32 DescriptionReader::ReadTag(const JsonValue& tag) {
  const std::string text = tag.Text();
  bool plain = text.size() == sizeof(u32);
  for (const char c : text) plain = plain && c > ' ' && c <= '~';
  if (!plain) tag.Refuse("is not four visible ASCII characters");
  return TagOf(text);
}

u32 DescriptionReader::ReadName(const JsonValue& name) {
  const std::optional<u32> tag = TagOfName(name.Text());
  if (!tag) name.Refuse("is no name of a section");
  return *tag;
}

u16 DescriptionReader::ReadKind(const JsonValue& kind) {
  const Layout& layout = CurrentLayout();
  if (kind.IsText() && kind.Text() == "read-write") return layout.read_write_kind_a;
  if (kind.IsText() && kind.Text() == "read-only") return layout.read_only_kind;
  if (kind.IsText()) kind.Refuse("is neither read-write nor read-only nor a number");
  const u16 number = static_cast<u16>(kind.Number(0, kMost16));
  if (number != layout.read_only_kind && number != layout.read_write_kind_a && number != layout.read_write_kind_b)
    kind.Refuse(std::to_string(number) + " is no section kind of store version " + std::to_string(layout.version));
  return number;
}

void DescriptionReader::ReadRanges(const JsonValue& json, psdt::Record& record) {
  const JsonValue types = json.Field("types");
  const JsonElements ranges = types.Elements();
  if (ranges.empty() || ranges.size() > record.ranges.size()) types.Refuse("is not 1 to 4 ranges");
  const bool read_only = record.kind == CurrentLayout().read_only_kind;
  for (std::size_t i = 0; i < record.ranges.size(); ++i) {
    record.ranges[i].id = i < ranges.size() ? static_cast<u16>(i + 1) : psdt::kNoRange;
    if (i < ranges.size()) Try([&] { ReadRange(ranges[i], record.ranges[i]); });
  }
  if (read_only) record.ranges[0].id = kCheckRangeId;
  if (!json.Has("range_ids")) return;
  const JsonValue range_ids = json.Field("range_ids");
  const JsonElements ids = range_ids.Elements();
  if (ids.size() != ranges.size()) range_ids.Refuse("is not one ID for each range");
  for (std::size_t i = 0; i < ids.size(); ++i)
    Try([&] { record.ranges[i].id = static_cast<u16>(ids[i].Number(0, kLastRangeId)); });
}

void DescriptionReader::ReadRange(const JsonValue& json, psdt::TypeRange& range) {
  const JsonElements bounds = json.Elements();
  if (bounds.size() != 2) json.Refuse("is not a first and a last type");
  range.first_type = static_cast<u16>(bounds[0].Number(1, kLastItemType));
  range.last_type = static_cast<u16>(bounds[1].Number(1, kLastItemType));
  if (range.first_type > range.last_type) json.Refuse("begins above its end");
}

}  // namespace

ImageBytes PsdtOf(const Description& description) {
  return {.path = "", .bytes = PsdtBytes(description.sections, kPsdtLengthInDump), .address = description.psdt_address};
}

Description ReadDescription(const std::string& path, std::vector<std::string>& problems) {
  const Bytes bytes = ReadFile(path);
  const JsonValue root = JsonValue::Parse(std::string(bytes.begin(), bytes.end()), path);
  return DescriptionReader(root, problems).Read();
}

}  // namespace vok::tool
