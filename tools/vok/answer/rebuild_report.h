#pragma once

#include <span>
#include <string>

#include "building/rebuild.h"

/// What a rebuild tells: how many items each section has now, and each item of which there was something to choose or
/// to finish, or which is gone.

namespace vok::tool {

/// Whether there is something to tell of an item.
bool IsNoteworthy(const SalvagedItem& item);

/// "Valid", "Allocated or Void", …
std::string NameOf(CopyState state);

/// Why that copy was taken, and what was done to its bytes.
std::string ReasonOf(const SalvagedItem& item, std::span<const BlockView> blocks);
std::string ReasonOf(const DamagedItem& item, std::span<const BlockView> blocks);

void PrintRebuilt(std::span<const RebuiltSection> sections);

}  // namespace vok::tool
