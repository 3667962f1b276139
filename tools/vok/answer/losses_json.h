#pragma once

#include "base/json_text.h"
#include "section/losses_text.h"

namespace vok::tool {

/// Adds "complete" and "losses" to an answer.
void AddLosses(Json& answer, const Losses& losses);

}  // namespace vok::tool
