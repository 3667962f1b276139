#pragma once

#include "options.h"

/// The commands, each in a file of its own.

namespace vok::tool {

int RunInfo(const Options& options);
int RunList(const Options& options);
int RunRead(const Options& options);
int RunUnpack(const Options& options);
/// @return kFailed also when the image is not clean
int RunCheck(const Options& options);
int RunRepair(const Options& options);

}  // namespace vok::tool
