#pragma once

#include <span>

#include "flash/types.h"

namespace vok {

/// What ReadItem() would copy, as it lies in the image until the next change.
/// @param most  bytes that the reader takes at most
/// @return as ReadItem(); without 0, @p found is as before
u16 FindItemBytes(u8 partition, u16 type, u16 id, u32 most, std::span<const u8>& found);

}  // namespace vok
