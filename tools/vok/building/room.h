#pragma once

#include <functional>

#include "building/changed_image.h"

/// Making room in a section whose store answers that it needs a reorganisation.

namespace vok::tool {

/// Whether a write's answer is 123, 124 or 130.
bool IsNoRoom(u16 code);

/// Reorganises the block that the store advises and erases it.
/// @return false when no block has dead bytes
/// @throws Failure when the store cannot reorganise it
bool ReorganiseAsAdvised(const std::string& name, u8 partition);

/// Makes @p attempt, a change of the section that answers a store code; as long as it finds no room and there is
/// something left to reorganise, does that and makes it again.
/// @return its last answer
u16 AttemptWithRoom(ChangedImage& image, const std::string& name, u8 partition, const std::function<u16()>& attempt);

/// What a change needs and what the mounted partition has: "70 bytes needed, 12 free, 30 more by reorganising".
std::string RoomFigures(u8 partition, u64 needed);

}  // namespace vok::tool
