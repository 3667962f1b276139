#include "store/volume/index/item_index.h"

#include <algorithm>
#include <bit>
#include <new>

namespace vok {

ItemIndex::ItemIndex(const PartitionRecord& partition)
    : partition_(partition),
      base_(PartitionBase(partition)),
      end_(base_ + u64{partition.block_size} * partition.block_count),
      block_shift_(std::has_single_bit(partition.block_size) ? static_cast<u32>(std::countr_zero(partition.block_size))
                                                             : 0) {
  blocks_.reset(new (std::nothrow) Coverage[partition.block_count]());
  // In a block of odd size a slot's type may run into the next block.
  given_up_ = blocks_ == nullptr || end_ > kFlashSize || partition.block_size % 2 != 0 ||
              partition.block_size <= block_header::kSize;
}

bool ItemIndex::CatchUp() {
  if (given_up_) return false;
  if (IsBuilt()) {
    if (states_seen_ != block_state_changes) FollowStates();
    SettlePending();
  }
  if (!IsBuilt() && !Build()) {
    given_up_ = true;
    Forget();
    return false;
  }
  return MayAnswer();
}

void ItemIndex::Forget() {
  layout_ = nullptr;
  pending_ = kNothing;
  runs_out_ = 0;
  lists_hold_ = false;
  std::fill_n(blocks_.get(), blocks_ != nullptr ? partition_.block_count : 0, Coverage{});
  slots_.Release();
  lists_.Release();
  first_free_.Clear();
}

/// Walks what searches look into.
template <typename Use>
void ItemIndex::ForEachValid(Use use) const {
  for (u16 i = 0; i < partition_.block_count; ++i) {
    if (!IsSearched(Record(i))) continue;
    for (SlotWalk walk(partition_, Record(i)); walk.AtSlot(); walk.Advance())
      if (walk.IsValidItem()) use(walk);
  }
}

u32 ItemIndex::CountValid() const {
  u32 count = 0;
  ForEachValid([&count](const SlotWalk&) { ++count; });
  return count;
}

/// The number of Valid slots as the RAM records tell it, without a look at the slots. It is too high for a block that
/// was erased since the mount, whose slot count goes on from what it was.
u32 ItemIndex::LikelyCount() const {
  u32 count = 0;
  for (u16 i = 0; i < partition_.block_count; ++i) {
    const BlockRecord& block = Record(i);
    if (IsSearched(block) && block.slot_count > block.deleted_slots)
      count += std::min(block.slot_count - block.deleted_slots, partition_.block_size / CurrentLayout().slot_size());
  }
  return count;
}

/// The likely number may be wrong, and a filling may find that the table must be a tree.
bool ItemIndex::Build() { return Fill(LikelyCount()) || Fill(CountValid()) || Fill(CountValid()); }

/// @return false without memory, or when the table is too small or much too large
bool ItemIndex::Fill(u32 expected) {
  Forget();
  if (!slots_.Reserve(expected)) return false;
  layout_ = &CurrentLayout();
  slot_size_ = layout_->slot_size();
  FollowStates();
  if (layout_ != nullptr && slots_.size() < expected / 2) Forget();
  return layout_ != nullptr;
}

void ItemIndex::FollowStates() {
  states_seen_ = block_state_changes;
  for (u16 i = 0; i < partition_.block_count && layout_ != nullptr; ++i) {
    if (IsSearched(Record(i)) == blocks_[i].covered) continue;
    blocks_[i].covered ? Uncover(i) : Cover(i);
  }
}

void ItemIndex::Cover(u16 block) {
  blocks_[block].covered = true;
  ReadOn(block);
}

/// The slots are read where they lay, not where the list ends by now. One that was pending is in the table no more.
void ItemIndex::Uncover(u16 block) {
  lists_hold_ = false;
  for (u32 i = 0; i < blocks_[block].slots; ++i) {
    const FlashAddress slot = SlotAt(block, i);
    if (IsValid(ReadHeader(slot).word)) Remove(NameAt(slot), slot);
  }
  if (pending_block_ == block) pending_ = kNothing;
  runs_out_ -= blocks_[block].ran_out;
  blocks_[block] = {};
}

/// Reads the slots that follow those known.
void ItemIndex::ReadOn(u16 block) {
  Coverage& coverage = blocks_[block];
  runs_out_ -= coverage.ran_out;
  SlotWalk walk(partition_, Record(block), SlotAt(block, coverage.slots));
  for (; walk.AtSlot(); walk.Advance()) {
    ++coverage.slots;
    if (walk.IsValidItem()) Add(walk.slot(), walk.header());
    if (layout_ == nullptr) return;
  }
  coverage.ran_out = walk.RanOut();
  runs_out_ += coverage.ran_out;
}

/// A full table is made anew, larger, by the next search.
void ItemIndex::Add(FlashAddress slot, const SlotHeader& header) {
  lists_hold_ = false;
  if (!slots_.Insert(NameOf(header.type, header.id), {.slot = static_cast<u32>(slot), .word = header.word})) Forget();
}

void ItemIndex::Remove(u32 name, FlashAddress slot) {
  slots_.Erase(name, slot);
  if (u16* const free = first_free_.Existing(static_cast<u16>(name >> 16)))
    *free = std::min(*free, static_cast<u16>(name));
}

/// Drops what bytes of the partition say that are about to change.
void ItemIndex::Drop(FlashAddress first, FlashAddress end) {
  const FlashAddress last = end - 1;
  const u16 block = BlockOf(first);
  if (!IsBuilt() || BlockOf(last) != block) return Forget();

  // Of what follows the list nothing counts but the type that ends it: what follows a pending slot is read with it. In
  // a full block the lowest record lies right behind, and it may change often.
  const FlashAddress watched_end = SlotAt(block, blocks_[block].slots) + sizeof(u16);
  const FlashAddress slots = SlotAt(block, 0);
  if (!blocks_[block].covered || first >= watched_end || last < slots) return;
  const u32 number = first > slots ? static_cast<u32>(first - slots) / slot_size_ : 0;
  if (first >= slots && last < SlotAt(block, number + 1)) return Touch(block, number);
  Uncover(block);
  states_seen_ = block_state_changes - 1;
}

void ItemIndex::Touch(u16 block, u32 number) {
  const FlashAddress slot = SlotAt(block, number);
  if (slot == pending_) return;
  SettlePending();
  const Coverage& coverage = blocks_[block];
  if (!coverage.covered || number > coverage.slots) return;
  pending_ = slot;
  pending_block_ = block;
  pending_type_ = kUnusedType;
  if (number == coverage.slots) return;
  const SlotHeader header = ReadHeader(slot);
  pending_type_ = header.type;
  if (IsValid(header.word)) Remove(NameOf(header.type, header.id), slot);
}

void ItemIndex::SettlePending() {
  if (pending_ == kNothing) return;
  const FlashAddress slot = pending_;
  pending_ = kNothing;
  if (pending_type_ == kUnusedType) return ReadOn(pending_block_);
  const SlotHeader header = ReadHeader(slot);
  if (header.type != pending_type_) {
    Uncover(pending_block_);
    Cover(pending_block_);
  } else if (IsValid(header.word)) {
    Add(slot, header);
  }
}

bool ItemIndex::MakeLists() {
  lists_.Release();
  bool has_memory = true;
  ForEachValid([&](const SlotWalk& walk) { has_memory = has_memory && lists_.Count(walk.header().type); });
  lists_hold_ = has_memory && lists_.Begin();
  if (lists_hold_) ForEachValid([&](const SlotWalk& walk) { lists_.Append(walk.header().type, walk.slot()); });
  return lists_hold_;
}

u16 ItemIndex::FirstFreeId(u16 type) {
  u16* const first_free = first_free_.At(type);
  u16 id = first_free != nullptr ? *first_free : u16{0};
  while (id != kAnyId && Find(type, id, 0).slot != 0) ++id;
  if (first_free != nullptr) *first_free = id;
  return id;
}

}  // namespace vok
