#pragma once

#include <optional>

#include "section_copies.h"

/// The items that can be got out of a section as its bytes are, before any repair mount, and from which copy each.
/// Deleted items stay deleted, but for one case that the flash does not tell from another: a replacement found room for
/// its copy and none for its marker, which leaves the copy unfinished, and then the item was deleted. That looks like a
/// replacement without a marker that was cut off between its two copies, and the unfinished copy is taken.

namespace vok::tool {

enum class CopyState : u8 { kValid, kUnfinished, kHalfCommitted };

/// One copy of an item.
struct SalvagedCopy {
  u16 block;      ///< index in the section
  u32 slot;       ///< index in the block
  bool searched;  ///< reads look into its block
  CopyState state;
};

/// Why a copy was taken.
enum class Choice : u8 {
  kOnlyCopy,
  kSearched,         ///< no other candidate lies in a block that reads look into
  kMetFirst,         ///< a search meets it before the others
  kReplaced,         ///< a journal record says that it replaces the one that a search meets first
  kContiguous,       ///< the record of the one that the store would take lies where no writer placed it
  kUnfinishedWrite,  ///< none is Valid: its write was cut off after the old copy was retired
};

struct SalvagedItem {
  u16 type;
  u16 id;
  std::vector<u8> bytes;
  SalvagedCopy taken;
  std::vector<SalvagedCopy> others;  ///< that might have been taken
  Choice why;
  u32 part_writes = 0;              ///< journal records that were applied to the bytes
  std::optional<ItemKey> old_name;  ///< dropped: a journal record says that the item was being renamed
};

/// A Valid slot whose item is gone: it has no record to take, and no other copy has.
struct DamagedItem {
  u16 type;
  u16 id;
  SalvagedCopy copy;
};

struct Salvaged {
  std::vector<SalvagedItem> items;  ///< by type, then by ID
  std::vector<DamagedItem> damaged;
};

/// Looks at every block of a section that is set up, also at the slots of blocks without a signature.
std::vector<BlockView> ViewForSalvage(const PartitionRecord& partition);

/// Chooses a copy of each item and finishes what journal records announce. Reads the flash, changes nothing.
/// @param blocks  ViewForSalvage(), with the flash as it was then
Salvaged Salvage(std::span<const BlockView> blocks);

}  // namespace vok::tool
