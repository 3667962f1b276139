#pragma once

#include <array>
#include <set>
#include <span>

#include "basics.h"

/// An independent reading of a partition's bytes: what the layout says about them, written without the library's code,
/// so that an error in one is not repeated in the other.

namespace vok::sweep {

inline constexpr u16 kUnusedType = 0xFFFF;
inline constexpr u16 kJournalType = 0xFFFE;
inline constexpr u32 kHeaderSize = 32;
inline constexpr u32 kStateOffset = 12;

/// The numbers of one store version.
struct Version {
  u32 number;
  u32 word;  ///< bytes of a location word or a length word
  u32 block_size;
  u32 state_shift;  ///< lowest state bit of a location word
  u32 all_set, void_bits, valid_bits;
  u32 unfinished;     ///< state bits that are all set while a slot is unfinished
  u32 location_mask;  ///< of a location word
  u16 free, opening, active, target, source, retired;

  u32 slot() const { return 4 + word; }
  u32 erased_word() const { return word == 2 ? 0xFFFF : 0xFFFFFFFF; }
  u32 pad(u32 length) const { return (4 - (length + word) % 4) % 4; }
  /// What a payload of @p length takes of a block: record and slot.
  u64 need(u32 length) const { return u64{length} + pad(length) + 2 * word + 4; }
};

const Version& VersionOf(u32 number);

enum class SlotState : u8 { kAllocated, kVoid, kValid, kDead };
SlotState StateOf(const Version& version, u32 location_word);

/// Offsets count from the partition's base.
struct Slot {
  u32 offset;
  u16 type, id;
  u32 word;
  SlotState state;
  bool in_block;  ///< the length word lies in the block
  u32 length;     ///< 0 unless the whole record lies in the block
  u32 start;      ///< lowest byte of the record
  bool sound;

  bool IsItem() const { return state == SlotState::kValid && type != kJournalType; }
  bool IsJournal() const { return state == SlotState::kValid && type == kJournalType; }
  ItemName name() const { return {type, id}; }
};

struct Block {
  u32 offset;
  bool has_signature;
  u32 wear;
  u16 state;
  std::vector<Slot> slots;
  u32 top;
  u32 next_slot;  ///< 0 = full
  u32 dead_bytes = 0;
  u32 dead_slots = 0;
  bool tail_written = false;  ///< a word lies below the lowest record

  /// Room for a record and its slot.
  u32 room(const Version& version) const {
    return next_slot != 0 && top > next_slot + version.word ? top - next_slot - version.word : 0;
  }
};

struct Partition {
  const Version* version;
  std::span<const u8> bytes;
  std::vector<Block> blocks;

  bool IsSearched(const Block& block) const;
  std::span<const u8> payload(const Slot& slot) const { return bytes.subspan(slot.start, slot.length); }
};

Partition ReadPartition(const Version& version, std::span<const u8> bytes);

/// The Valid items of the searched blocks. @param twice  out: those with two Valid copies
Items ItemsOf(const Partition& partition, std::set<ItemName>* twice = nullptr);

/// The four figures of the partition's room.
std::array<u32, 4> RoomOf(const Partition& partition);

/// A block without slots that carries bytes all the same: no scan looks below a slot list that is empty.
bool HasUnseenRecord(const Partition& partition, const Block& block);

}  // namespace vok::sweep
