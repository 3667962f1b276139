#pragma once

#include "store/volume/space.h"

/// Journal records: the announcement of a change that takes more than one step on different items. A record is
/// committed before the change begins and retired after it is complete, so that a mount which finds a Valid one can
/// finish it.

namespace vok {

/// What a journal record says.
struct JournalTemplate {
  static constexpr u32 kNoOffset = 0xFFFFFFFF;

  u16 kind = 0;
  u16 type = 0;
  u16 id = 0;
  u32 offset = kNoOffset;  ///< partial write: where the new bytes go in the item
};

/// Writes and commits a journal record under the next number of the journal sequence, which advances even on failure.
/// @param data  what follows the fixed fields: the new bytes, or the old name
/// @return 0; 123, 124, 130; 105 (the record then stays Allocated and the next repair mount drops it)
u16 WriteJournalRecord(PartitionRecord& partition, const JournalTemplate& entry, const u8* data, u32 length,
                       NewRecord& record);

/// A journal record as it lies in flash.
struct JournalEntry {
  u16 kind, type, id;
  u32 offset;         ///< offset word
  FlashAddress data;  ///< what follows the fixed fields
  u32 data_length;
};

/// @return whether the record is whole: sound, and long enough for its fields and kind
bool ReadJournalEntry(const ItemRecord& record, JournalEntry& entry);

}  // namespace vok
