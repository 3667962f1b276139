#include "yardstick.h"

#include <cstring>

namespace vok::bench {

Yardstick::Yardstick(std::uint64_t flash_size) : flash_(flash_size, 0xFF), buffer_(0x20000) {}

bool Yardstick::Read(std::uint16_t type, std::uint16_t id) {
  const auto item = items_.find(Key(type, id));
  if (item == items_.end()) return false;
  if (!item->second.empty()) std::memcpy(buffer_.data(), item->second.data(), item->second.size());
  return true;
}

void Yardstick::CopyToFlash(const Bytes& data) {
  if (data.empty()) return;
  if (next_ + data.size() > flash_.size()) next_ = 0;
  std::memcpy(flash_.data() + next_, data.data(), data.size());
  next_ += data.size();
}

void Yardstick::Write(std::uint16_t type, std::uint16_t id, const Bytes& data) {
  items_[Key(type, id)] = data;
  CopyToFlash(data);
}

void Yardstick::Rename(std::uint16_t type, std::uint16_t id, std::uint16_t new_id) {
  auto node = items_.extract(Key(type, id));
  node.key() = Key(type, new_id);
  CopyToFlash(node.mapped());
  items_.insert(std::move(node));
}

std::vector<Item> Yardstick::TakeApart() const {
  std::vector<Item> items;
  for (const auto& [key, data] : items_)
    items.push_back({static_cast<std::uint16_t>(key >> 16), static_cast<std::uint16_t>(key), data});
  return items;
}

std::vector<std::uint16_t> Yardstick::List(std::uint16_t type) const {
  std::vector<std::uint16_t> ids;
  for (const auto& item : items_)
    if (item.first >> 16 == type) ids.push_back(static_cast<std::uint16_t>(item.first));
  return ids;
}

}  // namespace vok::bench
