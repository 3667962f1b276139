#include "store/read/location_cache.h"

#include <algorithm>
#include <cstddef>

#include "store/read/arena_bytes.h"

namespace vok {

namespace {

constexpr u32 kHeadOffset = 0;
constexpr u32 kCapacityOffset = 2;
constexpr u32 kFirstEntryOffset = 8;

constexpr u32 kEntrySize = 16;
constexpr u32 kSlotOffset = 8;

/// Type and ID as one value, so that a search compares both at once.
struct Key {
  u16 type;
  u16 id;
};
static_assert(sizeof(Key) == 4);

u32 KeyValue(u16 type, u16 id) {
  const Key key{type, id};
  return LoadFrom<u32>(reinterpret_cast<const u8*>(&key));
}

bool IsEmptyKey(u32 key) { return LoadFrom<u16>(reinterpret_cast<const u8*>(&key)) == 0; }

}  // namespace

u8* LocationCache::Entry(u16 index) const { return base_ + kFirstEntryOffset + std::size_t{index} * kEntrySize; }

void LocationCache::Place(u8* base, u32 size) {
  const u32 entries = (size - kLeastSize) / kEntrySize + 1;
  const auto capacity = static_cast<u16>(std::min<u32>(entries, kNoCacheEntry));
  std::fill_n(base, kFirstEntryOffset + std::size_t{capacity} * kEntrySize, u8{0});
  StoreTo(base + kCapacityOffset, capacity);
}

u16 LocationCache::capacity() const { return LoadFrom<u16>(base_ + kCapacityOffset); }

u32 LocationCache::KeyAt(u16 entry) const { return LoadFrom<u32>(Entry(entry)); }

/// Keeps the index in step.
void LocationCache::SetKey(u16 entry, u32 key) {
  if (const u32 old = KeyAt(entry); index_ != nullptr && !IsEmptyKey(old)) index_->Unlink(old, entry);
  StoreTo(Entry(entry), key);
  if (index_ != nullptr && !IsEmptyKey(key)) index_->Link(key, entry);
}

u16 LocationCache::Find(u16 type, u16 id) const {
  const u32 key = KeyValue(type, id);
  if (index_ == nullptr || IsEmptyKey(key)) return LookThrough(key);
  return index_->Find(key, [this](u16 entry) { return KeyAt(entry); });
}

u16 LocationCache::LookThrough(u32 key) const {
  const u16 head = LoadFrom<u16>(base_ + kHeadOffset);
  const auto find_down = [&](u16 from, u16 to) -> u16 {
    for (u16 i = from; i-- > to;)
      if (KeyAt(i) == key) return i;
    return kNoCacheEntry;
  };
  const u16 newer = find_down(head, 0);
  return newer != kNoCacheEntry ? newer : find_down(capacity(), head);
}

FlashAddress LocationCache::slot(u16 entry) const { return LoadFrom<FlashAddress>(Entry(entry) + kSlotOffset); }

void LocationCache::set_slot(u16 entry, FlashAddress slot) { StoreTo(Entry(entry) + kSlotOffset, slot); }

void LocationCache::Insert(u16 type, u16 id, FlashAddress slot) {
  const u16 head = LoadFrom<u16>(base_ + kHeadOffset);
  SetKey(head, KeyValue(type, id));
  set_slot(head, slot);
  const u16 next = static_cast<u16>(head + 1);
  StoreTo(base_ + kHeadOffset, next == capacity() ? u16{0} : next);
}

void LocationCache::Forget(u16 type, u16 id) {
  if (type == 0) return;
  if (const u16 entry = Find(type, id); entry != kNoCacheEntry) SetKey(entry, KeyValue(0, id));
}

}  // namespace vok
