#include <cstring>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/index/acceleration.h"
#include "store/volume/lock_table.h"
#include "store/volume/records.h"
#include "vok/store.h"

namespace vok {

namespace {

constexpr u8 kConfigured = 1;
constexpr u8 kNotUsed = 2;
/// No address of a partition, of a slot or record in it or of what a damaged location word names wraps around.
constexpr FlashAddress kHighestBase = FlashAddress{1} << 63;

enum class PartitionKind : u8 { kReadWrite, kReadOnly, kWriteOnce, kInvalid };

PartitionKind KindOf(const PartitionDescriptor& descriptor) { return static_cast<PartitionKind>(descriptor.flags & 3); }

/// The partition's locks: two, unless it is read-only, and one for its directory.
bool HasLock(const PartitionRecord& partition, u32 index) {
  return index < 2 ? !IsReadOnly(partition) : partition.directory_arena != nullptr;
}

u16 CreateLocks(PartitionRecord& partition) {
  for (u32 i = 0; i < 3; ++i) {
    if (!HasLock(partition, i)) continue;
    const u16 code = Hooks().CreateLock(&partition.locks[i]);
    if (code == code::kOk) continue;
    while (i-- > 0)
      if (HasLock(partition, i)) Hooks().DeleteLock(&partition.locks[i]);
    return Fail(code);
  }
  return code::kOk;
}

void DeleteLocks(PartitionRecord& partition) {
  for (u32 i = 0; i < 3; ++i)
    if (HasLock(partition, i)) Hooks().DeleteLock(&partition.locks[i]);
}

void ReleaseTable(void* table) {
  if (table != nullptr) Hooks().Release(table);
}

void FreePartition(PartitionRecord& partition) {
  if (partition.descriptor_state != kConfigured) return;
  DeleteLocks(partition);
  ReleaseTable(partition.block_table);
  ReleaseTable(partition.lock_table);
  ReleaseTable(partition.handle_table);
}

HookArray<BlockRecord> CreateBlockTable(const PartitionRecord& partition, FlashAddress base) {
  HookArray<BlockRecord> table = AllocateArray<BlockRecord>(partition.block_count);
  if (table == nullptr) return table;
  for (u32 i = 0; i < partition.block_count; ++i) {
    table[i].base = base + u64{i} * partition.block_size;
    ResetBlockRecord(partition, table[i]);
  }
  return table;
}

/// Allocates the three tables, or none. @return 0, or 128
u16 CreateTables(PartitionRecord& partition, const PartitionDescriptor& descriptor) {
  HookArray<BlockRecord> blocks = CreateBlockTable(partition, descriptor.base);
  if (blocks == nullptr) return Fail(code::kOutOfRam);

  HookArray<u16> locks;
  if (descriptor.lock_count != 0 && !IsReadOnly(partition)) {
    locks = AllocateArray<u16>(LockTable::WordCount(descriptor.lock_count, descriptor.block_count));
    if (locks == nullptr) return Fail(code::kOutOfRam);
    partition.lock_count = descriptor.lock_count;
  }

  HookArray<u64> handles;
  if (descriptor.handle_count != 0) {
    handles = AllocateArray<u64>(descriptor.handle_count);
    if (handles == nullptr) return Fail(code::kOutOfRam);
    partition.handle_count = descriptor.handle_count;
  }

  partition.block_table = blocks.release();
  partition.lock_table = locks.release();
  partition.handle_table = handles.release();
  return code::kOk;
}

u16 CheckDescriptor(const PartitionDescriptor& descriptor) {
  if (descriptor.state != kConfigured) return Fail(code::kInvalidParameter);
  const PartitionKind kind = KindOf(descriptor);
  if (kind == PartitionKind::kInvalid) return Fail(code::kInvalidParameter);
  // A read/write partition needs one block to serve as the spare of a reorganisation.
  const u16 least_blocks = kind == PartitionKind::kReadWrite ? 2 : 1;
  if (descriptor.block_count < least_blocks) return Fail(code::kInvalidBlock);
  return descriptor.base % 4 == 0 && descriptor.base <= kHighestBase ? code::kOk : Fail(code::kInvalidParameter);
}

/// Fills one record; on failure nothing of it remains to be freed.
u16 SetUpPartition(PartitionRecord& partition, const PartitionDescriptor& descriptor) {
  if (descriptor.state == kNotUsed) {
    partition.descriptor_state = kNotUsed;
    return code::kOk;
  }
  if (u16 code = CheckDescriptor(descriptor)) return code;
  if (KindOf(descriptor) == PartitionKind::kReadOnly) partition.flags |= partition_flag::kReadOnly;
  if (KindOf(descriptor) == PartitionKind::kWriteOnce) partition.flags |= partition_flag::kWriteOnce;

  partition.directory_arena = descriptor.arena;
  partition.arena_size = descriptor.arena_size;
  partition.block_size = descriptor.block_size;
  partition.block_count = descriptor.block_count;
  if (descriptor.arena != nullptr) std::memset(descriptor.arena, 0, descriptor.arena_size);

  if (u16 code = CreateLocks(partition)) return code;
  if (u16 code = CreateTables(partition, descriptor)) {
    DeleteLocks(partition);
    return code;
  }
  partition.descriptor_state = kConfigured;
  return code::kOk;
}

void TearDownPartitions(StoreRoot* root, u16 count) {
  for (u16 i = 0; i < count; ++i) FreePartition(root->partitions[i]);
  Hooks().Release(root->partitions);
  Hooks().Release(root);
}

}  // namespace

u16 SetUpPartitions(u8 count, const PartitionDescriptor* descriptors) {
  if (store_root != nullptr) return Fail(code::kInitializedAlready);
  if (count == 0 || descriptors == nullptr) return Fail(code::kInvalidParameter);

  HookArray<StoreRoot> root = AllocateArray<StoreRoot>(1);
  if (root == nullptr) return Fail(code::kOutOfRam);
  HookArray<PartitionRecord> partitions = AllocateArray<PartitionRecord>(count);
  if (partitions == nullptr) return Fail(code::kOutOfRam);
  root[0].partition_count = count;
  root[0].partitions = partitions.release();

  for (u16 i = 0; i < count; ++i) {
    if (u16 code = SetUpPartition(root[0].partitions[i], descriptors[i])) {
      TearDownPartitions(root.release(), i);
      return code;
    }
  }
  store_root = root.release();
  return code::kOk;
}

u16 TerminateStore() {
  StoreRoot* root = nullptr;
  {
    StoreLock lock;
    if (store_root == nullptr) return Fail(code::kUninitialized);
    // No operation finds the store from here on, while its records are being freed.
    root = store_root;
    store_root = nullptr;
  }
  DropAcceleration();
  TearDownPartitions(root, root->partition_count);
  return code::kOk;
}

}  // namespace vok
