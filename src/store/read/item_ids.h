#pragma once

#include <vector>

#include "flash/types.h"

namespace vok {

/// ListItems() without a set, except that entries of @p out beyond the number listed keep what they hold.
/// @param records  where the length words of the items' records lie is appended, for FetchBytes()
u16 ListItemIds(u8 partition, u16 type, u16* out, u32& count, std::vector<FlashAddress>& records);

/// About how many items a partition holds; 0 when that is not known.
u32 LikelyItemCount(u8 partition);

}  // namespace vok
