#include "store/volume/index/cache_index.h"

#include <algorithm>
#include <bit>
#include <new>

namespace vok {

std::unique_ptr<CacheIndex> CacheIndex::Make(u16 capacity) {
  std::unique_ptr<CacheIndex> index(new (std::nothrow) CacheIndex);
  if (index == nullptr) return nullptr;
  index->chains_ = 4 * std::bit_ceil(u32{capacity});
  index->shift_ = 33 - static_cast<u32>(std::bit_width(index->chains_));
  index->end_ = capacity;
  const u32 entries = capacity + 1u;
  index->links_.reset(new (std::nothrow) u16[index->chains_ + entries]);
  index->links_to_.reset(new (std::nothrow) u32[entries]);
  index->keys_.reset(new (std::nothrow) u32[entries]());
  if (index->links_ == nullptr || index->links_to_ == nullptr || index->keys_ == nullptr) return nullptr;
  std::fill_n(index->links_.get(), index->chains_ + entries, capacity);
  std::fill_n(index->links_to_.get(), entries, index->NextOf(capacity));
  return index;
}

}  // namespace vok
