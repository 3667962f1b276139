#include "section/sections.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <map>

#include "base/failure.h"
#include "flash/image.h"
#include "store/volume/layout.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

constexpr LoadedRanges kAllLoaded = {.file = {.start = 0, .end = kFlashSize}, .psdt = {}};
LoadedRanges loaded_ranges = kAllLoaded;

/// Of a section that start-up accepts.
Presence PresenceOf(const Section& section) {
  if (!loaded_ranges.file.Covers(section.range())) return Presence::kOutsideFile;
  return loaded_ranges.psdt.Overlaps(section.range()) ? Presence::kOverPsdt : Presence::kWhole;
}

std::string ReasonOf(PassOver verdict) {
  switch (verdict) {
    case PassOver::kAccepted: break;
    case PassOver::kSectionKind: return "its kind is none of this store version";
    case PassOver::kPartitionNumber: return "its partition number is above 8";
    case PassOver::kRoutes: return "its type ranges do not fit in the route table";
    case PassOver::kOutsideImage: return "it does not lie wholly inside the flash image";
  }
  return "accepted";
}

bool IsPlain(u8 c) { return std::isalnum(c) != 0 || c == '_' || c == '-'; }

/// Counts every record of the PSDT, so that accepted and passed-over sections never share a name.
class Namer {
 public:
  std::string NameFor(u32 tag) {
    const u32 number = ++uses_[tag];
    return number == 1 ? NameOfTag(tag) : fmt::format("{}.{}", NameOfTag(tag), number);
  }

 private:
  std::map<u32, u32> uses_;
};

/// The set-up does not report its answer; asked again it gives the same one, or that the store stands.
u16 SetUpCodeOf(const StartupPlan& plan) {
  const u16 code = SetUpPartitions(plan.accepted, plan.descriptors.data());
  return code == code::kInitializedAlready ? code::kOk : code;
}

bool AreSameInAnyCase(const std::string& a, const std::string& b) {
  const auto same = [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), same);
}

/// The section of exactly that name, else the only one of that name in another case. @return null = none
const Section* SectionOfName(const std::vector<Section>& sections, const std::string& name) {
  const Section* near = nullptr;
  u32 count = 0;
  for (const Section& section : sections) {
    if (section.name == name) return &section;
    if (!AreSameInAnyCase(section.name, name)) continue;
    near = &section;
    ++count;
  }
  return count == 1 ? near : nullptr;
}

std::string NamesOf(const std::vector<Section>& sections) {
  std::string names;
  for (const Section& section : sections) names += (names.empty() ? "" : ", ") + section.name;
  return names.empty() ? "none" : names;
}

}  // namespace

std::string TextOf(const FlashRange& range) { return fmt::format("0x{:X} to 0x{:X}", range.start, range.end); }

void SetLoadedRanges(const LoadedRanges& ranges) { loaded_ranges = ranges; }

void ForgetLoadedRanges() { loaded_ranges = kAllLoaded; }

const LoadedRanges& CurrentLoadedRanges() { return loaded_ranges; }

bool Section::IsReadOnly() const { return entry.kind == CurrentLayout().read_only_kind; }

SectionList SetUpSections() {
  TerminateStore();
  const StartupPlan& plan = PrepareStore();
  SectionList sections{.accepted = {}, .passed_over = {}, .setup_code = SetUpCodeOf(plan)};
  Namer namer;
  for (u16 i = 0; i < psdt::RecordCount(); ++i) {
    const psdt::Record record = psdt::ReadRecord(i);
    Section section{.record = i, .name = namer.NameFor(record.tag), .entry = record, .verdict = plan.verdicts[i]};
    if (section.IsAccepted()) section.presence = PresenceOf(section);
    (section.IsAccepted() ? sections.accepted : sections.passed_over).push_back(std::move(section));
  }
  return sections;
}

std::string FindOverlap(const SectionList& sections) {
  for (const Section& a : sections.accepted)
    for (const Section& b : sections.accepted)
      if (a.record < b.record && Overlap(a, b))
        return fmt::format("sections {} ({}) and {} ({}) overlap", a.name, TextOf(a.range()), b.name,
                           TextOf(b.range()));
  return "";
}

void RequireApart(const SectionList& sections) {
  const std::string overlap = FindOverlap(sections);
  if (!overlap.empty()) throw Failure(overlap);
}

std::string NameOfTag(u32 tag) {
  std::string name;
  bool at_end = true;
  for (u32 shift = 0; shift < 32; shift += 8) {
    const u8 c = static_cast<u8>(tag >> shift);
    at_end = at_end && c == 0;
    if (at_end) continue;
    name.insert(0, IsPlain(c) ? std::string(1, static_cast<char>(c)) : fmt::format("%{:02X}", c));
  }
  return name.empty() ? "%00" : name;
}

std::vector<psdt::TypeRange> TypeRangesOf(const Section& section) {
  std::vector<psdt::TypeRange> ranges;
  for (const psdt::TypeRange& range : section.entry.ranges)
    if (ranges.empty() || range.id != psdt::kNoRange) ranges.push_back(range);
  return ranges;
}

std::string KindOf(const Section& section) { return section.IsReadOnly() ? "read-only" : "read-write"; }

std::string ReasonOf(const Section& section) {
  switch (section.presence) {
    case Presence::kWhole: break;
    case Presence::kOutsideFile:
      return fmt::format("the file holds {} of the flash, not the whole section ({})", TextOf(loaded_ranges.file),
                         TextOf(section.range()));
    case Presence::kOverPsdt: return fmt::format("the section ({}) lies over the PSDT", TextOf(section.range()));
  }
  return ReasonOf(section.verdict);
}

std::string WhyPassedOver(const Section& section) {
  return (section.presence == Presence::kWhole ? "start-up passes the section over: " : "") + ReasonOf(section);
}

const Section& FindSection(const SectionList& sections, const std::string& name) {
  if (const Section* const section = SectionOfName(sections.accepted, name)) return *section;
  if (const Section* const passed = SectionOfName(sections.passed_over, name))
    throw Failure(fmt::format("section {} is passed over: {}", passed->name, ReasonOf(*passed)));
  throw Failure(fmt::format("section {} is not in the PSDT, which has {}", name, NamesOf(sections.accepted)));
}

bool Serves(const Section& section, u16 type) {
  const std::vector<psdt::TypeRange> ranges = TypeRangesOf(section);
  return std::any_of(ranges.begin(), ranges.end(), [type](const psdt::TypeRange& range) {
    return type >= range.first_type && type <= range.last_type;
  });
}

const Section& SectionOfType(const SectionList& sections, u16 type, const std::string& what) {
  if (!IsItemType(type)) throw Failure(what + ": types are 1 to 65533", code::kInvalidParameter);
  const u8 partition = FindPartitionForType(type);
  const auto found = std::find_if(sections.accepted.begin(), sections.accepted.end(),
                                  [partition](const Section& section) { return section.partition() == partition; });
  for (const Section& passed : sections.passed_over)
    if (found == sections.accepted.end() && passed.presence != Presence::kWhole && Serves(passed, type))
      throw Failure(fmt::format("{}: section {} serves the type, and {}", what, passed.name, ReasonOf(passed)));
  if (found == sections.accepted.end())
    throw Failure(fmt::format("{}: no section serves type {}", what, type), code::kInvalidPartition);
  RequireMounted(*found);
  return *found;
}

void RequireMounted(const Section& section, const std::string& advice) {
  if (section.IsMounted()) return;
  throw Failure(fmt::format("section {} is not mounted, its mount gave {}{}", section.name,
                            ErrorText(section.mount_code), advice),
                code::kUnmounted);
}

}  // namespace vok::tool
