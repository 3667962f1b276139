#include "store/read/value_set.h"

#include <bit>
#include <memory>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/slots.h"

namespace vok {

namespace {

constexpr u32 kValuesPerChunk = 1024;
constexpr u32 kValuesPerWord = 16;
constexpr u32 kWordsPerChunk = kValuesPerChunk / kValuesPerWord;

struct SetDeleter {
  void operator()(ValueSetChunk* set) const { FreeValueSet(set); }
};
using OwnedSet = std::unique_ptr<ValueSetChunk, SetDeleter>;

u16 BaseOf(u16 value) { return static_cast<u16>(value & ~(kValuesPerChunk - 1)); }

ValueSetChunk* MakeChunk(u16 base) {
  HookArray<ValueSetChunk> chunk = AllocateArray<ValueSetChunk>(1);
  if (chunk == nullptr) {
    Fail(code::kOutOfRam);
    return nullptr;
  }
  chunk[0].base = base;
  return chunk.release();
}

const ValueSetChunk* FindChunk(const ValueSetChunk& set, u16 base) {
  const ValueSetChunk* chunk = &set;
  while (chunk != nullptr && chunk->base != base) chunk = chunk->next;
  return chunk;
}

/// The chunk with the smallest base above @p base, or null.
const ValueSetChunk* NextChunk(const ValueSetChunk& set, u16 base) {
  const ValueSetChunk* next = nullptr;
  for (const ValueSetChunk* chunk = &set; chunk != nullptr; chunk = chunk->next)
    if (chunk->base > base && (next == nullptr || chunk->base < next->base)) next = chunk;
  return next;
}

/// The lowest value present in a chunk from the given place on.
bool FirstPresent(const ValueSetChunk& chunk, u32 from, u16& value) {
  u32 word = from / kValuesPerWord;
  u32 bits = chunk.bitmap[word] & (0xFFFFu << from % kValuesPerWord);
  while (bits == 0 && ++word < kWordsPerChunk) bits = chunk.bitmap[word];
  if (word >= kWordsPerChunk) return false;
  value = static_cast<u16>(chunk.base + word * kValuesPerWord + static_cast<u32>(std::countr_zero(bits)));
  return true;
}

u16 InsertFromSlot(ValueSetChunk& set, u16 key, const SlotHeader& header) {
  if (!IsValid(header.word) || (key != kKeyOfTypes && header.type != key)) return code::kOk;
  const u16 code = ValueSetInsert(set, key != kKeyOfTypes ? header.id : header.type);
  return code == code::kTargetExists ? code::kOk : code;
}

}  // namespace

u16 BuildValueSet(const PartitionRecord& partition, u16 key, ValueSetChunk*& set) {
  set = nullptr;
  OwnedSet building(MakeChunk(0));
  if (building == nullptr) return code::kOutOfRam;
  building->key = key;
  for (u16 i = 0; i < partition.block_count; ++i) {
    const BlockRecord& block = partition.block_table[i];
    if (!IsSearched(block)) continue;
    for (SlotWalk walk(partition, block); walk.AtSlot(); walk.Advance())
      if (u16 code = InsertFromSlot(*building, key, walk.header())) return code;
  }
  set = building.release();
  return code::kOk;
}

void FreeValueSet(ValueSetChunk* set) {
  while (set != nullptr) {
    ValueSetChunk* next = set->next;
    Hooks().Release(set);
    set = next;
  }
}

u16 ValueSetInsert(ValueSetChunk& set, u16 value) {
  ValueSetChunk* chunk = &set;
  while (chunk->base != BaseOf(value)) {
    if (chunk->next == nullptr) {
      chunk->next = MakeChunk(BaseOf(value));
      if (chunk->next == nullptr) return code::kOutOfRam;
    }
    chunk = chunk->next;
  }
  u16& word = chunk->bitmap[value % kValuesPerChunk / kValuesPerWord];
  const auto bit = static_cast<u16>(1u << value % kValuesPerWord);
  if ((word & bit) != 0) return code::kTargetExists;
  word |= bit;
  ++chunk->count;
  return code::kOk;
}

u16 ValueSetFirstFree(const ValueSetChunk& set) {
  for (u32 base = 0; base <= 0xFFFF; base += kValuesPerChunk) {
    const ValueSetChunk* chunk = FindChunk(set, static_cast<u16>(base));
    if (chunk == nullptr) return static_cast<u16>(base);
    if (chunk->count >= kValuesPerChunk) continue;
    u32 word = 0;
    while (word + 1 < kWordsPerChunk && chunk->bitmap[word] == 0xFFFF) ++word;
    return static_cast<u16>(base + word * kValuesPerWord + static_cast<u32>(std::countr_one(chunk->bitmap[word])));
  }
  return kAnyId;
}

bool ValueSetNext(const ValueSetChunk& set, u16 from, u16& value) {
  const ValueSetChunk* chunk = FindChunk(set, BaseOf(from));
  if (chunk != nullptr && FirstPresent(*chunk, from % kValuesPerChunk, value)) return true;
  u16 base = BaseOf(from);
  while ((chunk = NextChunk(set, base)) != nullptr) {
    if (FirstPresent(*chunk, 0, value)) return true;
    base = chunk->base;
  }
  return false;
}

u32 ValueSetSize(const ValueSetChunk& set) {
  u32 size = 0;
  for (const ValueSetChunk* chunk = &set; chunk != nullptr; chunk = chunk->next) size += chunk->count;
  return size;
}

}  // namespace vok
