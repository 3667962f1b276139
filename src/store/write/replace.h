#pragma once

#include "store/read/search.h"
#include "store/volume/space.h"

/// The steps that a new copy of an item and the retirement of its old copy have in common.

namespace vok {

/// Write modes of the interface; other values count as plain, apart from WriteItemPart(), which then always copies.
inline constexpr u8 kPlain = 0;
inline constexpr u8 kJournalled = 1;

/// Commits the @p fresh copy of an item, whose slot is still Allocated, in the place of the @p old one.
/// @return 0; 105; journalled: 123, 124, 130 when the marker finds no room (the new slot then stays Allocated)
u16 FinishReplacement(PartitionRecord& partition, u8 mode, u16 type, u16 id, const SearchResult& old,
                      const NewRecord& fresh);

/// What the program-over check allows for bytes that change in place.
enum class OverwriteAnswer : u8 { kInPlace, kNothingToDo, kRefused, kNewCopy };

OverwriteAnswer AskOverwrite(const PartitionRecord& partition, FlashAddress address, const u8* data, u32 length);

}  // namespace vok
