#pragma once

#include <memory>

#include "store/volume/index/type_table.h"

namespace vok {

/// The slots of each item type in flash order: a snapshot, made when it is first needed.
class TypeLists {
 public:
  /// Empties the lists and makes room for @p slots. @return false without memory
  bool Reserve(u32 slots);
  void Release();
  /// Slots come in flash order. @return false without memory
  bool Append(u16 type, FlashAddress slot);

  /// The first slot above @p after that was of the type; 0 when there is none.
  FlashAddress Find(u16 type, FlashAddress after) {
    const bool goes_on = after != 0 && nodes_[found_].slot == after;
    found_ = goes_on ? nodes_[found_].next : FirstOf(type);
    while (found_ != 0 && nodes_[found_].slot <= after) found_ = nodes_[found_].next;
    return nodes_[found_].slot;
  }

 private:
  u32 FirstOf(u16 type) {
    const List* const list = lists_.Existing(type);
    return list != nullptr ? list->first : 0;
  }

  struct Node {
    u32 slot;
    u32 next;  ///< place of the type's next node, 0 = none
  };
  struct List {
    u32 first, last;
  };

  TypeTable<List> lists_;
  std::unique_ptr<Node[]> nodes_;  ///< from place 1 on; place 0 ends every list
  u32 used_ = 0;
  u32 found_ = 0;  ///< place of the slot found last, where a listing goes on
};

}  // namespace vok
