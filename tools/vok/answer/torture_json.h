#pragma once

#include <span>

#include "answer/json_answer.h"
#include "building/torture.h"

namespace vok::tool {

JsonAnswer TortureJson(const TortureSubject& subject, std::span<const TortureResult> results);

}  // namespace vok::tool
