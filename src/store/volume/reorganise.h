#pragma once

#include "store/volume/records.h"

/// Regaining dead space: the live items of one block move out, and the block is erased. A cut reorganisation is
/// finished by the next repair mount.

namespace vok {

/// Whether a move starts afresh or goes on after a cut.
enum class MoveKind : u8 { kFresh, kResume };

/// Copies the Valid items of @p source to the block of best fit, each copy committed before the old one is retired,
/// then makes the source Retired and the target Active.
/// @return 0; 108 no block in use takes an item; 127; 105. On failure the blocks keep their reorganisation states.
u16 MoveBlockItems(PartitionRecord& partition, u16 source, u16 target, MoveKind kind);

/// Finishes at mount what blocks found as ReorgSource and ReorgTarget (0xFFFF = none) show as cut off.
/// @return 0; 126; the codes of MoveBlockItems() and of formatting
u16 CompleteReorganisation(PartitionRecord& partition, u16 source, u16 target);

}  // namespace vok
