#include "section/psdt_bytes.h"

#include <algorithm>
#include <array>

#include "base/number.h"
#include "flash/image.h"

namespace vok::tool {

namespace {

/// Where a record keeps its fields; what lies between them is 0.
constexpr std::size_t kStart = 4;
constexpr std::size_t kBlockSize = 8;
constexpr std::size_t kKind = 36;
constexpr std::size_t kBlockCount = 38;
constexpr std::size_t kPartition = 68;
constexpr u16 kHighestPartition = 8;

constexpr std::size_t kHeaderCount = 6;
constexpr std::array<u8, 4> kMagicBytes = {'P', 'H', 'D', 'R'};

u32 Get16(std::span<const u8> bytes, std::size_t at) { return static_cast<u32>(bytes[at] << 8 | bytes[at + 1]); }
u32 Get32(std::span<const u8> bytes, std::size_t at) { return Get16(bytes, at) << 16 | Get16(bytes, at + 2); }

bool HasMagic(std::span<const u8> bytes) {
  return bytes.size() >= kMagicBytes.size() && std::equal(kMagicBytes.begin(), kMagicBytes.end(), bytes.begin());
}

bool LooksLikeSection(std::span<const u8> record) {
  const u64 size = u64{Get32(record, kBlockSize)} * Get16(record, kBlockCount);
  return size != 0 && Get32(record, kStart) + size <= kFlashSize && Get16(record, kPartition) <= kHighestPartition;
}

/// A kind that some store version takes, and what any section has.
bool LooksLikeStoreSection(std::span<const u8> record) {
  const u32 kind = Get16(record, kKind);
  return kind >= 2 && kind <= 5 && LooksLikeSection(record);
}

psdt::Record RecordIn(std::span<const u8> bytes) {
  const auto half = [bytes](std::size_t at) { return static_cast<u16>(Get16(bytes, at)); };
  psdt::Record record{.tag = Get32(bytes, 0),
                      .start = Get32(bytes, kStart),
                      .block_size = Get32(bytes, kBlockSize),
                      .kind = half(kKind),
                      .block_count = half(kBlockCount),
                      .partition = half(kPartition),
                      .ranges = {}};
  for (std::size_t i = 0; i < record.ranges.size(); ++i) {
    const std::size_t at = kPartition + sizeof(u16) + i * sizeof(psdt::TypeRange);
    record.ranges[i] = {.id = half(at), .first_type = half(at + 2), .last_type = half(at + 4)};
  }
  return record;
}

/// Of the first ones, as far as they look like sections.
u16 CountOfRecordsIn(std::span<const u8> bytes) {
  u16 count = 0;
  while (count < psdt::kMostRecords && bytes.size() >= psdt::kRecordSize * (count + 2U) &&
         LooksLikeStoreSection(bytes.subspan(psdt::kRecordSize * (count + 1U), psdt::kRecordSize)))
    ++count;
  return count;
}

void Put16(Bytes& bytes, u32 value) {
  bytes.push_back(static_cast<u8>(value >> 8));
  bytes.push_back(static_cast<u8>(value));
}

void Put32(Bytes& bytes, u32 value) {
  Put16(bytes, value >> 16);
  Put16(bytes, value);
}

void PutRecord(Bytes& bytes, const psdt::Record& record) {
  const std::size_t start = bytes.size();
  Put32(bytes, record.tag);
  Put32(bytes, record.start);
  Put32(bytes, record.block_size);
  bytes.resize(start + kKind);
  Put16(bytes, record.kind);
  Put16(bytes, record.block_count);
  bytes.resize(start + kPartition);
  Put16(bytes, record.partition);
  for (const psdt::TypeRange& range : record.ranges) {
    Put16(bytes, range.id);
    Put16(bytes, range.first_type);
    Put16(bytes, range.last_type);
  }
  bytes.resize(start + psdt::kRecordSize);
}

}  // namespace

Bytes PsdtBytes(std::span<const psdt::Record> records, std::size_t least_size) {
  Bytes bytes;
  Put32(bytes, psdt::kMagic);
  Put32(bytes, static_cast<u32>(records.size()));
  bytes.resize(psdt::kRecordSize);
  for (const psdt::Record& record : records) PutRecord(bytes, record);
  bytes.resize(std::max(bytes.size(), least_size), kErasedByte);
  return bytes;
}

bool LooksLikePsdt(std::span<const u8> bytes) {
  if (!HasMagic(bytes) || !psdt::HasSoundCount(bytes.data(), static_cast<u32>(bytes.size()))) return false;
  for (u32 i = 1; i <= Get16(bytes, kHeaderCount); ++i)
    if (LooksLikeSection(bytes.subspan(i * psdt::kRecordSize, psdt::kRecordSize))) return true;
  return false;
}

Bytes AsPsdt(std::span<const u8> bytes) {
  Bytes fixed(bytes.begin(), bytes.end());
  fixed.resize(std::max<std::size_t>(fixed.size(), psdt::kRecordSize), kErasedByte);
  std::ranges::copy(kMagicBytes, fixed.begin());
  if (psdt::HasSoundCount(fixed.data(), static_cast<u32>(fixed.size()))) return fixed;
  const u16 count = CountOfRecordsIn(bytes);
  fixed[kHeaderCount] = static_cast<u8>(count >> 8);
  fixed[kHeaderCount + 1] = static_cast<u8>(count);
  return fixed;
}

std::vector<psdt::Record> RecordsInForceAndBehind() {
  std::vector<psdt::Record> records;
  for (u16 i = 0; i < psdt::RecordCount(); ++i) records.push_back(psdt::ReadRecord(i));
  const psdt::Location& location = psdt::CurrentLocation();
  const u64 end = std::min<u64>(u64{location.address} + location.length, kFlashSize);
  for (u16 i = psdt::RecordCount(); i < psdt::kMostRecords && psdt::RecordAddress(i) + psdt::kRecordSize <= end; ++i) {
    const std::span<const u8> bytes(VirtualMemoryAddress(psdt::RecordAddress(i)), psdt::kRecordSize);
    if (!LooksLikeStoreSection(bytes)) break;
    records.push_back(RecordIn(bytes));
  }
  return records;
}

std::vector<u64> FindPsdts(std::span<const u8> bytes, std::size_t most) {
  std::vector<u64> found;
  const auto next = [&bytes](auto from) {
    return std::search(from, bytes.end(), kMagicBytes.begin(), kMagicBytes.end());
  };
  for (auto at = next(bytes.begin()); at != bytes.end() && found.size() < most; at = next(at + 1))
    if (LooksLikePsdt(bytes.subspan(static_cast<std::size_t>(at - bytes.begin()))))
      found.push_back(static_cast<u64>(at - bytes.begin()));
  return found;
}

u32 TagOf(const std::string& text) {
  u32 tag = 0;
  for (const char c : text) tag = tag << 8 | static_cast<u8>(c);
  return tag;
}

std::optional<u32> TagOfName(const std::string& name) {
  std::string tag;
  const std::string text = name.substr(0, name.find('.'));
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::optional<u64> code =
        text[i] == '%' ? ParseNumber("0x" + text.substr(i + 1, 2)) : static_cast<u8>(text[i]);
    if (!code) return std::nullopt;
    tag += static_cast<char>(*code);
    if (text[i] == '%') i += 2;
  }
  if (tag.size() > sizeof(u32) || tag.empty()) return std::nullopt;
  tag.resize(sizeof(u32), '\0');
  return TagOf(tag);
}

}  // namespace vok::tool
