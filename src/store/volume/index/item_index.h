#pragma once

#include <algorithm>
#include <memory>

#include "flash/hooks.h"
#include "store/volume/index/slot_table.h"
#include "store/volume/index/type_lists.h"
#include "store/volume/index/type_table.h"

namespace vok {

/// Where the items of one partition have their header slots, so that a search need not walk them. It knows nothing but
/// the bytes of the image and the RAM states of the blocks, and gives what a walk would give at the same moment.
///
/// Invariants between a Refresh() that succeeded and the next change of the image or of a block state:
///  - exactly the blocks that searches look into are covered, each with the length of its slot list;
///  - the slot table holds exactly the Valid slots of these lists;
///  - every ID below a type's first free ID belongs to an item.
/// Changes are announced before they are made, while the old names still stand in the slots. A slot about to change
/// leaves the table and is pending: what it says is read when something else is touched or asked.
class ItemIndex {
 public:
  explicit ItemIndex(const PartitionRecord& partition);

  /// Follows what changed. @return false when only a walk can answer: no memory, a partition that is not wholly inside
  /// the image, or a slot list that runs into its block's end while somebody hears of it from every search
  bool Refresh() { return IsFresh() || CatchUp(); }
  /// Whether it need not read all slots for that.
  bool IsBuilt() const { return layout_ == &CurrentLayout(); }

  /// @name Answers of a fresh index
  /// @{

  /// The lowest Valid slot of an item above @p after.
  IndexedSlot Find(u16 type, u16 id, FlashAddress after) const { return slots_.Find(NameOf(type, id), after); }
  u32 size() const { return slots_.size(); }
  /// Whether it can go through the items of a type: not without memory.
  bool CanList() { return lists_hold_ || MakeLists(); }
  /// The lowest Valid slot of a type above @p after; 0 when there is none.
  FlashAddress Find(u16 type, FlashAddress after) {
    FlashAddress slot = lists_.Find(type, after);
    // Items retired since the lists were made are still in them.
    while (slot != 0 && !IsValid(ReadHeader(slot).word)) slot = lists_.Find(type, slot);
    return slot;
  }
  /// The lowest ID that no item of the type has; 65535 when there is none.
  u16 FirstFreeId(u16 type);
  u16 BlockOf(FlashAddress address) const {
    const u32 offset = static_cast<u32>(address - base_);
    return static_cast<u16>(block_shift_ != 0 ? offset >> block_shift_ : offset / partition_.block_size);
  }
  /// @}

  /// The bytes are about to change.
  void BeforeChange(FlashAddress address, u64 count) {
    const FlashAddress end = address + count;
    if (pending_ != kNothing && address >= pending_ && end <= pending_ + slot_size_) return;
    if (layout_ != nullptr && address < end_ && end > base_) Drop(std::max(address, base_), std::min(end, end_));
  }

 private:
  struct Coverage {
    bool covered;
    bool ran_out;  ///< the list runs into the block's end
    u32 slots;     ///< length of the slot list
  };

  bool IsFresh() const {
    return IsBuilt() && states_seen_ == block_state_changes && pending_ == kNothing && runs_out_ == 0;
  }
  bool MayAnswer() const { return runs_out_ == 0 || OwnHooks() == nullptr; }
  bool CatchUp();
  bool Build();
  bool Fill(u32 expected);
  u32 LikelyCount() const;
  u32 CountValid() const;
  void Forget();
  template <typename Use>
  void ForEachValid(Use use) const;

  void FollowStates();
  void Cover(u16 block);
  void Uncover(u16 block);
  void ReadOn(u16 block);
  void Add(FlashAddress slot, const SlotHeader& header);
  void Remove(u32 name, FlashAddress slot);

  void Drop(FlashAddress first, FlashAddress end);
  void Touch(u16 block, u32 number);
  void SettlePending();

  bool MakeLists();

  const BlockRecord& Record(u16 block) const { return partition_.block_table[block]; }
  FlashAddress SlotAt(u16 block, u32 number) const { return FirstSlot(Record(block)) + u64{number} * slot_size_; }

  static constexpr FlashAddress kNothing = 0;

  const PartitionRecord& partition_;
  const FlashAddress base_;
  const FlashAddress end_;
  const u32 block_shift_;           ///< of a block size that is a power of two; 0 = it is none
  const Layout* layout_ = nullptr;  ///< in force when the index was built; null = there is none
  u32 slot_size_ = 0;
  bool given_up_ = false;

  std::unique_ptr<Coverage[]> blocks_;
  u32 runs_out_ = 0;     ///< number of covered blocks whose list does
  u32 states_seen_ = 0;  ///< count of state changes up to which the blocks were followed

  FlashAddress pending_ = kNothing;  ///< slot that may be changing
  u16 pending_block_ = 0;
  u16 pending_type_ = 0;  ///< its type before the change

  SlotTable slots_;
  TypeTable<u16> first_free_;
  TypeLists lists_;
  bool lists_hold_ = false;  ///< whether no Valid slot was added since the lists were made
};

}  // namespace vok
