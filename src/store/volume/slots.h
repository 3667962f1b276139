#pragma once

#include "store/volume/layout.h"
#include "store/volume/records.h"

/// Header slots and item records as they lie in flash.

namespace vok {

namespace detail {
#ifdef VOK_COUNT_READS
/// Slots read and records located so far, for builds that hold operations to their bounds.
inline u64 reads = 0;
inline void CountRead() { ++reads; }
#else
inline void CountRead() {}
#endif
}  // namespace detail

/// A header slot: what ReadHeader() finds, or what a writer wants written.
struct SlotHeader {
  u16 type;
  u16 id;
  u32 word;  ///< location word
};

inline SlotHeader ReadHeader(FlashAddress slot) {
  detail::CountRead();
  const u32 name = ReadFlashWord32(slot + slot_field::kType);
  return {.type = static_cast<u16>(name >> 16),
          .id = static_cast<u16>(name),
          .word = ReadHeaderWord(slot + slot_field::kLocationWord)};
}

/// Programs a slot's location word. @return 0, or 105
inline u16 ProgramLocationWord(FlashAddress slot, u32 word) {
  return WriteHeaderWord(word, slot + slot_field::kLocationWord);
}

/// Makes a slot the current copy of its item. @return 0, or 105
inline u16 CommitSlot(FlashAddress slot, u32 word) { return ProgramLocationWord(slot, ValidWord(word)); }

/// The record that a slot names.
struct ItemRecord {
  FlashAddress length_word;
  u32 length;     ///< payload bytes; 0 for a record that is not sound
  bool in_block;  ///< the length word lies in the slot's block
  bool sound;     ///< so does the whole record

  FlashAddress payload() const { return length_word - Pad(length) - length; }
};

/// Finds the record of location word @p word in its block. A damaged word never leads out of the block: such a record
/// counts as empty and not sound.
inline ItemRecord LocateRecord(const PartitionRecord& partition, const BlockRecord& block, u32 word) {
  detail::CountRead();
  const FlashAddress length_word = LengthWordAddress(block.base, word);
  ItemRecord record{.length_word = length_word, .length = 0, .in_block = false, .sound = false};
  record.in_block = length_word + CurrentLayout().word_size <= BlockEnd(partition, block);
  if (!record.in_block) return record;

  const u32 length = ReadHeaderWord(length_word);
  record.sound = u64{length} + Pad(length) <= length_word - block.base;
  if (record.sound) record.length = length;
  return record;
}

inline u32 ItemDataLength(const PartitionRecord& partition, const BlockRecord& block, const SlotHeader& header) {
  return LocateRecord(partition, block, header.word).length;
}

/// Walks the header slots of one block, in order, to the first unused slot or the block's end, whatever the bytes say:
///
///     for (SlotWalk walk(partition, block); walk.AtSlot(); walk.Advance()) Use(walk.slot(), walk.header());
class SlotWalk {
 public:
  SlotWalk(const PartitionRecord& partition, const BlockRecord& block) : SlotWalk(partition, block, FirstSlot(block)) {}
  /// Begins at @p first instead of the block's first slot.
  SlotWalk(const PartitionRecord& partition, const BlockRecord& block, FlashAddress first)
      : slot_(first),
        end_(BlockEnd(partition, block)),
        safe_end_(end_ < kFlashSize ? end_ : kFlashSize),
        slot_size_(CurrentLayout().slot_size()) {
    Load();
  }

  bool AtSlot() const { return at_slot_; }
  void Advance() {
    slot_ += slot_size_;
    Load();
  }

  /// The slot at hand; once the walk is over, the first unused one.
  FlashAddress slot() const { return slot_; }
  const SlotHeader& header() const { return header_; }
  bool IsValidItem() const { return IsValid(header_.word); }

  /// Whether the walk ended because the slot list runs into the block's end.
  bool RanOut() const { return ran_out_; }

 private:
  void Load() {
    detail::CountRead();
    if (slot_ + slot_size_ > safe_end_) [[unlikely]] {
      LoadAtEnd();
      return;
    }
    const u8* bytes = VirtualMemoryAddress(slot_);
    header_.type = BigEndian16(bytes + slot_field::kType);
    at_slot_ = header_.type != kUnusedType;
    header_.id = BigEndian16(bytes + slot_field::kId);
    const u8* word = bytes + slot_field::kLocationWord;
    header_.word = slot_size_ == slot_field::kLocationWord + 2 ? BigEndian16(word) : BigEndian32(word);
  }

  /// Near the end of the block or of the image: an unused type still ends the list, a slot that is cut off runs out.
  void LoadAtEnd() {
    header_.type = slot_ < end_ ? ReadFlashWord16(slot_ + slot_field::kType) : u16{0};
    at_slot_ = header_.type != kUnusedType && slot_ + slot_size_ <= end_;
    ran_out_ = header_.type != kUnusedType && !at_slot_;
    if (at_slot_) header_ = ReadHeader(slot_);
  }

  FlashAddress slot_;
  FlashAddress end_;
  FlashAddress safe_end_;  ///< up to here slots lie in the block and in the image
  u32 slot_size_;
  SlotHeader header_{};
  bool at_slot_ = false;
  bool ran_out_ = false;
};

}  // namespace vok
