#include "reader.h"

#include <algorithm>
#include <utility>

namespace vok::sweep {

namespace {

constexpr u32 kSignature = 0x54617271;

constexpr std::array<Version, 3> kVersions = {{
    {1, 2, 0x10000, 14, 3, 2, 1, 2, 0x3FFF, 0x7FFF, 0x6FFF, 0x2FFF, 0x3FFF, 0x0FFF, 0x07FF},
    {2, 4, 0x20000, 30, 3, 2, 1, 2, 0x3FFFFFFF, 0x7FFF, 0x6FFF, 0x2FFF, 0x3FFF, 0x0FFF, 0x07FF},
    {3, 4, 0x20000, 28, 15, 12, 3, 12, 0x03FFFFFF, 0x3FFF, 0x3CFF, 0x0CFF, 0x0FFF, 0x00FF, 0x003F},
}};

u32 Read(std::span<const u8> bytes, u32 offset, u32 width) {
  u32 value = 0;
  for (u32 i = 0; i < width; ++i) value = value << 8 | bytes[offset + i];
  return value;
}

void Locate(const Version& version, std::span<const u8> bytes, u32 block, Slot& slot) {
  const u64 within = u64{slot.word & version.location_mask} * 4 + (4 - version.word) % 4;
  slot.in_block = within + version.word <= version.block_size;
  slot.sound = false;
  slot.length = 0;
  slot.start = 0;
  if (!slot.in_block) return;
  const u32 length_word = block + static_cast<u32>(within);
  const u32 length = Read(bytes, length_word, version.word);
  slot.sound = u64{length} + version.pad(length) <= within;
  if (slot.sound) slot.length = length;
  slot.start = length_word - version.pad(slot.length) - slot.length;
}

Slot ReadSlot(const Version& version, std::span<const u8> bytes, u32 block, u32 offset) {
  Slot slot{};
  slot.offset = offset;
  slot.type = static_cast<u16>(Read(bytes, offset, 2));
  slot.id = static_cast<u16>(Read(bytes, offset + 2, 2));
  slot.word = Read(bytes, offset + 4, version.word);
  slot.state = StateOf(version, slot.word);
  Locate(version, bytes, block, slot);
  return slot;
}

/// The figures that the slots of a block give.
void Recount(const Version& version, std::span<const u8> bytes, Block& block) {
  for (const Slot& slot : block.slots) {
    if (slot.in_block && slot.word != 0) block.top = std::min(block.top, slot.start);
    if (slot.state != SlotState::kDead) continue;
    ++block.dead_slots;
    if (slot.word != 0) block.dead_bytes += static_cast<u32>(version.need(slot.length));
  }
  if (block.room(version) < version.need(0)) block.next_slot = 0;
  if (block.slots.empty() || block.next_slot == 0) return;
  block.tail_written = Read(bytes, block.top - version.word, version.word) != version.erased_word();
  if (!block.tail_written) return;
  block.dead_bytes += block.room(version);
  block.next_slot = 0;
}

Block ReadBlock(const Version& version, std::span<const u8> bytes, u32 offset) {
  Block block{};
  block.offset = offset;
  block.has_signature = Read(bytes, offset, 4) == kSignature;
  block.wear = Read(bytes, offset + 8, 4);
  block.state = static_cast<u16>(Read(bytes, offset + kStateOffset, 2));
  const u32 end = offset + version.block_size;
  block.top = end;
  u32 at = offset + kHeaderSize;
  for (; at + version.slot() <= end && Read(bytes, at, 2) != kUnusedType; at += version.slot())
    block.slots.push_back(ReadSlot(version, bytes, offset, at));
  block.next_slot = at;
  Recount(version, bytes, block);
  return block;
}

u32 ItemOverhead(const Version& version) { return 2 * version.word + 4; }

u32 Less(u32 from, u32 what) { return from > what ? from - what : 0; }

void AddRoom(const Version& version, const Block& block, std::array<u32, 4>& room) {
  const u32 now = block.room(version);
  const u32 item_now = Less(now, ItemOverhead(version));
  room[0] += now;
  room[1] += now + block.dead_bytes;
  room[2] = std::max(room[2], item_now);
  room[3] =
      std::max(room[3], item_now != 0 ? item_now + block.dead_bytes : Less(block.dead_bytes, ItemOverhead(version)));
}

}  // namespace

const Version& VersionOf(u32 number) { return kVersions.at(number - 1); }

SlotState StateOf(const Version& version, u32 location_word) {
  const u32 bits = location_word >> version.state_shift;
  if (bits == version.all_set) return SlotState::kAllocated;
  if ((bits & version.unfinished) == version.unfinished) return SlotState::kVoid;
  return bits == version.valid_bits ? SlotState::kValid : SlotState::kDead;
}

bool Partition::IsSearched(const Block& block) const {
  return block.state == version->active || block.state == version->target || block.state == version->source;
}

Partition ReadPartition(const Version& version, std::span<const u8> bytes) {
  Partition partition{&version, bytes, {}};
  for (u32 offset = 0; offset < bytes.size(); offset += version.block_size)
    partition.blocks.push_back(ReadBlock(version, bytes, offset));
  return partition;
}

Items ItemsOf(const Partition& partition, std::set<ItemName>* twice) {
  Items items;
  for (const Block& block : partition.blocks) {
    if (!partition.IsSearched(block)) continue;
    for (const Slot& slot : block.slots) {
      if (!slot.IsItem()) continue;
      const auto payload = partition.payload(slot);
      const bool is_new = items.try_emplace(slot.name(), payload.begin(), payload.end()).second;
      if (!is_new && twice != nullptr) twice->insert(slot.name());
    }
  }
  return items;
}

std::array<u32, 4> RoomOf(const Partition& partition) {
  const Version& version = *partition.version;
  const u32 empty_block = version.block_size - version.word - kHeaderSize;
  std::array<u32, 4> room{};
  bool spare_met = false;
  for (const Block& block : partition.blocks) {
    // The first Free block is held back as the spare of a reorganisation.
    if (block.state == version.free && std::exchange(spare_met, true)) {
      room[0] += empty_block;
      room[1] += empty_block;
      room[2] = room[3] = empty_block - ItemOverhead(version);
    } else if (block.state == version.active) {
      AddRoom(version, block, room);
    }
  }
  for (u32 i = 2; i < 4 && version.number == 1; ++i)
    if (room[i] % 4 == 0 && room[i] != 0) room[i] -= 2;
  return room;
}

bool HasUnseenRecord(const Partition& partition, const Block& block) {
  if (!block.slots.empty()) return false;
  const auto area = partition.bytes.subspan(block.offset + kHeaderSize, partition.version->block_size - kHeaderSize);
  return std::any_of(area.begin(), area.end(), [](u8 byte) { return byte != 0xFF; });
}

}  // namespace vok::sweep
