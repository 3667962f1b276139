#include "worker/psdt.h"

#include "flash/image.h"

namespace vok::psdt {

namespace {

namespace offset {
constexpr u32 kCount = 6;  ///< of the big-endian image
constexpr u32 kTag = 0;
constexpr u32 kStart = 4;
constexpr u32 kBlockSize = 8;
constexpr u32 kKind = 36;
constexpr u32 kBlockCount = 38;
constexpr u32 kPartition = 68;
constexpr u32 kRanges = 70;
constexpr u32 kRangeSize = 6;
}  // namespace offset

Location location;
u16 record_count = 0;

u16 ReadHalf(FlashAddress address) {
  const u16 word = ReadFlashWord16(address);
  return static_cast<u16>(word << 8 | word >> 8);
}

u32 ReadWord(FlashAddress address) { return ReadHalf(address) | static_cast<u32>(ReadHalf(address + 2)) << 16; }

TypeRange ReadRange(FlashAddress address) {
  return {.id = ReadHalf(address), .first_type = ReadHalf(address + 2), .last_type = ReadHalf(address + 4)};
}

}  // namespace

const Location& CurrentLocation() { return location; }

bool HasSoundCount(const u8* data, u32 length) {
  if (length < kRecordSize) return false;
  const u32 count = static_cast<u32>(data[offset::kCount] << 8 | data[offset::kCount + 1]);
  return count <= kMostRecords && kRecordSize * (count + 1) <= length;
}

void Place(u32 address, u32 length) { location = {.address = address, .length = length, .loaded = true}; }

FlashAddress RecordAddress(u16 index) { return location.address + kRecordSize * (index + 1u); }

void TakeRecordCount() { record_count = ReadHalf(location.address + sizeof(u32)); }

u16 RecordCount() { return record_count; }

Record ReadRecord(u16 index) {
  const FlashAddress at = RecordAddress(index);
  Record record{.tag = ReadWord(at + offset::kTag),
                .start = ReadWord(at + offset::kStart),
                .block_size = ReadWord(at + offset::kBlockSize),
                .kind = ReadHalf(at + offset::kKind),
                .block_count = ReadHalf(at + offset::kBlockCount),
                .partition = ReadHalf(at + offset::kPartition),
                .ranges = {}};
  for (u32 i = 0; i < record.ranges.size(); ++i)
    record.ranges[i] = ReadRange(at + offset::kRanges + i * offset::kRangeSize);
  return record;
}

u32 ReadHeaderWord(u32 index) { return ReadWord(location.address + index * sizeof(u32)); }

}  // namespace vok::psdt
