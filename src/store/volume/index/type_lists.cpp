#include "store/volume/index/type_lists.h"

#include <new>

namespace vok {

bool TypeLists::Reserve(u32 slots) {
  Release();
  nodes_.reset(new (std::nothrow) Node[slots + 1]);
  if (nodes_ == nullptr) return false;
  nodes_[0] = {};
  return true;
}

void TypeLists::Release() {
  lists_.Clear();
  nodes_.reset();
  used_ = found_ = 0;
}

bool TypeLists::Append(u16 type, FlashAddress slot) {
  List* const list = lists_.At(type);
  if (list == nullptr) return false;
  nodes_[++used_] = {.slot = static_cast<u32>(slot), .next = 0};
  (list->first == 0 ? list->first : nodes_[list->last].next) = used_;
  list->last = used_;
  return true;
}

}  // namespace vok
