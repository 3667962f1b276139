#pragma once

#include <functional>
#include <string>

#include "building/changed_image.h"

namespace vok::tool {

/// The changes of a command are announced in the journal, as a device would do it.
inline constexpr u8 kJournalled = 1;

/// A change of one item, for the messages when the store refuses it.
struct ItemChange {
  std::string what;
  Section section;  ///< a copy: making room mounts the sections anew
  u32 length;       ///< of the item
  u64 marker;       ///< bytes of the journal record that announces the change
};

/// What a journal record with @p data bytes after its fixed fields takes.
u64 MarkerSize(u32 data);

/// Makes the change that @p attempt tries, with room for it. @throws Failure when the store refuses it all the same
void MakeChange(const ItemChange& change, ChangedImage& image, const std::function<u16()>& attempt);

}  // namespace vok::tool
