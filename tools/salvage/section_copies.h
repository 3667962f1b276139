#pragma once

#include <map>
#include <span>
#include <tuple>
#include <vector>

#include "block_view.h"
#include "store/volume/journal.h"

/// Every slot of a section, sorted by what it can do to bring an item back.

namespace vok::tool {

struct ItemKey {
  u16 type;
  u16 id;

  bool operator==(const ItemKey&) const = default;
  bool operator<(const ItemKey& other) const { return std::tie(type, id) < std::tie(other.type, other.id); }
};

/// A slot and its block; points into the views.
struct CopyView {
  const BlockView* block;
  const SlotView* slot;
  /// Its record ends where the one of the slot before it begins, as writers place records. What a torn erase left, or a
  /// location word that was cut off, hardly ever looks so.
  bool contiguous;

  /// Whether a search meets the slot.
  bool IsSearched() const { return block->IsCurrent() && !slot->behind_list; }
};

/// The slots that name one item, each list in flash order. The records of the candidates are sound.
struct CopiesOfItem {
  std::vector<CopyView> searched;    ///< candidates: Valid, in a block that reads look into
  std::vector<CopyView> elsewhere;   ///< candidates: Valid and contiguous, in any other block
  std::vector<CopyView> unfinished;  ///< not committed, or half; contiguous
  std::vector<CopyView> damaged;     ///< Valid, but no candidate
  bool has_dead = false;             ///< a dead slot shows that the item was there once

  bool HasCandidate() const { return !searched.empty() || !elsewhere.empty(); }
};

struct SectionCopies {
  std::map<ItemKey, CopiesOfItem> items;
  std::vector<CopyView> dead;         ///< with sound records, of all items
  std::vector<JournalEntry> journal;  ///< the Valid ones that a repair mount would find
};

/// @param blocks  all blocks of the section, in order
SectionCopies SortCopies(std::span<const BlockView> blocks);

}  // namespace vok::tool
