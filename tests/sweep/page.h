#pragma once

#include <string>

#include "tally.h"

namespace vok::sweep {

/// Fills the marks of the page's template (@NAME@) with counts and tables and writes the page.
/// @return whether it was written
bool WritePage(const std::string& path, const Tally& fast, const Tally& whole);

}  // namespace vok::sweep
