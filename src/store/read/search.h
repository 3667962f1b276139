#pragma once

#include "store/read/hunt.h"
#include "store/volume/index/acceleration.h"
#include "store/volume/slots.h"

/// The one way from (type, ID) to an item's current header slot.

namespace vok {

/// Where a search begins.
class SearchStart {
 public:
  /// The item directory may answer; if it does not know the item, the first block.
  static constexpr SearchStart Directory() { return SearchStart(Kind::kDirectory, 0); }
  /// The first block, without the directory.
  static constexpr SearchStart Scan() { return SearchStart(Kind::kScan, 0); }
  /// The slot that follows @p slot in its block, then the blocks after it.
  static constexpr SearchStart After(FlashAddress slot) { return SearchStart(Kind::kAfter, slot); }

  constexpr bool MayAskDirectory() const { return kind_ == Kind::kDirectory; }
  constexpr bool ContinuesAfterSlot() const { return kind_ == Kind::kAfter; }
  constexpr FlashAddress slot() const { return slot_; }

 private:
  enum class Kind : u8 { kDirectory, kScan, kAfter };
  constexpr SearchStart(Kind kind, FlashAddress slot) : kind_(kind), slot_(slot) {}

  Kind kind_;
  FlashAddress slot_;
};

/// Whether a location that a scan found goes into the location cache.
enum class Caching : u8 { kOff, kOn };

struct SearchResult {
  FlashAddress slot = 0;  ///< header slot of the item, 0 = nothing found
  u16 block = kNoBlock;   ///< its block
  u16 error = 0;          ///< why nothing was found: 0 there is no such item, or 127 (reported already)
  SlotHeader header{};

  bool found() const { return slot != 0; }
  /// The code of an operation that needs the item and got nothing: the search's own, or 119, reported here.
  u16 Missing() const;
};

/// Finds the Valid slot of an item; ID 65535 matches any ID. A scan that finds nothing and was disturbed by a
/// reorganisation runs again from the same start.
SearchResult FindItem(PartitionRecord& partition, u16 type, u16 id, Caching caching, SearchStart start);

/// Goes through a type's items by the index. One hunt flag serves all the searches: without hooks nothing comes
/// between.
template <typename Use>
u16 ForEachIndexed(PartitionRecord& partition, ItemIndex& index, u16 type, Use use) {
  const HuntFlag flag(partition);
  if (!flag.taken()) return code::kOutOfHuntFlags;
  for (FlashAddress slot = index.Find(type, 0); slot != 0; slot = index.Find(type, slot))
    if (!use(SearchResult{.slot = slot, .block = index.BlockOf(slot), .error = 0, .header = ReadHeader(slot)}))
      return code::kOk;
  return code::kOk;
}

/// Calls @p use (SearchResult) for every Valid item of a type in flash order until it returns false.
/// @return the error of the last search (0 or 127)
template <typename Use>
u16 ForEachItem(PartitionRecord& partition, u16 type, Use use) {
  if (OwnHooks() == nullptr)
    if (ItemIndex* const index = IndexOf(partition); index != nullptr && index->CanList())
      return ForEachIndexed(partition, *index, type, use);
  SearchStart start = SearchStart::Scan();
  for (;;) {
    const SearchResult item = FindItem(partition, type, kAnyId, Caching::kOff, start);
    if (!item.found()) return item.error;
    if (!use(item)) return 0;
    start = SearchStart::After(item.slot);
  }
}

}  // namespace vok
