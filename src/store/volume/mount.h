#pragma once

#include "flash/types.h"

namespace vok {

/// How MountPartition() brings a partition into service; the values are the public ones.
enum class MountMode : u8 { kFormat = 0, kCheck = 1, kRepair = 2 };

}  // namespace vok
