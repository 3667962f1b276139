#include <memory>
#include <new>
#include <span>

#include "flash/codes.h"
#include "flash/image.h"
#include "store/read/item_bytes.h"
#include "store/read/item_ids.h"
#include "store/volume/layout.h"
#include "vok/store.h"
#include "vok/vok_worker.h"

namespace code = vok::code;

namespace {

/// The largest item that the list operations move.
constexpr std::uint32_t kLargestItem = 0x20000;
constexpr std::uint32_t kListSize = 65535;
constexpr std::uint16_t kNotWritten = 0xFFFF;
constexpr std::size_t kReadAhead = 6;  ///< items of a list whose bytes are on their way while one is copied

void ThrowUnlessOk(std::uint16_t code) {
  if (code != code::kOk) throw VokError(code);
}

/// A buffer that is obtained when it is first needed and kept; while there is no memory for it, each need asks again.
template <typename T, std::size_t kCount>
class Scratch {
 public:
  T* Get() {
    if (buffer_ == nullptr) buffer_.reset(new (std::nothrow) T[kCount]);
    return buffer_.get();
  }

 private:
  std::unique_ptr<T[]> buffer_;
};

/// A list of items to be read, with the places of their records.
struct ReadingList {
  std::vector<VOKITEM>& items;
  std::vector<vok::FlashAddress> records;
};

void AppendItemsOfType(std::uint8_t partition, std::uint16_t type, std::uint16_t* ids, ReadingList& list) {
  std::uint32_t count = kListSize;
  ThrowUnlessOk(vok::ListItemIds(partition, type, ids, count, list.records));
  for (std::uint32_t i = 0; i < count; ++i) {
    VOKITEM& item = list.items.emplace_back();
    item.Type = type;
    item.Id = ids[i];
  }
}

void AppendItems(std::uint16_t start_type, ReadingList& list) {
  const std::uint8_t partition = vok::FindPartitionForType(start_type);
  Scratch<std::uint16_t, kListSize> types;
  Scratch<std::uint16_t, kListSize> ids;
  if (types.Get() == nullptr) return;
  std::uint16_t cursor = start_type;
  std::uint32_t count = kListSize;
  ThrowUnlessOk(vok::ListTypes(partition, &cursor, nullptr, types.Get(), &count));
  const std::uint32_t likely_count = vok::LikelyItemCount(partition);
  list.items.reserve(list.items.size() + likely_count);
  list.records.reserve(likely_count);
  for (std::uint32_t i = 0; i < count; ++i)
    if (ids.Get() != nullptr) AppendItemsOfType(partition, types.Get()[i], ids.Get(), list);
}

}  // namespace

std::uint16_t VokWorker::GetVOKItems(const std::string& section, std::vector<VOKITEM>& items) {
  std::uint16_t start_type = 0;
  if (!GetSectionStartVokType(section, start_type)) return code::kInvalidPartition;
  return GetVOKItems(start_type, items);
}

std::uint16_t VokWorker::GetVOKItems(std::uint16_t start_type, std::vector<VOKITEM>& items) {
  ReadingList list{.items = items, .records = {}};
  AppendItems(start_type, list);
  return code::kOk;
}

std::vector<VOKITEM> VokWorker::ReadAllVOK(const std::string& section) {
  std::vector<VOKITEM> items;
  ReadingList list{.items = items, .records = {}};
  if (std::uint16_t start_type = 0; GetSectionStartVokType(section, start_type)) AppendItems(start_type, list);
  // The bytes go straight into the list. An item is passed over all the same while the largest one would find no
  // memory.
  Scratch<std::uint8_t, kLargestItem> buffer;
  std::uint64_t total = 0;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (buffer.Get() == nullptr) continue;
    if (i + kReadAhead < items.size()) vok::FetchBytes(list.records[i + kReadAhead]);
    VOKITEM& item = items[i];
    std::span<const std::uint8_t> bytes;
    if (vok::FindItemBytes(vok::FindPartitionForType(item.Type), item.Type, item.Id, kLargestItem, bytes) != code::kOk)
      break;
    // More than the image holds: records that damage lets overlap, each of which would take memory anew.
    if ((total += bytes.size()) > vok::kFlashSize) break;
    item.Data.assign(bytes.begin(), bytes.end());
    item.Length = static_cast<std::uint32_t>(bytes.size());
  }
  return items;
}

void VokWorker::WriteVOK(std::uint16_t type, std::uint16_t& id, const std::uint8_t* data, std::uint32_t length) {
  constexpr std::uint8_t kJournalled = 1;
  if (!vok::IsItemType(type)) throw VokError(code::kInvalidParameter);
  std::uint16_t version = 0;
  GetTypeBlockVOKVersion(type, version);
  if (version != vok::CurrentLayout().version) throw VokError(code::kFlashWrite);
  ThrowUnlessOk(vok::WriteItem(vok::FindPartitionForType(type), kJournalled, type, &id, data, length));
}

void VokWorker::WriteAllVOK(const std::vector<VOKITEM>& items) {
  EraseCodeplugVirtualMemory();
  BuildDefaultVOKHeaders();
  for (const VOKITEM& item : items) {
    if (item.Data.size() > kLargestItem) throw VokError(code::kItemTooBig);
    if (item.Type == kNotWritten || item.Id == kNotWritten) continue;
    std::uint16_t id = item.Id;
    WriteVOK(item.Type, id, item.Data.data(), static_cast<std::uint32_t>(item.Data.size()));
  }
}
