#include "section/psdt_bytes.h"

#include <algorithm>

#include "flash/image.h"

namespace vok::tool {

namespace {

/// Where a record keeps its fields; what lies between them is 0.
constexpr std::size_t kKind = 36;
constexpr std::size_t kPartition = 68;

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

u32 TagOf(const std::string& text) {
  u32 tag = 0;
  for (const char c : text) tag = tag << 8 | static_cast<u8>(c);
  return tag;
}

}  // namespace vok::tool
