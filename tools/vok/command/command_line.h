#pragma once

#include <optional>

#include "command/options.h"

namespace vok::tool {

/// What is to be done, or the status with which the program ends at once (after --help, or a wrong command line).
struct Invocation {
  Command command = nullptr;
  Options options;
  int status = kDone;
};

/// Reads the command line; tells on standard error, in one line, what is wrong with it.
Invocation ParseCommandLine(int argc, const char* const* argv);

}  // namespace vok::tool
