#pragma once

#include <array>
#include <bit>
#include <map>
#include <memory>

#include "store/volume/slots.h"

namespace vok {

/// An item's name as one number.
constexpr u32 NameOf(u16 type, u16 id) { return static_cast<u32>(type) << 16 | id; }
/// The name as it stands in a header slot.
inline u32 NameAt(FlashAddress slot) { return BigEndian32(VirtualMemoryAddress(slot) + slot_field::kType); }

/// A slot as the index knows it.
struct IndexedSlot {
  u32 slot = 0;  ///< 0 = none
  u32 word = 0;  ///< location word
};

/// A hash table from names to header slots of the flash image; names may stand in it more than once, slots only once.
/// It keeps no names of its own: beside a slot's address it has seven bits of the name's hash, the rest is read from
/// the slot. So a slot must be erased before its name changes in flash. The location word is kept, since the slots of
/// many blocks share few lines of a processor's cache: what comes next need not wait for them.
///
/// Seven slots share a bucket, and a search compares them with the hash in one step. Nearly every search ends in the
/// bucket where it began, without a branch that a processor could not foretell.
///
/// No search passes more than 128 buckets. Where damage, or malice, would make one longer (one name in
/// thousands of slots, names whose hashes lie close together), the table is a tree from its next filling on.
class SlotTable {
 public:
  /// Empties the table and makes room for @p slots of them and some more. @return false without memory
  bool Reserve(u32 slots);
  void Release();

  /// @return false when the table is full or must become a tree; it is to be filled anew then
  bool Insert(u32 name, const IndexedSlot& slot) {
    if (is_tree_) [[unlikely]]
      return InsertIntoTree(name, slot);
    if (size_ >= limit_) return false;
    const u64 hash = HashOf(name);
    u32 i = HomeOf(hash);
    if (FreePlaces(buckets_[i]) == 0) [[unlikely]]
      if (!PassOn(i)) return false;
    Bucket& bucket = buckets_[i];
    const u32 place = PlaceOf(FreePlaces(bucket));
    bucket.tags |= TagOf(hash) << 8 * place;
    bucket.entries[place] = slot;
    ++size_;
    return true;
  }
  /// Does nothing when the slot is not in the table under this name.
  void Erase(u32 name, FlashAddress slot);

  /// The lowest slot above @p after with the name.
  IndexedSlot Find(u32 name, FlashAddress after) const {
    if (is_tree_) [[unlikely]]
      return FindInTree(name, after);
    const u64 hash = HashOf(name);
    const Bucket& home = buckets_[HomeOf(hash)];
    const u64 same = EqualTags(home.tags, TagsOf(hash));
    if (PassersOf(home) != 0 || !IsOneAtMost(same)) [[unlikely]]
      return FindAmongMany(name, after);
    if (same == 0) return {};
    const IndexedSlot& entry = home.entries[PlaceOf(same)];
    return entry.slot > after && NameAt(entry.slot) == name ? entry : IndexedSlot();
  }

  u32 size() const { return size_; }

 private:
  static constexpr u32 kBucketSize = 7;
  /// Buckets that a search passes. Names without a pattern make it ninety in a full table of millions.
  static constexpr u32 kLongestSearch = 128;

  /// A line of a processor's cache.
  struct alignas(64) Bucket {
    u64 tags = 0;  ///< a byte for each entry, 0 = free; the highest counts slots that found the bucket full and went on
    std::array<IndexedSlot, kBucketSize> entries{};
  };

  static constexpr u64 kEachTag = 0x01010101010101, kTagBits = 0x7F7F7F7F7F7F7F;
  static constexpr u32 kPassersShift = 56;
  static constexpr u64 kOnePasser = u64{1} << kPassersShift;
  static constexpr u32 kMostPassers = 255;  ///< or more: the count does not go down again

  static u64 HashOf(u32 name) { return name * u64{0x9E3779B97F4A7C15}; }
  static u64 TagOf(u64 hash) { return (hash >> 24 & 0xFF) | 1; }
  static u64 TagsOf(u64 hash) { return TagOf(hash) * kEachTag; }
  /// The top bit of each byte in which the tags are equal.
  static u64 EqualTags(u64 a, u64 b) {
    const u64 difference = a ^ b;
    return ~(((difference & kTagBits) + kTagBits) | difference) & ~kTagBits & (kOnePasser - 1);
  }
  static u64 FreePlaces(const Bucket& bucket) { return EqualTags(bucket.tags, 0); }
  static bool IsOneAtMost(u64 equal) { return (equal & (equal - 1)) == 0; }
  /// The entry of the lowest bit that EqualTags() gave.
  static u32 PlaceOf(u64 equal) { return static_cast<u32>(std::countr_zero(equal)) / 8; }
  static u32 PassersOf(const Bucket& bucket) { return static_cast<u32>(bucket.tags >> kPassersShift); }

  u32 HomeOf(u64 hash) const { return static_cast<u32>((hash >> 32) * bucket_count_ >> 32); }
  u32 Next(u32 i) const { return i + 1 != bucket_count_ ? i + 1 : 0; }
  bool PassOn(u32& i);
  IndexedSlot FindAmongMany(u32 name, FlashAddress after) const;
  static u32 PlaceOfSlot(const Bucket& bucket, u64 tags, FlashAddress slot);
  void LeaveOut(u32 home, u32 end);

  static u64 TreeKeyOf(u32 name, FlashAddress slot) { return u64{name} << 32 | slot; }
  bool InsertIntoTree(u32 name, const IndexedSlot& slot);
  IndexedSlot FindInTree(u32 name, FlashAddress after) const;

  std::unique_ptr<Bucket[]> buckets_;
  u32 bucket_count_ = 0;
  u32 size_ = 0;
  u32 limit_ = 0;  ///< of it

  bool is_tree_ = false;
  std::map<u64, u32> tree_;  ///< location words by name and slot
};

}  // namespace vok
