#include "store/volume/index/slot_table.h"

#include <new>

namespace vok {

void SlotTable::Release() {
  const bool stays_tree = is_tree_;
  *this = {};
  is_tree_ = stays_tree;
}

bool SlotTable::Reserve(u32 slots) {
  Release();
  if (is_tree_) return true;
  // Slots of a bucket, on average. The least number of buckets lets a new store grow in few steps.
  constexpr u32 kFilledTo = 4, kFullAt = 6, kLeastBuckets = 64;
  const u32 count = kLeastBuckets + slots / kFilledTo;
  buckets_.reset(new (std::nothrow) Bucket[count]());
  if (buckets_ == nullptr) return false;
  bucket_count_ = count;
  limit_ = count * kFullAt;
  return true;
}

bool SlotTable::InsertIntoTree(u32 name, const IndexedSlot& slot) {
  try {
    tree_[TreeKeyOf(name, slot.slot)] = slot.word;
  } catch (const std::bad_alloc&) {
    return false;
  }
  ++size_;
  return true;
}

IndexedSlot SlotTable::FindInTree(u32 name, FlashAddress after) const {
  const auto found = tree_.upper_bound(TreeKeyOf(name, after));
  if (found == tree_.end() || found->first >> 32 != name) return {};
  return {.slot = static_cast<u32>(found->first), .word = found->second};
}

IndexedSlot SlotTable::FindAmongMany(u32 name, FlashAddress after) const {
  const u64 hash = HashOf(name);
  const u64 tags = TagsOf(hash);
  IndexedSlot lowest;
  u32 left = kLongestSearch;
  for (u32 i = HomeOf(hash);; i = Next(i)) {
    const Bucket& bucket = buckets_[i];
    for (u64 same = EqualTags(bucket.tags, tags); same != 0; same &= same - 1) {
      const IndexedSlot& entry = bucket.entries[PlaceOf(same)];
      if (entry.slot > after && (lowest.slot == 0 || entry.slot < lowest.slot) && NameAt(entry.slot) == name)
        lowest = entry;
    }
    if (PassersOf(bucket) == 0 || --left == 0) return lowest;
  }
}

/// Goes on from a full bucket to the next one with a free place. @return false when it is too far away
bool SlotTable::PassOn(u32& i) {
  for (u32 passed = 0; FreePlaces(buckets_[i]) == 0; i = Next(i)) {
    is_tree_ = ++passed >= kLongestSearch;
    if (is_tree_) return false;
    if (PassersOf(buckets_[i]) < kMostPassers) buckets_[i].tags += kOnePasser;
  }
  return true;
}

/// kBucketSize when the slot is not in the bucket.
u32 SlotTable::PlaceOfSlot(const Bucket& bucket, u64 tags, FlashAddress slot) {
  for (u64 same = EqualTags(bucket.tags, tags); same != 0; same &= same - 1)
    if (bucket.entries[PlaceOf(same)].slot == slot) return PlaceOf(same);
  return kBucketSize;
}

/// A slot that found the buckets from @p home on full, up to @p end, is no more.
void SlotTable::LeaveOut(u32 home, u32 end) {
  for (u32 i = home; i != end; i = Next(i))
    if (PassersOf(buckets_[i]) < kMostPassers) buckets_[i].tags -= kOnePasser;
}

void SlotTable::Erase(u32 name, FlashAddress slot) {
  if (is_tree_) {
    size_ -= static_cast<u32>(tree_.erase(TreeKeyOf(name, slot)));
    return;
  }
  const u64 hash = HashOf(name);
  const u64 tags = TagsOf(hash);
  const u32 home = HomeOf(hash);
  u32 i = home;
  u32 place = PlaceOfSlot(buckets_[i], tags, slot);
  for (u32 passed = 0; place == kBucketSize; place = PlaceOfSlot(buckets_[i], tags, slot)) {
    if (PassersOf(buckets_[i]) == 0 || ++passed >= kLongestSearch) return;
    i = Next(i);
  }
  buckets_[i].tags &= ~(u64{0xFF} << 8 * place);
  --size_;
  LeaveOut(home, i);
}

}  // namespace vok
