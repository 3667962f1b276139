#pragma once

#include "section/losses.h"

namespace vok::tool {

/// Ends a reading command that has delivered everything else: tells what it could not serve.
/// @return the exit status
int Conclude(const Losses& losses);

}  // namespace vok::tool
