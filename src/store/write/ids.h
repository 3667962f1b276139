#pragma once

#include "store/volume/records.h"

namespace vok {

/// The lowest ID that no item of the type uses, from the directory or else by a scan; 65535 when none can be made.
u16 MakeItemId(const PartitionRecord& partition, u16 type);

}  // namespace vok
