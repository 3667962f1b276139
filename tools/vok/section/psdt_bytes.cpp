#include "section/psdt_bytes.h"

#include <algorithm>

#include "base/number.h"
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
