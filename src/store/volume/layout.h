#pragma once

#include "flash/device.h"
#include "flash/image.h"
#include "flash/types.h"

/// The on-flash layout: every field offset, word format, mask and state word of the store, and the one place that knows
/// how the three store versions differ. docs/format.md shows the layout as a whole.
///
/// A block holds, from its lowest address up: the block header, the header slots one after another, erased space, and
/// the item records packed downward from the block's end. Invariants:
///  - at least one erased word lies between the last slot and the lowest record, so the slot list ends with type
///  0xFFFF;
///  - a record's size is a multiple of 4, so every record ends on a 4-byte boundary;
///  - every state change clears bits of one word, and only erasing a block sets bits again.

namespace vok {

namespace block_header {
inline constexpr u32 kSignatureOffset = 0;
inline constexpr u32 kFormatVersionOffset = 4;
inline constexpr u32 kWearCounterOffset = 8;
inline constexpr u32 kStateOffset = 12;
inline constexpr u32 kSize = 32;

inline constexpr u32 kSignature = 0x54617271;         ///< "Tarq"
inline constexpr u32 kFirstWearCounter = 0xFFFFFFFE;  ///< of a block formatted for the first time
}  // namespace block_header

namespace slot_field {
inline constexpr u32 kType = 0;
inline constexpr u32 kId = 2;
inline constexpr u32 kLocationWord = 4;
}  // namespace slot_field

namespace journal {
inline constexpr u16 kPartialWrite = 1;
inline constexpr u16 kReplace = 2;
inline constexpr u16 kRename = 3;

/// Payload: kind, item type, item ID (16 bits each), offset word (W bytes), then the bytes that the kind needs.
inline constexpr u32 kKindOffset = 0;
inline constexpr u32 kTypeOffset = 2;
inline constexpr u32 kIdOffset = 4;
inline constexpr u32 kOffsetWordOffset = 6;
inline constexpr u32 kRenameDataSize = 4;  ///< old type and old ID
}  // namespace journal

inline constexpr u16 kUnusedType = 0xFFFF;  ///< ends a block's slot list
inline constexpr u16 kJournalType = 0xFFFE;
inline constexpr u16 kLastItemType = 0xFFFD;
inline constexpr u16 kAnyId = 0xFFFF;  ///< in searches; asks for a new ID in writes

constexpr bool IsItemType(u16 type) { return type != 0 && type <= kLastItemType; }

/// The eight words of the block state; each permitted step clears bits of the word before.
struct BlockStates {
  u16 erased, free, opening, reorg_target, active, reorg_source, retired;
  u16 erasing;  ///< in the RAM record only
};

/// What a store version decides. All formulas below read it; nothing asks for the version itself.
struct Layout {
  u32 version;
  u32 word_size;                ///< W: bytes of a location word, a length word and a journal offset word
  u32 erase_size;               ///< bytes that one erase wipes
  u32 location_mask;            ///< location field of a location word
  u32 length_word_offset;       ///< from the 4-byte unit that a location names to the length word in it
  u32 state_mask;               ///< state bits of a location word; all set = Allocated
  u32 valid_bits;               ///< state bits of a Valid slot
  u32 unfinished_mask;          ///< all of these set = Allocated or Void
  u32 cancel_mask;              ///< cleared bits turn Allocated into Void
  u32 repair_void_mask;         ///< with repair_void_bits: slots that a repair deletes in one step,
  u32 repair_void_bits;         ///< the others get a location first
  bool repair_keeps_zero_bits;  ///< a rebuilt location must be programmable over the stored word
  u16 check_mount_range;        ///< range ID whose routes are mounted for checking only; above 255 = none
  u16 read_only_kind;           ///< section kinds of the PSDT
  u16 read_write_kind_a;
  u16 read_write_kind_b;
  BlockStates states;

  constexpr u32 slot_size() const { return slot_field::kLocationWord + word_size; }
  constexpr u32 all_ones() const { return word_size == 2 ? 0xFFFF : 0xFFFFFFFF; }
};

namespace detail {
extern const Layout* current_layout;
}

/// The layout in force, installed by ApplyStoreVersion().
inline const Layout& CurrentLayout() { return *detail::current_layout; }

/// @name Words
/// @{
inline u32 ReadHeaderWord(FlashAddress address) {
  return CurrentLayout().word_size == 2 ? ReadFlashWord16(address) : ReadFlashWord32(address);
}
/// @return 0, or 105
u16 WriteHeaderWord(u32 value, FlashAddress address);
/// @}

/// @name Sizes
/// @{

/// Bytes between a payload of @p length and its length word.
inline u32 Pad(u32 length) { return (0u - (length + CurrentLayout().word_size)) % 4; }

/// Payload, pad and length word.
inline u64 RecordSize(u32 length) { return u64{length} + Pad(length) + CurrentLayout().word_size; }

/// What an item takes of a block: its record and its slot. Also what it adds to the dead bytes once it is retired.
inline u64 RecordAndSlotSize(u32 length) { return RecordSize(length) + CurrentLayout().slot_size(); }

/// The largest payload that @p room bytes of record-and-slot space hold; 0 when there is no room at all.
u32 LargestPayload(u32 room);

/// The largest payload that an empty block holds.
inline u32 LargestItem(u32 block_size) {
  const u32 overhead = block_header::kSize + 4 + 3 * CurrentLayout().word_size;
  return block_size > overhead ? block_size - overhead : 0;
}
/// @}

/// @name Location words
/// @{
inline bool IsUnfinished(u32 word) {
  const u32 mask = CurrentLayout().unfinished_mask;
  return (word & mask) == mask;
}
inline bool IsValid(u32 word) { return (word & CurrentLayout().state_mask) == CurrentLayout().valid_bits; }

inline u32 AllocatedWord(u32 location) { return location | CurrentLayout().state_mask; }
inline u32 ValidWord(u32 word) { return (word & ~CurrentLayout().state_mask) | CurrentLayout().valid_bits; }
inline u32 VoidWord(u32 word) { return word & CurrentLayout().cancel_mask; }
inline u32 DeletedWord(u32 word) { return word & ~CurrentLayout().state_mask; }

/// Address of the length word that a location word names.
inline FlashAddress LengthWordAddress(FlashAddress block_base, u32 word) {
  const Layout& layout = CurrentLayout();
  return block_base + u64{word & layout.location_mask} * 4 + layout.length_word_offset;
}

/// Location field for a record whose length word is to lie at @p length_word.
inline u32 LocationOf(FlashAddress block_base, FlashAddress length_word) {
  return static_cast<u32>((length_word - block_base) / 4);
}
/// @}

}  // namespace vok
