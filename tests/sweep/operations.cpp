#include <algorithm>

#include "scenario.h"

/// Every operation that changes the flash.

namespace vok::sweep {

namespace {

constexpr u8 kPlainMode = 0;
constexpr u8 kJournalled = 1;
constexpr u8 kByCopy = 2;
constexpr u32 kAtEnd = 0xFFFFFFFF;
constexpr u32 kPartOffset = 5;
constexpr u32 kLargePartOffset = 2;
constexpr ItemName kNew = {9, 4};
constexpr ItemName kFiller = {20, 0};
constexpr ItemName kElsewhere = {30, 0};

u16 Write(u8 mode, ItemName name, const Bytes& bytes) {
  return WriteItem(0, mode, name.type, &name.id, bytes.data(), static_cast<u32>(bytes.size()));
}
u16 WritePart(u8 mode, const Bytes& bytes, u32 offset) {
  return WriteItemPart(0, mode, kChanged.type, kChanged.id, bytes.data(), static_cast<u32>(bytes.size()), offset);
}
u16 Rename(u8 mode) {
  u16 id = kNew.id;
  return RenameItem(0, mode, kNew.type, &id, kChanged.type, kChanged.id);
}

void PutPart(Items& items, const Bytes& part, u32 offset) {
  Bytes& bytes = items[kChanged];
  if (offset == kAtEnd) offset = static_cast<u32>(bytes.size());
  if (bytes.size() < offset + part.size()) bytes.resize(offset + part.size());
  std::copy(part.begin(), part.end(), bytes.begin() + offset);
}

/// Items that no operation touches, one of them empty, one with a dead copy; and one that was deleted.
void WriteBystanders(Builder& builder, u64 seed) {
  builder.Write({5, 1}, Noise(Mix(seed, 11), 20));
  builder.Write({8, 9}, Noise(Mix(seed, 12), 40));
  builder.Write({5, 2}, {});
  builder.Write({6, 0}, Noise(Mix(seed, 13), 33));
  builder.Write({5, 1}, Noise(Mix(seed, 14), 27));
  builder.Delete({8, 9});
}

void PrepareBase(Builder& builder, const Inputs& inputs, Fill fill, u32 left, bool with_item) {
  if (fill != Fill::kEmpty) WriteBystanders(builder, inputs.seed);
  if (with_item) builder.Write(kChanged, inputs.old_bytes);
  if (fill != Fill::kEmpty) builder.FillTo(left, kFiller, inputs.seed);
}
void PrepareNew(Builder& builder, const Inputs& inputs, Fill fill, u32 left) {
  PrepareBase(builder, inputs, fill, left, false);
}
void PrepareItem(Builder& builder, const Inputs& inputs, Fill fill, u32 left) {
  PrepareBase(builder, inputs, fill, left, true);
}
void PrepareRange(Builder& builder, const Inputs& inputs, Fill fill, u32 left) {
  for (u16 id : std::initializer_list<u16>{2, 4, 9}) builder.Write({7, id}, Noise(Mix(inputs.seed, id), 10u + id));
  PrepareItem(builder, inputs, fill, left);
}
/// The block to be reorganised has a dead slot before its first Valid one.
void PrepareReorganise(Builder& builder, const Inputs& inputs, Fill fill, u32 left) {
  builder.Write({8, 1}, Noise(inputs.seed, 15));
  builder.Delete({8, 1});
  PrepareItem(builder, inputs, fill, left);
}
/// Two Active blocks: the second is opened by filling the first, whose fillers then go again as far as the fill says.
void PrepareElsewhere(Builder& builder, const Inputs& inputs, Fill fill, u32) {
  WriteBystanders(builder, inputs.seed);
  builder.Write(kChanged, inputs.old_bytes);
  builder.FillTo(0, kFiller, inputs.seed);
  builder.Write(kElsewhere, inputs.longer);
  const u32 room = builder.Room();
  if (fill == Fill::kHalf) builder.FillTo(room / 2, {31, 0}, Mix(inputs.seed, 3));
  if (fill == Fill::kFull) builder.FillTo(room / 16, {31, 0}, Mix(inputs.seed, 3));
  if (fill == Fill::kNearlyFull) builder.FillTo(room / 100 & ~3u, {31, 0}, Mix(inputs.seed, 3));
  if (fill == Fill::kEmpty || fill == Fill::kHalf) builder.Delete(kFiller);
  if (fill == Fill::kEmpty) builder.Delete({kFiller.type, 1});
}
/// All in use is so full that the new item needs the block that is left to open.
void PrepareOpen(Builder& builder, const Inputs& inputs, Fill fill, u32) {
  if (fill == Fill::kEmpty) return;
  WriteBystanders(builder, inputs.seed);
  if (fill == Fill::kHalf) builder.Write({10, 1}, Noise(inputs.seed, 100));
  builder.FillTo(fill == Fill::kFull ? 0 : 12, kFiller, inputs.seed);
  if (fill == Fill::kHalf) builder.Delete(kFiller);
}
void PrepareErased(Builder& builder, const Inputs&, Fill, u32) {
  builder.rig().Load(Bytes(builder.rig().size(), 0xFF));
}

void Keep(Items&, const Inputs&) {}
void Clear(Items& items, const Inputs&) { items.clear(); }
void DeleteChanged(Items& items, const Inputs&) { items.erase(kChanged); }
void AddNew(Items& items, const Inputs& inputs) { items[kNew] = inputs.small; }
void Replace(Items& items, const Inputs& inputs) { items[kChanged] = inputs.longer; }
void RenameChanged(Items& items, const Inputs&) {
  items[kNew] = items[kChanged];
  items.erase(kChanged);
}
void ChangePart(Items& items, const Inputs& inputs) { PutPart(items, inputs.part, kPartOffset); }
void ChangeLargePart(Items& items, const Inputs& inputs) { PutPart(items, inputs.large_part, kLargePartOffset); }
void Append(Items& items, const Inputs& inputs) { PutPart(items, inputs.part, kAtEnd); }

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

Inputs::Inputs(u64 with_seed)
    : seed(with_seed),
      old_bytes(Noise(Mix(seed, 1), 24 + static_cast<u32>(seed % 9))),
      same_length(Noise(Mix(seed, 2), static_cast<u32>(old_bytes.size()))),
      longer(Noise(Mix(seed, 3), 31 + static_cast<u32>(seed % 7))),
      small(Noise(Mix(seed, 4), 9 + static_cast<u32>(seed % 8))),
      part(Noise(Mix(seed, 5), 5 + static_cast<u32>(seed % 3))),
      large_part(Noise(Mix(seed, 6), static_cast<u32>(old_bytes.size()) - kLargePartOffset)) {}

const std::vector<Operation>& Operations() {
  using I = const Inputs&;
  using enum Order;
  using enum Start;
  static const std::vector<Operation> operations = {
      {"new", "new item", 2, kJoint, false, kMounted, PrepareNew,
       [](Rig&, I in) { return Write(kJournalled, kNew, in.small); }, AddNew, false},
      {"rewrite", "same-length rewrite", 2, kJoint, true, kMounted, PrepareItem,
       [](Rig&, I in) { return Write(kJournalled, kChanged, in.same_length); },
       [](Items& items, I in) { items[kChanged] = in.same_length; }, false},
      {"replace", "replacement", 2, kJoint, false, kMounted, PrepareItem,
       [](Rig&, I in) { return Write(kJournalled, kChanged, in.longer); }, Replace, false},
      {"replace-plain", "replacement, plain", 2, kPlain, false, kMounted, PrepareItem,
       [](Rig&, I in) { return Write(kPlainMode, kChanged, in.longer); }, Replace, false},
      {"part", "part write in place", 2, kJoint, true, kMounted, PrepareItem,
       [](Rig&, I in) { return WritePart(kJournalled, in.part, kPartOffset); }, ChangePart, false},
      {"part-plain", "part write in place, plain", 2, kJoint, true, kMounted, PrepareItem,
       [](Rig&, I in) { return WritePart(kPlainMode, in.part, kPartOffset); }, ChangePart, false},
      {"part-copy", "part write by copy", 2, kJoint, false, kMounted, PrepareItem,
       [](Rig&, I in) { return WritePart(kJournalled, in.large_part, kLargePartOffset); }, ChangeLargePart, false},
      {"part-copy-plain", "part write by copy, plain", 2, kPlain, false, kMounted, PrepareItem,
       [](Rig&, I in) { return WritePart(kByCopy, in.part, kPartOffset); }, ChangePart, false},
      {"append", "append", 2, kJoint, false, kMounted, PrepareItem,
       [](Rig&, I in) { return WritePart(kJournalled, in.part, kAtEnd); }, Append, false},
      {"append-plain", "append, plain", 2, kPlain, false, kMounted, PrepareItem,
       [](Rig&, I in) { return WritePart(kPlainMode, in.part, kAtEnd); }, Append, false},
      {"rename", "rename", 2, kJoint, false, kMounted, PrepareItem, [](Rig&, I) { return Rename(kJournalled); },
       RenameChanged, false},
      {"rename-plain", "rename, plain", 2, kPlain, false, kMounted, PrepareItem,
       [](Rig&, I) { return Rename(kPlainMode); }, RenameChanged, false},
      {"delete", "delete", 2, kJoint, false, kMounted, PrepareItem,
       [](Rig&, I) { return DeleteItem(0, kChanged.type, kChanged.id); }, DeleteChanged, false},
      {"delete-ids", "range delete of IDs", 2, kEach, false, kMounted, PrepareRange,
       [](Rig&, I) { return DeleteItemRange(0, 7, 2, 4); },
       [](Items& items, I) { std::erase_if(items, [](const auto& i) { return i.first.type == 7 && i.first.id < 5; }); },
       false},
      {"delete-types", "range delete of types", 2, kEach, false, kMounted, PrepareRange,
       [](Rig&, I) { return DeleteTypeRange(0, 6, 7); },
       [](Items& items, I) {
         std::erase_if(items, [](const auto& i) { return i.first.type == 6 || i.first.type == 7; });
       },
       false},
      {"reorganise", "reorganise, no room elsewhere", 2, kJoint, false, kMounted, PrepareReorganise,
       [](Rig&, I) { return ReorganiseBlock(0, 1, 0); }, Keep, false},
      {"reorganise-elsewhere", "reorganise, room elsewhere", 3, kJoint, false, kMounted, PrepareElsewhere,
       [](Rig&, I) { return ReorganiseBlock(0, 2, 0); }, Keep, false},
      {"erase", "erase of a Retired block", 2, kJoint, false, kRetired, PrepareItem, EraseRetired, Keep, false},
      {"open", "opening a Free block", 3, kJoint, false, kMounted, PrepareOpen,
       [](Rig&, I in) {
         return Write(kJournalled, {10, 0}, in.small);
       },
       [](Items& items, I in) {
         items[{10, 0}] = in.small;
       },
       false},
      {"format", "format mount", 2, kEach, false, kSetUp, PrepareItem, [](Rig& rig, I) { return rig.Mount(0); }, Clear,
       false},
      {"default", "default formatting", 2, kJoint, false, kTerminated, PrepareErased,
       [](Rig& rig, I) { return rig.worker().BuildDefaultVOKHeaders(); }, Keep, true},
      {"default-3", "default formatting, three blocks", 3, kJoint, false, kTerminated, PrepareErased,
       [](Rig& rig, I) { return rig.worker().BuildDefaultVOKHeaders(); }, Keep, true},
      {"write-all", "WriteAllVOK", 2, kEach, false, kTerminated, PrepareErased, WriteAll, PutAllItems, true},
  };
  return operations;
}

}  // namespace vok::sweep
