#pragma once

#include <string>

#include "store/volume/records.h"
#include "store/volume/slots.h"

/// What the words of a block are called.

namespace vok::tool {

/// "Active", …; an unknown word in hexadecimal.
std::string NameOfBlockState(u16 state);

/// Whether a repair mount formats a block in this state: nothing in it is current.
bool IsFormattedByRepair(u16 state);

/// "Allocated", "Void", "Valid" or "Deleted"
std::string NameOfSlotState(u32 word);

}  // namespace vok::tool
