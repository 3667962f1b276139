#include <memory>

#include "flash/codes.h"
#include "flash/image.h"
#include "vok/vok_worker.h"
#include "worker/psdt.h"

namespace code = vok::code;

namespace {

constexpr std::size_t kTagLength = 4;

/// The tag of a section name; a short name counts as padded with zero bytes.
std::uint32_t TagOf(const std::string& section) {
  std::uint32_t tag = 0;
  for (std::size_t i = 0; i < kTagLength; ++i)
    tag = tag << 8 | (i < section.size() ? static_cast<std::uint8_t>(section[i]) : 0u);
  return tag;
}

}  // namespace

std::uint16_t VokWorker::ConvertEndianness(std::uint16_t value) const {
  return static_cast<std::uint16_t>(value << 8 | value >> 8);
}

std::uint32_t VokWorker::ConvertEndianness(std::uint32_t value) const {
  const auto low = static_cast<std::uint16_t>(value);
  const auto high = static_cast<std::uint16_t>(value >> 16);
  return static_cast<std::uint32_t>(ConvertEndianness(low)) << 16 | ConvertEndianness(high);
}

void VokWorker::ConvertPSDTEndianness() {
  const auto convert_words = [this](vok::FlashAddress address, std::uint32_t count) {
    for (; count-- > 0; address += sizeof(std::uint32_t))
      vok::WriteFlashWord32(address, ConvertEndianness(vok::ReadFlashWord32(address)));
  };
  convert_words(vok::psdt::CurrentLocation().address, vok::psdt::kHeaderWords);
  vok::psdt::TakeRecordCount();
  for (std::uint16_t i = 0; i < vok::psdt::RecordCount(); ++i) {
    const vok::FlashAddress record = vok::psdt::RecordAddress(i);
    convert_words(record, vok::psdt::kRecordWords);
    vok::FlashAddress half = record + vok::psdt::kFirstHalfWordOffset;
    for (std::uint32_t n = 0; n < vok::psdt::kRecordHalfWords; ++n, half += sizeof(std::uint16_t))
      vok::WriteFlashWord16(half, ConvertEndianness(vok::ReadFlashWord16(half)));
  }
}

PSDT_HEADER_RECORD* VokWorker::ReadPSDTHeaderRecord() {
  if (!vok::psdt::CurrentLocation().loaded) return nullptr;
  auto header = std::make_unique<PSDT_HEADER_RECORD>();
  for (std::uint32_t i = 0; i < vok::psdt::kHeaderWords; ++i) header->Words[i] = vok::psdt::ReadHeaderWord(i);
  return header.release();
}

std::vector<PSDT_RECORD*> VokWorker::ReadPSDTRecord() {
  std::vector<PSDT_RECORD*> records;
  records.reserve(vok::psdt::RecordCount());
  for (std::uint16_t i = 0; i < vok::psdt::RecordCount(); ++i) {
    const vok::psdt::Record record = vok::psdt::ReadRecord(i);
    const vok::psdt::TypeRange& primary = record.ranges[0];
    records.push_back(new PSDT_RECORD{.Tag = record.tag,
                                      .StartAddress = record.start,
                                      .EndAddress = record.start + record.block_count * record.block_size - 1,
                                      .BlockSize = record.block_size,
                                      .BlockCount = record.block_count,
                                      .FirstType = primary.first_type,
                                      .LastType = primary.last_type});
  }
  return records;
}

bool VokWorker::GetSectionStartVokType(const std::string& section, std::uint16_t& type) {
  for (std::uint16_t i = 0; i < vok::psdt::RecordCount(); ++i) {
    const vok::psdt::Record record = vok::psdt::ReadRecord(i);
    if (record.tag != TagOf(section)) continue;
    type = record.ranges[0].first_type;
    return true;
  }
  return false;
}

std::uint16_t VokWorker::GetTypeBlockVOKVersion(std::uint32_t type, std::uint16_t& version) {
  if (type == 0 || type > vok::psdt::kLastType) return code::kInvalidParameter;
  for (std::uint16_t i = 0; i < vok::psdt::RecordCount(); ++i) {
    const vok::psdt::Record record = vok::psdt::ReadRecord(i);
    const vok::psdt::TypeRange& primary = record.ranges[0];
    if (type < primary.first_type || type > primary.last_type) continue;
    GetBlockVOKVersion(record.start, version);
    return code::kOk;
  }
  return code::kInvalidPointer;
}
