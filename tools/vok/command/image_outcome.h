#pragma once

#include <string>

#include "base/process.h"

namespace vok::tool {

/// Prints what a process did for one of many images. As JSON, that is its answer on one line, with the image's name,
/// the exit status, how the process died if it did, and what it wrote to standard error in front; as text, what it
/// wrote to both outputs, under and with the image's name.
void PrintOutcome(const std::string& image, const EndedProcess& process, bool as_json);

}  // namespace vok::tool
