#pragma once

#include <string>

#include "view/image_view.h"

/// What the page of the map holds of an image.

namespace vok::tool {

/// Figures, findings and losses as JSON on one line, free of "<".
std::string PageFigures(const ImageView& view, const std::string& image_name);

/// Adds the slots and bytes of a block as text without markup: a letter for the state of each slot; in base64 three
/// little-endian words for each, which are its number and the offset and length of its payload, all bits set without a
/// sound record; then the runs of bytes that are not erased, as their offset, a colon and base64. Spaces stand between.
void AppendPageBlock(const SectionView& section, const BlockView& block, std::string& page);

}  // namespace vok::tool
