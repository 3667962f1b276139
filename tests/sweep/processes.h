#pragma once

#include <functional>

#include "tally.h"

namespace vok::sweep {

/// Does a job in @p count processes, since the store is process-wide, and adds up their tallies. Each gets its number.
/// @throws std::runtime_error when a process ends without a tally
Tally InProcesses(u32 count, const std::function<Tally(u32 number)>& job);

}  // namespace vok::sweep
