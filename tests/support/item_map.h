#pragma once

#include <algorithm>
#include <map>
#include <utility>

#include "support/store_fixture.h"

namespace vok::test {

/// The items that a store must hold, and the bytes that they take of it.
class ItemMap {
 public:
  using Name = std::pair<std::uint16_t, std::uint16_t>;  ///< type and ID

  explicit ItemMap(const Format& format) : format_(format) {}

  /// What a record of @p length payload bytes takes of a block with its slot.
  std::uint32_t Need(std::size_t length) const {
    return format_.record_size(static_cast<std::uint32_t>(length)) + format_.slot_size();
  }
  /// The same of a journal record with @p length bytes after its fixed fields.
  std::uint32_t JournalNeed(std::size_t length) const { return Need(6 + format_.word + length); }

  std::uint32_t live() const { return live_; }  ///< what all items need
  std::uint32_t LargestNeed() const {
    std::size_t largest = 0;
    for (const auto& item : items_) largest = std::max(largest, item.second.size());
    return Need(largest);
  }

  bool Has(const Name& name) const { return items_.count(name) != 0; }
  const Bytes& At(const Name& name) const { return items_.at(name); }
  /// The first item from @p name on, or the first of all.
  const Name& From(const Name& name) const {
    const auto item = items_.lower_bound(name);
    return item != items_.end() ? item->first : items_.begin()->first;
  }

  void Put(const Name& name, const Bytes& data) {
    if (Has(name)) Drop(name);
    items_[name] = data;
    live_ += Need(data.size());
  }
  void Drop(const Name& name) {
    live_ -= Need(At(name).size());
    items_.erase(name);
  }

  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  const Format& format_;
  std::map<Name, Bytes> items_;
  std::uint32_t live_ = 0;
};

}  // namespace vok::test
