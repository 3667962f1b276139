#pragma once

#include "store/volume/records.h"

/// Sets of 16-bit values: all types of a partition, or all IDs of a type. Invariants: the first chunk always exists,
/// has base 0 and carries the key; later chunks stand in the order in which their first value came; a chunk's count is
/// the number of its bits.

namespace vok {

inline constexpr u16 kNoMoreValues = 0xFFFF;
inline constexpr u16 kKeyOfTypes = 0;

/// Builds the set of the IDs of a type's Valid items, or for key 0 of the types that have one, by one walk of the
/// flash.
/// @return 0; 128 with no chunk left
u16 BuildValueSet(const PartitionRecord& partition, u16 key, ValueSetChunk*& set);

void FreeValueSet(ValueSetChunk* set);

/// @return 0; 135 (not reported: no failure of an operation) the value is in the set already; 128
u16 ValueSetInsert(ValueSetChunk& set, u16 value);

/// The lowest value not in the set; 65535 when there is none.
u16 ValueSetFirstFree(const ValueSetChunk& set);

/// The lowest value of the set that is not below @p from; false when there is none.
bool ValueSetNext(const ValueSetChunk& set, u16 from, u16& value);

/// Number of values in the set.
u32 ValueSetSize(const ValueSetChunk& set);

/// Calls @p write (index, value) for up to @p count values from @p cursor on, in rising order.
/// @param cursor  out: the first value not delivered, 65535 = no more
/// @param count   in: the number wanted, of which the low 16 bits count; out: the number delivered
template <typename Write>
void CollectValues(u16& cursor, const ValueSetChunk& set, u32& count, Write write) {
  const u32 wanted = count & 0xFFFF;
  u16 value = 0;
  bool more = ValueSetNext(set, cursor, value);
  for (count = 0; more && count < wanted;) {
    write(count++, value);
    more = value != 0xFFFF && ValueSetNext(set, static_cast<u16>(value + 1), value);
  }
  cursor = more ? value : kNoMoreValues;
}

}  // namespace vok
