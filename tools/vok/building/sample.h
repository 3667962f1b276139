#pragma once

#include "building/description.h"
#include "building/fresh_image.h"

/// The sample: a small image with something of everything in it, the same bytes every time.

namespace vok::tool {

Description SampleDescription();

/// Writes, replaces, renames and deletes items of an image made by the sample's description.
void FillSample(const FreshImage& image);

}  // namespace vok::tool
