#include <cstdlib>
#include <memory>

#include "c/sections.h"
#include "store/volume/records.h"
#include "vok/store.h"

namespace vok::c {

namespace {

constexpr u8 kJournalled = 1;

std::vector<vok_item> ItemsOfAllMounted() {
  std::vector<vok_item> all;
  for (const psdt::Record& section : AcceptedSections()) {
    if (!IsMounted(PartitionAt(PartitionOf(section)))) continue;
    const std::vector<vok_item> items = ItemsOf(section);
    all.insert(all.end(), items.begin(), items.end());
  }
  return all;
}

struct FreeMemory {
  void operator()(u8* memory) const { std::free(memory); }
};

u16 ReadNew(u16 type, u16 id, u8** data, u32* length) {
  if (data == nullptr || length == nullptr) return code::kInvalidParameter;
  *data = nullptr;
  *length = 0;
  u32 needed = 0;
  if (const u16 code = GetItemLength(FindPartitionForType(type), type, id, &needed)) return code;
  std::unique_ptr<u8, FreeMemory> memory(static_cast<u8*>(std::malloc(needed + 1)));
  if (memory == nullptr) return code::kOutOfRam;
  if (const u16 code = Worker().ReadVOK(type, id, memory.get(), needed)) return code;
  *length = needed;
  *data = memory.release();
  return code::kOk;
}

/// Whether a section was formatted under a store version that is not in force.
bool IsOfOtherVersion(u8 partition) {
  for (const psdt::Record& section : AcceptedSections()) {
    u16 version = 0;
    if (PartitionOf(section) != partition) continue;
    Worker().GetBlockVOKVersion(section.start, version);
    return version != CurrentLayout().version;
  }
  return false;
}

u16 Write(u16 type, u16* id, const u8* data, u32 length) {
  if (id == nullptr || (data == nullptr && length != 0)) return code::kInvalidParameter;
  const u8 partition = FindPartitionForType(type);
  if (IsOfOtherVersion(partition)) return code::kFlashWrite;
  return WriteItem(partition, kJournalled, type, id, data, length);
}

u16 Rename(u16 new_type, u16* new_id, u16 old_type, u16 old_id) {
  const u8 partition = FindPartitionForType(old_type);
  if (FindPartitionForType(new_type) != partition) return code::kInvalidType;
  return RenameItem(partition, kJournalled, new_type, new_id, old_type, old_id);
}

/// Each round leaves the block that it chose without dead bytes; the bound holds whatever a damaged block says.
u16 Reorganise(const psdt::Record& section) {
  constexpr u8 kAnyDeadBytes = 0;
  constexpr u8 kAdmitPointers = 1;
  constexpr u8 kNoForce = 0;
  const u8 partition = PartitionOf(section);
  if (const u16 code = CheckPartitionWritable(partition)) return code;
  for (u32 round = 0; round < 2u * section.block_count; ++round) {
    u16 block = kNoBlock;
    CheckReorgNeed(partition, kAnyDeadBytes, &block, kAdmitPointers);
    if (block == kNoBlock) break;
    if (const u16 code = ReorganiseBlock(partition, block, kNoForce)) return code;
    if (const u16 code = EraseRetiredBlock(partition, &block)) return code;
  }
  return code::kOk;
}

}  // namespace
}  // namespace vok::c

using vok::c::Call;

uint16_t vok_list(const char* section, vok_item* items, uint32_t capacity, uint32_t* count) {
  return Call([&] {
    const auto found = section == nullptr ? vok::c::ItemsOfAllMounted() : vok::c::ItemsOf(vok::c::FindSection(section));
    return vok::c::CopyOut(found, items, capacity, count);
  });
}

uint16_t vok_read(uint16_t type, uint16_t id, uint8_t* buffer, uint32_t* length) {
  return Call([&] {
    if (length == nullptr) return vok::code::kInvalidParameter;
    return vok::c::Worker().ReadVOK(type, id, buffer, *length);
  });
}

uint16_t vok_read_new(uint16_t type, uint16_t id, uint8_t** data, uint32_t* length) {
  return Call([&] { return vok::c::ReadNew(type, id, data, length); });
}

void vok_free(void* memory) { std::free(memory); }

uint16_t vok_write(uint16_t type, uint16_t* id, const uint8_t* data, uint32_t length) {
  return Call([&] { return vok::c::Write(type, id, data, length); });
}

uint16_t vok_delete(uint16_t type, uint16_t id) {
  return Call([&] { return vok::DeleteItem(vok::FindPartitionForType(type), type, id); });
}

uint16_t vok_rename(uint16_t new_type, uint16_t* new_id, uint16_t old_type, uint16_t old_id) {
  return Call([&] { return vok::c::Rename(new_type, new_id, old_type, old_id); });
}

uint16_t vok_reorganise(const char* section) {
  return Call([&] { return vok::c::Reorganise(vok::c::FindSection(section)); });
}
