#pragma once

#include <memory>

#include "flash/types.h"

namespace vok {

/// Chains through the entries of a location cache, so that none need be looked through: an entry is linked under its
/// key (type and ID as one value) as long as it has one. Keys stay in the cache; @p key_of (entry) tells them.
class CacheIndex {
 public:
  static constexpr u16 kNone = 0xFFFF;

  /// For @p capacity entries, none linked. @return null without memory
  static std::unique_ptr<CacheIndex> Make(u16 capacity);

  template <typename KeyOf>
  u16 Find(u32 key, KeyOf key_of) const {
    u16 entry = heads_[HomeOf(key)];
    while (entry != kNone && key_of(entry) != key) entry = next_[entry];
    return entry;
  }
  void Link(u32 key, u16 entry) {
    u16& head = heads_[HomeOf(key)];
    next_[entry] = head;
    head = entry;
  }
  /// Does nothing when the entry is not linked under the key.
  void Unlink(u32 key, u16 entry) {
    u16* link = &heads_[HomeOf(key)];
    while (*link != entry && *link != kNone) link = &next_[*link];
    if (*link == entry) *link = next_[entry];
  }

 private:
  u32 HomeOf(u32 key) const { return (key * 0x9E3779B1u) >> shift_; }

  std::unique_ptr<u16[]> heads_;
  std::unique_ptr<u16[]> next_;
  u32 shift_ = 0;
};

}  // namespace vok
