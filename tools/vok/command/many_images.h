#pragma once

#include "command/options.h"

/// One command on many images: a process for each image, since the store is one for the whole process, and so that one
/// that crashes, or takes all the memory that it may have, takes no other with it.

namespace vok::tool {

/// What the command does for each of them is told as soon as it is done: a line of JSON, or what it printed under the
/// image's name. How many came to which end is told on standard error.
/// @return the highest exit status of all images; one whose process dies counts as failed, or as trouble in a
/// comparison
/// @throws Failure when the list of images cannot be read
int RunMany(const Options& options);

}  // namespace vok::tool
