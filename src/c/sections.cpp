#include "c/sections.h"

#include <algorithm>
#include <cstring>

#include "store/volume/records.h"

namespace vok::c {

namespace {

constexpr u32 kListSize = 65535;

void ThrowUnlessOk(u16 code) {
  if (code != code::kOk) throw VokError(code);
}

std::vector<u16> TypesOf(u8 partition) {
  std::vector<u16> types(kListSize);
  u16 cursor = 0;
  u32 count = kListSize;
  ThrowUnlessOk(ListTypes(partition, &cursor, nullptr, types.data(), &count));
  types.resize(count);
  std::sort(types.begin(), types.end());
  return types;
}

/// @param ids  scratch for as many IDs as a type can have
void AppendItemsOfType(const psdt::Record& section, u16 type, std::vector<u16>& ids, std::vector<vok_item>& items) {
  u16 cursor = 0;
  u32 count = kListSize;
  ThrowUnlessOk(ListItems(PartitionOf(section), type, &cursor, nullptr, ids.data(), &count, nullptr));
  std::sort(ids.begin(), ids.begin() + count);
  const auto end = std::unique(ids.begin(), ids.begin() + count);
  for (auto id = ids.begin(); id != end; ++id) {
    vok_item& item = items.emplace_back(ItemOf(section, type, *id));
    GetItemLength(PartitionOf(section), type, *id, &item.length);
  }
}

u32 TagOf(const char* text) {
  u32 tag = 0;
  for (int i = 0; i < 4; ++i) tag = tag << 8 | (*text != 0 ? static_cast<u8>(*text++) : 0u);
  return tag;
}

vok_section Describe(const psdt::Record& record) {
  vok_section section{};
  SetTag(section.name, record.tag);
  section.partition = record.partition;
  section.read_only = IsReadOnly(PartitionAt(PartitionOf(record))) ? 1 : 0;
  section.code = CheckPartitionMounted(PartitionOf(record));
  section.block_count = record.block_count;
  section.start = record.start;
  section.block_size = record.block_size;
  section.first_type = record.ranges[0].first_type;
  section.last_type = record.ranges[0].last_type;
  return section;
}

void AddFigures(const psdt::Record& record, vok_section& section) {
  PartitionSpace space{};
  GetPartitionSpace(PartitionOf(record), &space);
  section.item_count = static_cast<u32>(ItemsOf(record).size());
  section.free_now = space.free_now;
  section.free_after_reorganisation = space.free_after_reorganisation;
  section.largest_item_now = space.largest_item_now;
  section.largest_item_after_reorganisation = space.largest_item_after_reorganisation;
}

std::vector<vok_section> DescribeAll() {
  std::vector<vok_section> sections;
  for (const psdt::Record& record : AcceptedSections()) {
    vok_section& section = sections.emplace_back(Describe(record));
    if (section.code == code::kOk) AddFigures(record, section);
  }
  return sections;
}

}  // namespace

std::vector<psdt::Record> AcceptedSections() {
  if (store_root == nullptr) throw VokError(code::kUninitialized);
  std::vector<psdt::Record> sections;
  for (u16 i = 0; i < psdt::RecordCount(); ++i)
    if (CurrentPlan().verdicts[i] == PassOver::kAccepted) sections.push_back(psdt::ReadRecord(i));
  return sections;
}

psdt::Record FindSection(const char* tag) {
  if (tag == nullptr) throw VokError(code::kInvalidParameter);
  for (const psdt::Record& section : AcceptedSections())
    if (section.tag == TagOf(tag)) return section;
  throw VokError(code::kInvalidPartition);
}

void SetTag(char (&name)[8], u32 tag) {
  for (int i = 0; i < 4; ++i) name[i] = static_cast<char>(tag >> (24 - 8 * i));
}

vok_item ItemOf(const psdt::Record& section, u16 type, u16 id) {
  vok_item item{};
  SetTag(item.section, section.tag);
  item.partition = section.partition;
  item.type = type;
  item.id = id;
  return item;
}

std::vector<vok_item> ItemsOf(const psdt::Record& section) {
  std::vector<vok_item> items;
  std::vector<u16> ids(kListSize);
  for (const u16 type : TypesOf(PartitionOf(section))) AppendItemsOfType(section, type, ids, items);
  return items;
}

}  // namespace vok::c

uint16_t vok_sections(vok_section* sections, uint32_t capacity, uint32_t* count) {
  return vok::c::Call([&] { return vok::c::CopyOut(vok::c::DescribeAll(), sections, capacity, count); });
}
