#pragma once

#include "store/volume/slots.h"

/// Where new records go. Writers never choose an address themselves: items and journal records alike are placed here,
/// by best fit among the Active blocks, with one block always kept free as the spare of a reorganisation.

namespace vok {

/// Who asks for space.
enum class SpaceUse : u8 {
  kWrite,       ///< a writer: keeps the spare
  kReorganise,  ///< a move: may also fill the ReorgTarget block
};

/// A place for a record.
struct RecordPlace {
  FlashAddress length_word = 0;  ///< 0 = no block in use has room
  u16 block = kNoBlock;          ///< its block; without a place, the Free block with room to open, or 0xFFFF
};

/// Chooses the block with the least free space that still holds a record of @p length payload bytes; on a tie the lower
/// index. Decides from the RAM records alone.
RecordPlace FindBlockForRecord(const PartitionRecord& partition, u32 length, SpaceUse use);

/// The least worn Free block. @return 0; 126 when there is none
u16 FindSpareBlock(const PartitionRecord& partition, u16& spare);

/// A record and its slot as AllocateItemRecord() made them.
struct NewRecord {
  FlashAddress slot = 0;
  FlashAddress payload = 0;
  u16 block = kNoBlock;
  SlotHeader header{};  ///< as written: the location word's state is Allocated
};

/// Writes length word, payload and slot, in this order, and leaves the slot Allocated for the caller to commit. A cut
/// before the slot is complete leaves a record without slot, one after it an Allocated slot; a repair mount drops both.
/// @param payload  null leaves the payload erased
/// @return 0; 123, 124, 130 when there is no room (nothing has changed then); 105
u16 AllocateItemRecord(PartitionRecord& partition, u16 type, u16 id, const u8* payload, u32 length, NewRecord& record);

/// Programs length word and payload of a record at its place and lowers the block's top; its slot comes next.
/// @return 0; 105 with top as before
u16 WriteRecordBytes(BlockRecord& block, FlashAddress length_word, const u8* payload, u32 length);

/// Programs @p header at the block's next slot, its location word Allocated (also in @p header), and counts it. Closes
/// the block when no further slot would fit. @return 0; 105 with the counters as before
u16 WriteHeaderSlot(BlockRecord& block, SlotHeader& header);

/// What FreeSpaceSurvey() tells of the Active blocks.
struct SpaceSurvey {
  u16 most_dead = kNoBlock;  ///< the block with most dead bytes
  u32 dead_bytes = 0;
  bool has_pointers_out = false;  ///< pointers into it are out
  u32 best_reclaim = 0;           ///< dead and free bytes of the block that has most of them
  u64 total_reclaim = 0;          ///< dead and free bytes of all of them
};

enum class PointersOut : bool { kSkip, kAdmit };

SpaceSurvey FreeSpaceSurvey(const PartitionRecord& partition, PointersOut pointers);

}  // namespace vok
