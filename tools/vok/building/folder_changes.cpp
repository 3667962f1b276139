#include "building/folder_changes.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>

#include "base/failure.h"
#include "building/item_change.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

using ItemName = std::pair<u16, u16>;

struct FolderItem {
  ItemEntry entry;
  const PackedItem* item;
};
using FolderItems = std::map<ItemName, FolderItem>;

FolderItems ItemsOf(const PackedSection& packed) {
  FolderItems items;
  for (const PackedItem& item : packed.items) {
    const ItemEntry entry{
        .type = item.type, .id = item.id, .length = static_cast<u32>(item.bytes.size()), .crc32 = Crc32(item.bytes)};
    items.emplace(ItemName{item.type, item.id}, FolderItem{.entry = entry, .item = &item});
  }
  return items;
}

/// Compares one section, whose items in the folder are taken one by one.
class SectionComparison {
 public:
  SectionComparison(const Section& section, const PackedSection& packed, Unheld unheld, FolderChanges& found)
      : section_(section), packed_(packed), unheld_(unheld), found_(found), items_(ItemsOf(packed)) {}

  void Run() {
    if (items_.empty() && !packed_.is_whole) return;
    VisitItems(section_, [this](const ItemEntry& entry, const Bytes& bytes) { Meet(entry, bytes); });
    for (const auto& [name, left] : items_) Add({section_.name, std::nullopt, left.entry, left.item});
  }

 private:
  void Meet(const ItemEntry& entry, const Bytes& bytes) {
    const auto held = items_.find({entry.type, entry.id});
    if (held == items_.end()) return MeetUnheld({section_.name, entry, std::nullopt, nullptr});
    if (held->second.item->bytes != bytes) Add({section_.name, entry, held->second.entry, held->second.item});
    items_.erase(held);
  }

  void MeetUnheld(FolderChange removal) {
    if (unheld_ == Unheld::kGo && packed_.is_whole) return Add(std::move(removal));
    found_.kept.push_back(std::move(removal));
  }

  void Add(FolderChange change) {
    if (section_.IsReadOnly())
      throw Failure(
          fmt::format("section {} is read-only, and the folder holds other items than the image", section_.name),
          code::kReadOnly);
    found_.changes.push_back(std::move(change));
  }

  const Section& section_;
  const PackedSection& packed_;
  Unheld unheld_;
  FolderChanges& found_;
  FolderItems items_;
};

/// What the change adds to the section.
std::int64_t GrowthOf(const FolderChange& change) {
  const auto length = [](const std::optional<ItemEntry>& item) { return item ? std::int64_t{item->length} : 0; };
  return length(change.after) - length(change.before);
}

/// Removals give room and come first, new items last.
int RankOf(const FolderChange& change) { return !change.after ? 0 : change.before ? 1 : 2; }

const ItemEntry& EntryOf(const FolderChange& change) { return change.after ? *change.after : *change.before; }

void Remove(const Section& section, const ItemEntry& item) {
  if (const u16 code = DeleteItem(section.partition(), item.type, item.id))
    throw Failure(fmt::format("cannot delete item type {} ID {}: section {}", item.type, item.id, section.name), code);
}

void Write(ChangedImage& image, const Section& section, const FolderChange& change) {
  const PackedItem& item = *change.item;
  u16 id = item.id;
  const u32 length = static_cast<u32>(item.bytes.size());
  MakeChange({.what = fmt::format("cannot write item type {} ID {}", item.type, item.id),
              .section = section,
              .length = length,
              .marker = change.before ? MarkerSize(0) : 0},
             image,
             [&] { return WriteItem(section.partition(), kJournalled, item.type, &id, item.bytes.data(), length); });
}

}  // namespace

FolderChanges CompareWithFolder(const SectionList& sections, std::span<const PackedSection> folder, Unheld unheld) {
  FolderChanges found;
  for (const PackedSection& packed : folder)
    SectionComparison(FindSection(sections, packed.name), packed, unheld, found).Run();
  std::stable_sort(found.changes.begin(), found.changes.end(), [](const FolderChange& a, const FolderChange& b) {
    return std::pair(RankOf(a), GrowthOf(a)) < std::pair(RankOf(b), GrowthOf(b));
  });
  return found;
}

void MakeFolderChanges(ChangedImage& image, std::span<const FolderChange> changes) {
  for (const FolderChange& change : changes) {
    const Section section = FindSection(image.sections(), change.section);
    if (change.after) {
      Write(image, section, change);
    } else {
      Remove(section, EntryOf(change));
    }
  }
}

}  // namespace vok::tool
