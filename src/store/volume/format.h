#pragma once

#include "store/volume/records.h"

/// Writing block headers: erase, format, default headers.

namespace vok {

/// Where FormatBlock() takes the new wear counter from.
enum class WearSource : u8 {
  kFlash,   ///< one below the counter in the block's header; the first counter when its signature is not intact
  kRecord,  ///< the RAM record, which the caller has already lowered
};

/// Erases a block and writes a header of state Free; its RAM record becomes empty. A cut before the signature is
/// complete leaves a block without one, which a repair mount formats again.
/// @return 0; 104; 105
u16 FormatBlock(const PartitionRecord& partition, BlockRecord& block, WearSource wear);

/// FormatBlock() for every block in index order. @return 0; 104; 105 at the first that fails
u16 FormatAllBlocks(PartitionRecord& partition);

/// Writes the header of an erased block, by default of one that was never in use. @return 0; 105
u16 WriteDefaultBlockHeader(FlashAddress base, bool active, u32 wear_counter = block_header::kFirstWearCounter);

/// Whether the block at @p base carries the block signature.
inline bool HasSignature(FlashAddress base) {
  return ReadFlashWord32(base + block_header::kSignatureOffset) == block_header::kSignature;
}

/// Reads state and wear counter of the header into the RAM record. @return the state
u16 ReadBlockState(BlockRecord& block);

}  // namespace vok
