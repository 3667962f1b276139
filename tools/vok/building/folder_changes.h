#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "building/changed_image.h"
#include "building/manifest.h"
#include "section/items.h"

/// What brings an image to what an unpacked folder holds.

namespace vok::tool {

/// A change of one item.
struct FolderChange {
  std::string section;
  std::optional<ItemEntry> before;   ///< in the image; nothing = the item is new
  std::optional<ItemEntry> after;    ///< in the folder; nothing = the item goes
  const PackedItem* item = nullptr;  ///< of the folder
};

enum class Unheld {
  kStay,
  kGo,  ///< of the sections that the folder tells the whole of
};

struct FolderChanges {
  std::vector<FolderChange> changes;  ///< in an order that needs little room at a time
  std::vector<FolderChange> kept;     ///< the removals that are not to be made
};

/// Compares the mounted sections of an image with a folder. Nothing is changed.
/// @param unheld  what becomes of items of the image that the folder does not hold
/// @throws Failure when a section that has to be changed is not mounted or is read-only
FolderChanges CompareWithFolder(const SectionList& sections, std::span<const PackedSection> folder, Unheld unheld);

/// Makes the changes by the store's own journalled operations, in memory.
/// @throws Failure also when a section has no room
void MakeFolderChanges(ChangedImage& image, std::span<const FolderChange> changes);

}  // namespace vok::tool
