#pragma once

#include <vector>

#include "flash/types.h"

namespace vok {

/// ListItems() without a set, except that entries of @p out beyond the number listed keep what they hold.
/// @param records  where the length words of the items' records lie is appended, for FetchRecord()
u16 ListItemIds(u8 partition, u16 type, u16* out, u32& count, std::vector<FlashAddress>& records);

/// Brings a record that will be read soon nearer to the processor. Nothing else comes of it.
void FetchRecord(FlashAddress length_word);

}  // namespace vok
