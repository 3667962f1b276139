#pragma once

#include <string>
#include <vector>

#include "base/platform.h"

namespace vok::tool {

/// A file to be held against other commands, and how.
struct FileToHold {
  std::string path;
  platform::LockKind kind;
};

/// Locks those of the files that are there and regular, until the locks' end. Each lock is that of the file that has
/// the name once all are taken: whoever held one before may have put another file in its place.
/// @throws Failure when another command holds one and is not to be waited for
std::vector<platform::File> HoldFiles(std::vector<FileToHold> files, platform::WhenLocked when_locked);

}  // namespace vok::tool
