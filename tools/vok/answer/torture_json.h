#pragma once

#include <span>

#include "building/torture.h"

namespace vok::tool {

std::string TortureJson(const std::string& section, std::span<const TortureResult> results);

}  // namespace vok::tool
