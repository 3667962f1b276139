#include "salvage.h"

#include <algorithm>

#include "flash/image.h"

namespace vok::tool {

namespace {

using Payload = std::span<const u8>;

/// The candidates for an item, the one to take first.
struct Ranking {
  std::vector<CopyView> copies;
  Choice why;
};

Payload PayloadOf(const CopyView& copy) {
  const ItemRecord& record = copy.slot->record;
  return {VirtualMemoryAddress(record.payload()), record.length};
}

bool IsReplaced(const SectionCopies& copies, const ItemKey& name) {
  return std::any_of(copies.journal.begin(), copies.journal.end(), [&name](const JournalEntry& entry) {
    return entry.kind == journal::kReplace && entry.type == name.type && entry.id == name.id;
  });
}

/// Two copies in searched blocks: the store would finish a replacement by retiring the one that it meets first.
Ranking RankSearched(const SectionCopies& copies, const ItemKey& name, const CopiesOfItem& item) {
  Ranking ranking{.copies = item.searched, .why = Choice::kMetFirst};
  std::vector<CopyView>& ranked = ranking.copies;
  if (IsReplaced(copies, name)) {
    ranking.why = Choice::kReplaced;
    std::rotate(ranked.begin(), ranked.begin() + 1, ranked.end());
  }
  const SlotView* const choice_of_store = ranked.front().slot;
  std::stable_partition(ranked.begin(), ranked.end(), [](const CopyView& copy) { return copy.contiguous; });
  if (ranked.front().slot != choice_of_store) ranking.why = Choice::kContiguous;
  return ranking;
}

Ranking RankValid(const SectionCopies& copies, const ItemKey& name, const CopiesOfItem& item) {
  Ranking ranking{.copies = item.searched, .why = Choice::kSearched};
  if (item.searched.size() > 1) ranking = RankSearched(copies, name, item);
  ranking.copies.insert(ranking.copies.end(), item.elsewhere.begin(), item.elsewhere.end());
  if (item.searched.empty()) ranking.why = Choice::kMetFirst;
  if (ranking.copies.size() == 1) ranking.why = Choice::kOnlyCopy;
  return ranking;
}

/// A rename carries the bytes of an item that is gone under its own name.
bool IsRenamedFromDead(const SectionCopies& copies, const CopyView& fresh) {
  return std::any_of(copies.dead.begin(), copies.dead.end(), [&](const CopyView& old) {
    const SlotHeader& header = old.slot->header;
    return !copies.items.at({.type = header.type, .id = header.id}).HasCandidate() &&
           std::ranges::equal(PayloadOf(old), PayloadOf(fresh));
  });
}

/// Whether the bytes are those of a Valid item, or on the way to be: a rename that was cut off before it retired the
/// item under its old name. An empty item tells nothing.
bool IsRenameUnderWay(const SectionCopies& copies, const CopyView& fresh) {
  if (fresh.slot->record.length == 0) return false;
  const auto becomes = [bytes = PayloadOf(fresh)](const CopyView& copy) {
    const auto keeps_its_bits = [](u8 now, u8 then) { return (now & then) == then; };
    return std::ranges::equal(bytes, PayloadOf(copy), keeps_its_bits);
  };
  return std::ranges::any_of(copies.items,
                             [&](const auto& item) { return std::ranges::any_of(item.second.searched, becomes); });
}

/// Without a journal record the old copy is retired before the new one is committed, so that a cut in between leaves no
/// Valid one. An item that never was there is not brought back: its write had not come to its end.
Ranking RankUnfinished(const SectionCopies& copies, const CopiesOfItem& item) {
  Ranking ranking{.copies = item.unfinished, .why = Choice::kUnfinishedWrite};
  std::erase_if(ranking.copies, [&](const CopyView& fresh) {
    return item.has_dead ? IsRenameUnderWay(copies, fresh) : !IsRenamedFromDead(copies, fresh);
  });
  return ranking;
}

CopyState StateOf(u32 word) {
  if (IsValid(word)) return CopyState::kValid;
  return IsUnfinished(word) ? CopyState::kUnfinished : CopyState::kHalfCommitted;
}

SalvagedCopy Describe(const CopyView& copy) {
  return {.block = copy.block->index,
          .slot = copy.slot->number,
          .searched = copy.IsSearched(),
          .state = StateOf(copy.slot->header.word)};
}

SalvagedItem Take(const ItemKey& name, const Ranking& ranking) {
  const Payload bytes = PayloadOf(ranking.copies.front());
  SalvagedItem item{.type = name.type,
                    .id = name.id,
                    .bytes = {bytes.begin(), bytes.end()},
                    .taken = Describe(ranking.copies.front()),
                    .others = {},
                    .why = ranking.why,
                    .old_name = {}};
  for (std::size_t i = 1; i < ranking.copies.size(); ++i) item.others.push_back(Describe(ranking.copies[i]));
  return item;
}

using ItemIterator = std::vector<SalvagedItem>::iterator;

/// @return the end when there is no such item
ItemIterator Find(std::vector<SalvagedItem>& items, const ItemKey& name) {
  const auto found = std::lower_bound(
      items.begin(), items.end(), name,
      [](const SalvagedItem& item, const ItemKey& key) { return ItemKey{.type = item.type, .id = item.id} < key; });
  return found != items.end() && found->type == name.type && found->id == name.id ? found : items.end();
}

void FinishPartWrite(const JournalEntry& entry, std::vector<SalvagedItem>& items) {
  const ItemIterator item = Find(items, {.type = entry.type, .id = entry.id});
  if (item == items.end() || entry.data_length == 0) return;
  if (u64{entry.offset} + entry.data_length > item->bytes.size()) return;
  CopyFromFlash(item->bytes.data() + entry.offset, entry.data, entry.data_length);
  ++item->part_writes;
}

/// Once the item stands under its new name, the old one goes.
void FinishRename(const JournalEntry& entry, std::vector<SalvagedItem>& items) {
  const ItemKey fresh{.type = entry.type, .id = entry.id};
  const ItemKey old{.type = ReadFlashWord16(entry.data), .id = ReadFlashWord16(entry.data + 2)};
  const ItemIterator renamed = Find(items, fresh);
  const ItemIterator dropped = Find(items, old);
  if (old == fresh || renamed == items.end() || dropped == items.end()) return;
  renamed->old_name = old;
  items.erase(dropped);
}

}  // namespace

std::vector<BlockView> ViewForSalvage(const PartitionRecord& partition) {
  std::vector<BlockView> blocks;
  for (u16 i = 0; i < partition.block_count; ++i) blocks.push_back(ViewBlock(partition, i, UnreachedSlots::kRead));
  return blocks;
}

Salvaged Salvage(std::span<const BlockView> blocks) {
  const SectionCopies copies = SortCopies(blocks);
  Salvaged salvaged;
  for (const auto& [name, item] : copies.items) {
    const Ranking ranking = item.HasCandidate() ? RankValid(copies, name, item) : RankUnfinished(copies, item);
    if (!ranking.copies.empty()) {
      salvaged.items.push_back(Take(name, ranking));
      continue;
    }
    for (const CopyView& copy : item.damaged)
      salvaged.damaged.push_back({.type = name.type, .id = name.id, .copy = Describe(copy)});
  }
  for (const JournalEntry& entry : copies.journal) {
    if (entry.kind == journal::kPartialWrite) FinishPartWrite(entry, salvaged.items);
    if (entry.kind == journal::kRename) FinishRename(entry, salvaged.items);
  }
  return salvaged;
}

}  // namespace vok::tool
