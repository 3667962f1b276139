#pragma once

#include <array>

#include "flash/types.h"

/// The PSDT as it lies in the flash image: what start-up and the worker read of it. Once converted, its values are
/// stored in little-endian order.

namespace vok::psdt {

inline constexpr u32 kMagic = 0x50484452;  ///< "PHDR"
inline constexpr u32 kHeaderWords = 9;
inline constexpr u32 kRecordSize = 96;    ///< also that of the header
inline constexpr u16 kMostRecords = 255;  ///< start-up counts them in 8 bits
inline constexpr u16 kNoRange = 255;
inline constexpr u16 kLastType = 65533;  ///< highest item type

/// What is converted of a record: 32-bit words from its start, then 16-bit words; its last two bytes stay as they are.
inline constexpr u32 kRecordWords = 9;
inline constexpr u32 kFirstHalfWordOffset = 36;
inline constexpr u32 kRecordHalfWords = 29;

struct TypeRange {
  u16 id;
  u16 first_type;
  u16 last_type;
};

/// One section.
struct Record {
  u32 tag;
  u32 start;
  u32 block_size;
  u16 kind;
  u16 block_count;
  u16 partition;
  std::array<TypeRange, 4> ranges;  ///< the primary one and three extra ones (range ID 255 = none)
};

/// Where the last PSDT was put; the values before any load are part of the interface.
struct Location {
  u32 address = 0xE000;
  u32 length = 0x1000;
  bool loaded = false;
};
const Location& CurrentLocation();

/// Whether a PSDT image has a record count that can be converted: at most 255 records, all inside @p length.
bool HasSoundCount(const u8* data, u32 length);

/// Takes the bytes at @p address, which HasSoundCount() has accepted, for the PSDT; the worker converts them next.
void Place(u32 address, u32 length);

/// Address of record @p index in the image.
FlashAddress RecordAddress(u16 index);

/// After the header's conversion: takes over its record count.
void TakeRecordCount();

u16 RecordCount();
Record ReadRecord(u16 index);

/// Word @p index (0 to 8) of the converted header.
u32 ReadHeaderWord(u32 index);

}  // namespace vok::psdt
