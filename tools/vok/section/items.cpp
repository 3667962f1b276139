#include "section/items.h"

#include <fmt/core.h>
#include <zlib.h>

#include <bitset>

#include "base/failure.h"
#include "base/progress.h"
#include "store/volume/layout.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

constexpr std::size_t kMostValues = 0xFFFF;

void ThrowUnlessListed(const Section& section, u16 code) {
  if (code != code::kOk) throw Failure(fmt::format("cannot list the items of section {}", section.name), code);
}

std::vector<u16> TypesOf(const Section& section) {
  std::vector<u16> types(kMostValues);
  u16 cursor = 1;
  u32 count = kMostValues;
  ThrowUnlessListed(section, ListTypes(section.partition(), &cursor, nullptr, types.data(), &count));
  types.resize(count);
  // Journal records are the store's own.
  std::erase_if(types, [](u16 type) { return !IsItemType(type); });
  return types;
}

std::vector<u16> IdsOf(const Section& section, u16 type) {
  std::vector<u16> ids(kMostValues);
  u16 cursor = 0;
  u32 count = kMostValues;
  u32 total_length = 0;
  ThrowUnlessListed(section, ListItems(section.partition(), type, &cursor, nullptr, ids.data(), &count, &total_length));
  ids.resize(count);
  std::bitset<kMostValues + 1> seen;
  std::erase_if(ids, [&seen](u16 id) {
    const bool again = seen[id];
    seen.set(id);
    return again;
  });
  return ids;
}

}  // namespace

u32 Crc32(std::span<const u8> bytes, u32 sum) {
  // Without data zlib would begin a new sum.
  return bytes.empty() ? sum : static_cast<u32>(crc32_z(sum, bytes.data(), bytes.size()));
}

u16 TryReadItem(const Section& section, u16 type, u16 id, Bytes& bytes) {
  u32 length = 0;
  if (const u16 code = GetItemLength(section.partition(), type, id, &length)) return code;
  bytes.resize(length);
  return ReadItem(section.partition(), type, id, bytes.data(), &length, 0);
}

Bytes ReadItemBytes(const Section& section, u16 type, u16 id) {
  Bytes bytes;
  if (const u16 code = TryReadItem(section, type, id, bytes))
    throw Failure(fmt::format("cannot read item type {} ID {} of section {}", type, id, section.name), code);
  return bytes;
}

void VisitItems(const Section& section, const ItemVisitor& visit) {
  RequireMounted(section);
  Progress progress("items of section " + section.name, 0);
  for (const u16 type : TypesOf(section)) {
    for (const u16 id : IdsOf(section, type)) {
      progress.Advance();
      Bytes bytes;
      if (TryReadItem(section, type, id, bytes) != code::kOk) continue;
      visit({.type = type, .id = id, .length = static_cast<u32>(bytes.size()), .crc32 = Crc32(bytes)}, bytes);
    }
  }
}

std::vector<ItemEntry> ListSection(const Section& section) {
  std::vector<ItemEntry> items;
  VisitItems(section, [&items](const ItemEntry& item, const Bytes&) { items.push_back(item); });
  return items;
}

}  // namespace vok::tool
