#include "store/read/location_cache.h"

#include <algorithm>

namespace vok {

void LocationCache::Place(u8* base, u32 size) {
  const u32 entries = (size - kLeastSize) / kEntrySize + 1;
  const auto capacity = static_cast<u16>(std::min<u32>(entries, kNoCacheEntry));
  std::fill_n(base, kFirstEntryOffset + std::size_t{capacity} * kEntrySize, u8{0});
  StoreTo(base + kCapacityOffset, capacity);
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

void LocationCache::Forget(u16 type, u16 id) {
  if (type == 0) return;
  if (const u16 entry = Find(type, id); entry != kNoCacheEntry) SetKey(entry, KeyValue(0, id));
}

}  // namespace vok
