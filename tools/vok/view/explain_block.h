#pragma once

#include "view/explanation.h"
#include "view/image_view.h"

namespace vok::tool {

/// Tells what lies at an address of a block and what the store does with it next. A repair mount is tried where one
/// is due, so that nothing may be looked at in the section afterwards.
void ExplainInSection(const SectionView& section, Explanation& explanation);

}  // namespace vok::tool
