#include "operations.h"

#include <algorithm>

namespace vok::sweep {

namespace {

constexpr u8 kPlainMode = 0;
constexpr u8 kJournalled = 1;
constexpr u8 kByCopy = 2;
constexpr u32 kAtEnd = 0xFFFFFFFF;
constexpr u32 kPartOffset = 5;
constexpr u32 kLargePartOffset = 2;

u16 Write(u8 mode, ItemName name, const Bytes& bytes) {
  return WriteItem(0, mode, name.type, &name.id, bytes.data(), static_cast<u32>(bytes.size()));
}
u16 WritePart(u8 mode, const Inputs& in, const Bytes& bytes, u32 offset) {
  const auto length = static_cast<u32>(bytes.size());
  return WriteItemPart(0, mode, in.changed.type, in.changed.id, bytes.data(), length, offset);
}
u16 Rename(u8 mode, const Inputs& in) {
  u16 id = in.fresh.id;
  return RenameItem(0, mode, in.fresh.type, &id, in.changed.type, in.changed.id);
}
u16 Reorganise(Rig&, const Inputs& in) { return ReorganiseBlock(0, in.block, 0); }
u16 NewItem(Rig&, const Inputs& in) { return Write(kJournalled, in.fresh, in.small); }

void PutPart(Items& items, const Inputs& in, const Bytes& part, u32 offset) {
  Bytes& bytes = items[in.changed];
  if (offset == kAtEnd) offset = static_cast<u32>(bytes.size());
  if (bytes.size() < offset + part.size()) bytes.resize(offset + part.size());
  std::copy(part.begin(), part.end(), bytes.begin() + offset);
}

void Keep(Items&, const Inputs&) {}
void Clear(Items& items, const Inputs&) { items.clear(); }
void DeleteChanged(Items& items, const Inputs& in) { items.erase(in.changed); }
void AddNew(Items& items, const Inputs& in) { items[in.fresh] = in.small; }
void Replace(Items& items, const Inputs& in) { items[in.changed] = in.longer; }
void RenameChanged(Items& items, const Inputs& in) {
  items[in.fresh] = items[in.changed];
  items.erase(in.changed);
}
void ChangePart(Items& items, const Inputs& in) { PutPart(items, in, in.part, kPartOffset); }
void ChangeLargePart(Items& items, const Inputs& in) { PutPart(items, in, in.large_part, kLargePartOffset); }
void Append(Items& items, const Inputs& in) { PutPart(items, in, in.part, kAtEnd); }

/// The changed item's neighbours, as far as there are any.
u16 Below(u16 number) { return static_cast<u16>(number - (number > 0)); }
u16 Above(u16 number) { return static_cast<u16>(number + (number < 0xFFFE)); }
u16 DeleteIds(Rig&, const Inputs& in) {
  return DeleteItemRange(0, in.changed.type, Below(in.changed.id), Above(in.changed.id));
}
void DropIds(Items& items, const Inputs& in) {
  std::erase_if(items, [&](const auto& item) {
    return item.first.type == in.changed.type && item.first.id >= Below(in.changed.id) &&
           item.first.id <= Above(in.changed.id);
  });
}
u16 LowerType(const Inputs& in) { return in.changed.type > 1 ? Below(in.changed.type) : in.changed.type; }
u16 DeleteTypes(Rig&, const Inputs& in) { return DeleteTypeRange(0, LowerType(in), in.changed.type); }
void DropTypes(Items& items, const Inputs& in) {
  std::erase_if(
      items, [&](const auto& item) { return item.first.type >= LowerType(in) && item.first.type <= in.changed.type; });
}

std::vector<VOKITEM> AllItems(const Inputs& inputs) {
  std::vector<VOKITEM> items;
  for (const auto& [name, bytes] : Items{{{5, 1}, inputs.small}, {{7, 3}, inputs.old_bytes}, {{9, 0}, {}}}) {
    VOKITEM& item = items.emplace_back();
    item.Type = name.type;
    item.Id = name.id;
    item.Data = bytes;
  }
  return items;
}
void PutAllItems(Items& items, const Inputs& inputs) {
  items.clear();
  for (const VOKITEM& item : AllItems(inputs)) items[{item.Type, item.Id}] = item.Data;
}
u16 WriteAll(Rig& rig, const Inputs& inputs) {
  try {
    rig.worker().WriteAllVOK(AllItems(inputs));
  } catch (const VokError& error) {
    return static_cast<u16>(error.Code);
  }
  return 0;
}
u16 EraseRetired(Rig&, const Inputs&) {
  u16 block = 0xFFFF;
  return EraseRetiredBlock(0, &block);
}

}  // namespace

Inputs::Inputs(u64 with_seed, ItemName changed_item, const Bytes& its_bytes)
    : seed(with_seed),
      changed(changed_item),
      fresh{9, 4},
      old_bytes(its_bytes),
      same_length(Noise(Mix(seed, 2), static_cast<u32>(old_bytes.size()))),
      longer(Noise(Mix(seed, 3), static_cast<u32>(old_bytes.size()) + 7)),
      small(Noise(Mix(seed, 4), 9 + static_cast<u32>(seed % 8))),
      part(Noise(Mix(seed, 5), 5 + static_cast<u32>(seed % 3))),
      large_part(Noise(Mix(seed, 6), static_cast<u32>(old_bytes.size()) - kLargePartOffset)) {}

u32 IndexOf(const Operation& operation) { return static_cast<u32>(&operation - Operations().data()); }

const Operation* FindOperation(const std::string& name) {
  const auto& all = Operations();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Operation& one) { return one.name == name; });
  return found != all.end() ? &*found : nullptr;
}

const std::vector<Operation>& Operations() {
  using I = const Inputs&;
  using enum Order;
  using enum Start;
  static const std::vector<Operation> operations = {
      {"write", "new item", kJoint, false, kMounted, NewItem, AddNew},
      {"rewrite", "same-length rewrite", kJoint, true, kMounted,
       [](Rig&, I in) { return Write(kJournalled, in.changed, in.same_length); },
       [](Items& items, I in) { items[in.changed] = in.same_length; }},
      {"replace", "replacement", kJoint, false, kMounted,
       [](Rig&, I in) { return Write(kJournalled, in.changed, in.longer); }, Replace},
      {"replace-plain", "replacement, plain", kPlain, false, kMounted,
       [](Rig&, I in) { return Write(kPlainMode, in.changed, in.longer); }, Replace},
      {"part", "part write in place", kJoint, true, kMounted,
       [](Rig&, I in) { return WritePart(kJournalled, in, in.part, kPartOffset); }, ChangePart},
      {"part-plain", "part write in place, plain", kJoint, true, kMounted,
       [](Rig&, I in) { return WritePart(kPlainMode, in, in.part, kPartOffset); }, ChangePart},
      {"part-copy", "part write by copy", kJoint, false, kMounted,
       [](Rig&, I in) { return WritePart(kJournalled, in, in.large_part, kLargePartOffset); }, ChangeLargePart},
      {"part-copy-plain", "part write by copy, plain", kPlain, false, kMounted,
       [](Rig&, I in) { return WritePart(kByCopy, in, in.part, kPartOffset); }, ChangePart},
      {"append", "append", kJoint, false, kMounted,
       [](Rig&, I in) { return WritePart(kJournalled, in, in.part, kAtEnd); }, Append},
      {"append-plain", "append, plain", kPlain, false, kMounted,
       [](Rig&, I in) { return WritePart(kPlainMode, in, in.part, kAtEnd); }, Append},
      {"rename", "rename", kJoint, false, kMounted, [](Rig&, I in) { return Rename(kJournalled, in); }, RenameChanged},
      {"rename-plain", "rename, plain", kPlain, false, kMounted, [](Rig&, I in) { return Rename(kPlainMode, in); },
       RenameChanged},
      {"delete", "delete", kJoint, false, kMounted,
       [](Rig&, I in) { return DeleteItem(0, in.changed.type, in.changed.id); }, DeleteChanged},
      {"delete-ids", "range delete of IDs", kEach, false, kMounted, DeleteIds, DropIds},
      {"delete-types", "range delete of types", kEach, false, kMounted, DeleteTypes, DropTypes},
      {"reorganise", "reorganise, no room elsewhere", kJoint, false, kMounted, Reorganise, Keep},
      {"reorganise-elsewhere", "reorganise, room elsewhere", kJoint, false, kMounted, Reorganise, Keep},
      {"erase", "erase of a Retired block", kJoint, false, kRetired, EraseRetired, Keep},
      {"open", "opening a Free block", kJoint, false, kMounted, NewItem, AddNew},
      {"format", "format mount", kEach, false, kSetUp, [](Rig& rig, I) { return rig.Mount(0); }, Clear},
      {"default", "default formatting", kJoint, false, kTerminated,
       [](Rig& rig, I) { return rig.worker().BuildDefaultVOKHeaders(); }, Keep},
      {"default-3", "default formatting, three blocks", kJoint, false, kTerminated,
       [](Rig& rig, I) { return rig.worker().BuildDefaultVOKHeaders(); }, Keep},
      {"write-all", "WriteAllVOK", kEach, false, kTerminated, WriteAll, PutAllItems},
  };
  return operations;
}

}  // namespace vok::sweep
