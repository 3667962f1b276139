#pragma once

#include <memory>

#include "flash/types.h"

namespace vok {

/// Chains through the entries of a location cache, so that none need be looked through: an entry is linked under its
/// key (type and ID as one value, never 0) as long as it has one.
///
/// Every read that the cache does not know passes here three times: it looks for a name, unlinks the oldest entry and
/// links the new one. So there are more chains than entries, nearly all of them empty, and what is done to an empty
/// chain is what is done to any other: its end is an entry like others, which nobody finds.
class CacheIndex {
 public:
  static constexpr u16 kNone = 0xFFFF;

  /// For @p capacity entries, none linked. @return null without memory
  static std::unique_ptr<CacheIndex> Make(u16 capacity);

  u16 Find(u32 key) const {
    u16 entry = links_[HomeOf(key)];
    while (keys_[entry] != key) {
      entry = links_[NextOf(entry)];
      if (entry == end_) return kNone;
    }
    return entry;
  }
  void Link(u32 key, u16 entry) {
    keys_[entry] = key;
    const u32 home = HomeOf(key);
    Join(NextOf(entry), links_[home]);
    Join(home, entry);
  }
  /// Does nothing when the entry is not linked.
  void Unlink(u16 entry) {
    Join(links_to_[entry], links_[NextOf(entry)]);
    links_to_[entry] = NextOf(end_);
    Join(NextOf(entry), end_);
  }

 private:
  u32 HomeOf(u32 key) const { return (key * 0x9E3779B1u) >> shift_; }
  /// The link that leads on from an entry.
  u32 NextOf(u16 entry) const { return chains_ + entry; }
  void Join(u32 link, u16 entry) {
    links_[link] = entry;
    links_to_[entry] = link;
  }

  std::unique_ptr<u16[]> links_;     ///< the first entry of each chain, then the next of each entry
  std::unique_ptr<u32[]> links_to_;  ///< by entry, the link that leads to it
  std::unique_ptr<u32[]> keys_;      ///< by entry
  u32 chains_ = 0;
  u32 shift_ = 0;
  u16 end_ = 0;  ///< the entry at the end of every chain; its key is 0
};

}  // namespace vok
