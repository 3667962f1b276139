#pragma once

#include "flash/types.h"

/// Flash programming. The store changes its bytes in the image through these operations alone; each one reaches the
/// installed FlashDevice, turns its status into an error code and reports a failure.

namespace vok {

inline constexpr u32 kDefaultEraseSize = 0x10000;

/// The size of one erase; follows the store version.
void SetEraseSize(u32 bytes);

/// Each: 0, or 105 when the device did not confirm a step (the later ones are not made).
u16 FlashProgram16(u16 value, FlashAddress address);
u16 FlashProgram32(u32 value, FlashAddress address);  ///< high half first
u16 FlashProgramBuffer(FlashAddress address, const u8* data, u32 length);

/// Erases the erase size from @p address on. @return 0, or 104.
u16 FlashEraseBlock(FlashAddress address);

/// A chip's block lock sequences, run on the image; the word at the (4-aligned) address holds 0x00FF afterwards.
/// @return 8 or 9 by the low nine bits of the word 4 bytes above: all set = 8 for a lock, 9 for an unlock
u16 LockBlock(u32 address);
u16 UnlockBlock(u32 address);

}  // namespace vok
