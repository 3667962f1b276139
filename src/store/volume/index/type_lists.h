#pragma once

#include <memory>

#include "store/volume/index/type_table.h"

namespace vok {

/// The slots of each item type in flash order: a snapshot, made when it is first needed. Making it takes two passes
/// over the same slots: Count() for each, Begin(), Append() for each.
class TypeLists {
 public:
  void Release();
  /// @return false without memory
  bool Count(u16 type);
  /// @return false without memory
  bool Begin();
  /// Slots come in flash order.
  void Append(u16 type, FlashAddress slot) {
    List& list = *lists_.Existing(type);
    slots_[list.end++] = static_cast<u32>(slot);
  }

  /// The first slot above @p after that was of the type; 0 when there is none.
  FlashAddress Find(u16 type, FlashAddress after) {
    const List* const list = lists_.Existing(type);
    if (list == nullptr) return 0;
    const bool goes_on = found_ >= list->begin && found_ < list->end && slots_[found_] == after;
    found_ = goes_on ? found_ + 1 : PlaceAbove(*list, after);
    return found_ < list->end ? slots_[found_] : 0;
  }

 private:
  struct List {
    u32 begin, end;  ///< places in slots_
  };

  u32 PlaceAbove(const List& list, FlashAddress after) const;

  TypeTable<List> lists_;
  std::unique_ptr<u32[]> slots_;  ///< list after list
  u32 count_ = 0;
  u32 found_ = 0;  ///< place of the slot found last, where a listing goes on
};

}  // namespace vok
