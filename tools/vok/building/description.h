#pragma once

#include <string>
#include <vector>

#include "image/image_bytes.h"
#include "worker/psdt.h"

namespace vok::tool {

/// What an image is to be like: its store version, where its PSDT lies and which sections it has.
struct Description {
  u16 version = 0;
  u32 psdt_address = 0;
  std::vector<psdt::Record> sections;
};

/// The PSDT that a description asks for.
ImageBytes PsdtOf(const Description& description);

/// Reads a description that a person has written in JSON, or an answer of "info --json", or a manifest.
/// @param problems  receives all that is wrong with it, each with its path in the document; only without problems is
///                  the description sound
/// @throws Failure when there is no JSON to be read
Description ReadDescription(const std::string& path, std::vector<std::string>& problems);

}  // namespace vok::tool
