#include "host.h"

#include <stdexcept>
#include <string>

#include "vok/store.h"

namespace vok::bench {

namespace {

constexpr std::uint32_t kPsdtAddress = 0xE000;
constexpr std::uint32_t kSectionStart = 0x20000;
constexpr std::uint32_t kPsdtSize = 0x1000;
constexpr std::uint16_t kNeedReorg = 123, kNeedDeepReorg = 124, kPartitionFull = 130;

void Check(std::uint16_t code, const char* what) {
  if (code != 0) throw std::runtime_error(std::string(what) + " answers " + std::to_string(code));
}

/// A PSDT with one read/write section "CPLG" for all item types.
Bytes Psdt(std::uint32_t version, std::uint32_t block_size, std::uint16_t blocks) {
  Bytes bytes(kPsdtSize, 0xFF);
  const auto put = [&bytes](std::uint32_t at, std::uint32_t value, int width) {
    for (; width-- > 0; ++at) bytes[at] = static_cast<std::uint8_t>(value >> 8 * width);
  };
  std::fill_n(bytes.begin(), 2 * 96, std::uint8_t{0});
  put(0, 0x50484452, 4);
  put(4, 1, 4);
  constexpr std::uint32_t kRecord = 96;
  put(kRecord, 0x43504C47, 4);
  put(kRecord + 4, kSectionStart, 4);
  put(kRecord + 8, block_size, 4);
  put(kRecord + 36, version == 1 ? 3 : 4, 2);
  put(kRecord + 38, blocks, 2);
  put(kRecord + 68, Host::kPartition, 2);
  put(kRecord + 70, 1, 2);
  put(kRecord + 72, 1, 2);
  put(kRecord + 74, 0xFFFD, 2);
  for (std::uint32_t range = kRecord + 76; range < kRecord + 94; range += 6) put(range, 255, 2);
  return bytes;
}

}  // namespace

Host::Host(std::uint32_t version, std::uint64_t live, Fill fill)
    : version_(version), block_size_(version == 1 ? 0x10000 : 0x20000), buffer_(0x20000) {
  const std::uint64_t usable = live * 100 / static_cast<std::uint8_t>(fill);
  blocks_ = static_cast<std::uint16_t>(usable / (block_size_ - 36) + 2);
  psdt_ = Psdt(version, block_size_, blocks_);
}

std::vector<VOKITEM> Host::ListOf(const std::vector<Item>& items) {
  std::vector<VOKITEM> list;
  for (const Item& item : items)
    list.push_back({"", item.type, item.id, static_cast<std::uint32_t>(item.data.size()), item.data});
  return list;
}

void Host::LoadPsdt() { Check(worker_.LoadPSDT(psdt_.data(), kPsdtSize, kPsdtAddress), "LoadPSDT"); }

void Host::LoadCodeplug() {
  Check(worker_.LoadCodeplug(codeplug_.data(), static_cast<std::uint32_t>(codeplug_.size()), kSectionStart, 0),
        "LoadCodeplug");
}

void Host::Prepare() {
  LoadPsdt();
  worker_.SetBlockVOKVersion(kSectionStart, static_cast<std::uint16_t>(version_));
}

void Host::Format() {
  Prepare();
  Check(worker_.BuildDefaultVOKHeaders(), "BuildDefaultVOKHeaders");
}

void Host::Build(const std::vector<VOKITEM>& list) {
  Prepare();
  worker_.WriteAllVOK(list);
  codeplug_.resize(std::size_t{blocks_} * block_size_);
  Check(worker_.ReadVitualMemory(kSectionStart, kSectionStart + static_cast<std::uint32_t>(codeplug_.size()),
                                 codeplug_.data()),
        "ReadVitualMemory");
}

void Host::Open() {
  LoadPsdt();
  LoadCodeplug();
}

bool Host::Read(std::uint16_t type, std::uint16_t id) {
  auto length = static_cast<std::uint32_t>(buffer_.size());
  return worker_.ReadVOK(type, id, buffer_.data(), length) == 0;
}

void Host::MakeRoom() {
  std::uint16_t block = 0;
  CheckReorgNeed(kPartition, 100, &block, 0);
  Check(ReorganiseBlock(kPartition, block, 0), "ReorganiseBlock");
  block = 0xFFFF;
  Check(EraseRetiredBlock(kPartition, &block), "EraseRetiredBlock");
}

void Host::Write(const Item& item) {
  constexpr std::uint8_t kJournalled = 1;
  std::uint16_t id = item.id;
  const auto length = static_cast<std::uint32_t>(item.data.size());
  std::uint16_t code = WriteItem(kPartition, kJournalled, item.type, &id, item.data.data(), length);
  for (std::uint32_t i = 0; i < blocks_ && (code == kNeedReorg || code == kNeedDeepReorg || code == kPartitionFull);
       ++i) {
    MakeRoom();
    code = WriteItem(kPartition, kJournalled, item.type, &id, item.data.data(), length);
  }
  Check(code, "WriteItem");
}

}  // namespace vok::bench
