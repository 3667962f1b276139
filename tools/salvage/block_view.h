#pragma once

#include <string>
#include <vector>

#include "store/volume/slots.h"

/// One block as it lies in flash, before any repair: what the mount scan would read, without what it would change.
/// Invariants of a view:
///  - it never reads outside its block, whatever the bytes say;
///  - the shares add up to the block size;
///  - for a block that needs no repair the figures are those of the block's RAM record after a mount.

namespace vok::tool {

/// One header slot and the record that its location word leads to.
struct SlotView {
  u32 number = 0;  ///< index in the block
  FlashAddress address = 0;
  SlotHeader header = {};
  bool has_record = false;   ///< the location word was programmed and leads to a length word in the block
  ItemRecord record = {};    ///< with has_record
  bool behind_list = false;  ///< no reader comes to it: see SlotsBehind()

  bool IsJournal() const { return header.type == kJournalType; }
  bool IsSound() const { return has_record && record.sound; }
  /// Where the record ends. With has_record.
  FlashAddress record_end() const { return record.length_word + CurrentLayout().word_size; }
};

/// What the bytes of a block are good for.
struct ByteShares {
  u32 live = 0;        ///< header, current items and the words that stay erased
  u32 dead = 0;        ///< slots and records that a reorganisation regains
  u32 unfinished = 0;  ///< what a repair mount cancels: slots and records of writes, blocks that it formats
  u32 lost = 0;        ///< slots and records that reads do not give and only a rebuild brings back; none in a bare view
  u32 free = 0;        ///< room for new slots and records
};

struct BlockView {
  u16 index;  ///< in the section
  u32 size;
  bool has_signature;
  u32 format_version;
  BlockRecord figures;  ///< next slot 0 = takes no more slots
  FlashAddress slots_end;
  u32 slot_count = 0;           ///< those that are not kept as well
  std::vector<SlotView> slots;  ///< those that are kept
  ByteShares shares = {};

  FlashAddress end() const { return figures.base + size; }
  u32 erase_count() const { return ~figures.wear_counter; }
  /// "Active", …, or that there is no signature.
  std::string StateName() const;
  /// Whether reads find the Valid items in it.
  bool IsCurrent() const { return has_signature && IsSearched(figures); }
  /// Whether a repair mount erases and formats it, with all that it holds.
  bool IsToBeFormatted() const;
  /// The largest payload that fits in the block now.
  u32 LargestItemNow() const;
};

/// What to make of slots to which no mount comes: those of a block without a signature, and those behind a gap in the
/// slot list.
enum class UnreachedSlots : u8 { kSkip, kRead };

/// Which slots a view keeps: all of a section's garbage may be millions. Counts and shares are those of every slot.
struct KeptSlots {
  bool all = true;
  u16 type = kUnusedType;  ///< unless all are kept, those of this item
  u16 id = 0;

  bool Has(const SlotHeader& header) const { return all || (header.type == type && header.id == id); }
};
inline constexpr KeptSlots kEverySlot{};
inline constexpr KeptSlots kNoSlot{.all = false};

/// Looks at a block of a section that is set up.
BlockView ViewBlock(const PartitionRecord& partition, u16 index, UnreachedSlots unreached = UnreachedSlots::kSkip,
                    const KeptSlots& kept = kEverySlot);

}  // namespace vok::tool
