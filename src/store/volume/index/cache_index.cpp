#include "store/volume/index/cache_index.h"

#include <algorithm>
#include <bit>
#include <new>

namespace vok {

std::unique_ptr<CacheIndex> CacheIndex::Make(u16 capacity) {
  std::unique_ptr<CacheIndex> index(new (std::nothrow) CacheIndex);
  if (index == nullptr) return nullptr;
  const u32 heads = std::bit_ceil(std::max<u32>(capacity, 2));
  index->heads_.reset(new (std::nothrow) u16[heads]);
  index->next_.reset(new (std::nothrow) u16[capacity]);
  if (index->heads_ == nullptr || index->next_ == nullptr) return nullptr;
  std::fill_n(index->heads_.get(), heads, kNone);
  index->shift_ = 33 - static_cast<u32>(std::bit_width(heads));
  return index;
}

}  // namespace vok
