#pragma once

#include "block_view.h"
#include "view/explanation.h"

namespace vok::tool {

/// Tells which field of a slot lies at the address, and what the slot says.
void ExplainSlot(const BlockView& block, const SlotView& slot, Explanation& explanation);

/// Tells which byte of a slot's record lies at the address. The record covers it.
void ExplainRecord(const BlockView& block, const SlotView& slot, Explanation& explanation);

/// Whether the record of a slot, or what is left of a damaged one, covers an address.
bool RecordCovers(const SlotView& slot, FlashAddress address);

}  // namespace vok::tool
