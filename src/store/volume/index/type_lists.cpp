#include "store/volume/index/type_lists.h"

#include <algorithm>
#include <new>

namespace vok {

void TypeLists::Release() {
  lists_.Clear();
  slots_.reset();
  count_ = found_ = 0;
}

bool TypeLists::Count(u16 type) {
  List* const list = lists_.At(type);
  if (list == nullptr) return false;
  ++list->end;
  ++count_;
  return true;
}

bool TypeLists::Begin() {
  slots_.reset(new (std::nothrow) u32[count_]);
  u32 place = 0;
  lists_.ForEach([&place](List& list) {
    const u32 size = list.end;
    list = {.begin = place, .end = place};
    place += size;
  });
  return slots_ != nullptr;
}

u32 TypeLists::PlaceAbove(const List& list, FlashAddress after) const {
  const u32* const begin = slots_.get();
  return static_cast<u32>(std::upper_bound(begin + list.begin, begin + list.end, after) - begin);
}

}  // namespace vok
