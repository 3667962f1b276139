#include "store/write/ids.h"

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/directory.h"
#include "store/read/value_set.h"
#include "store/volume/index/acceleration.h"
#include "vok/store.h"

namespace vok {

u16 MakeItemId(const PartitionRecord& partition, u16 type) {
  if (const u16 id = DirFirstFreeId(partition, type); id != kAnyId) return id;
  // Hooks of the program's own may refuse the memory of a value set, and then there is no ID.
  if (OwnHooks() == nullptr)
    if (ItemIndex* const index = IndexOf(partition)) return index->FirstFreeId(type);
  ValueSetChunk* set = nullptr;
  if (BuildValueSet(partition, type, set) != code::kOk) return kAnyId;
  const u16 id = ValueSetFirstFree(*set);
  FreeValueSet(set);
  return id;
}

u16 MakeId(u8 partition, u16 type, u16* id) {
  if (u16 code = CheckPartitionWritable(partition)) return code;
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  if (id == nullptr) return Fail(code::kInvalidParameter);
  PartitionRecord& record = PartitionAt(partition);
  const LockGuard lock(PartitionLock(record));
  *id = MakeItemId(record, type);
  return *id != kAnyId ? code::kOk : Fail(code::kCannotMakeId);
}

u16 GetItemIdSet(u8 partition, u16 type, ValueSetChunk** set) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  if (set == nullptr) return Fail(code::kInvalidParameter);
  return BuildValueSet(PartitionAt(partition), type, *set);
}

u16 FreeItemIdSet(ValueSetChunk* set) {
  FreeValueSet(set);
  return code::kOk;
}

}  // namespace vok
