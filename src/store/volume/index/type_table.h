#pragma once

#include <array>
#include <memory>
#include <new>

#include "flash/types.h"

namespace vok {

/// A value for each item type, in pages that are made when a type of them is first used. Values begin as zero.
template <typename Value>
class TypeTable {
 public:
  /// @return null without memory
  Value* At(u16 type) {
    std::unique_ptr<Page>& page = pages_[type / kPageSize];
    if (page == nullptr) page.reset(new (std::nothrow) Page());
    return page != nullptr ? &(*page)[type % kPageSize] : nullptr;
  }
  /// @return null when the value is still the first one
  Value* Existing(u16 type) {
    Page* const page = pages_[type / kPageSize].get();
    return page != nullptr ? &(*page)[type % kPageSize] : nullptr;
  }
  template <typename Use>
  void ForEach(Use use) {
    for (std::unique_ptr<Page>& page : pages_)
      if (page != nullptr)
        for (Value& value : *page) use(value);
  }
  void Clear() {
    for (std::unique_ptr<Page>& page : pages_) page.reset();
  }

 private:
  static constexpr u32 kPageSize = 256;
  using Page = std::array<Value, kPageSize>;

  std::array<std::unique_ptr<Page>, 0x10000 / kPageSize> pages_;
};

}  // namespace vok
