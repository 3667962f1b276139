#include "store/read/clients.h"

#include <limits>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/lock_table.h"
#include "vok/store.h"

namespace vok {

namespace {

constexpr u16 kNoLock = std::numeric_limits<u16>::max();

/// The lowest lock registered under @p key (0 = free).
u16 FindLock(const LockTable& locks, u32 key) {
  for (u16 lock = 0; lock < locks.count(); ++lock)
    if (locks.key(lock) == key) return lock;
  return kNoLock;
}

}  // namespace

u16 CheckLockNumber(const PartitionRecord& partition, u16& lock_number) {
  const LockTable locks(partition);
  const bool registered =
      lock_number >= 1 && lock_number <= locks.count() && locks.IsRegistered(static_cast<u16>(lock_number - 1));
  if (!registered) return Fail(code::kInvalidLock);
  --lock_number;
  return code::kOk;
}

u16 RegisterClient(u8 partition, u32 client_id, u16* lock_number) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  PartitionRecord& record = PartitionAt(partition);
  if (IsReadOnly(record)) return code::kOk;
  if (client_id == 0) return Fail(code::kClientUnavailable);
  if (lock_number == nullptr) return Fail(code::kInvalidParameter);

  const StoreLock store_lock;
  LockTable locks(record);
  if (FindLock(locks, client_id) != kNoLock) {
    *lock_number = 0;
    return Fail(code::kRegisteredAlready);
  }
  const u16 lock = FindLock(locks, 0);
  if (lock == kNoLock) return Fail(code::kClientUnavailable);
  locks.set_key(lock, client_id);
  locks.flag(lock) = 0;
  for (u16 block = 0; block < record.block_count; ++block) locks.pointers_out(lock, block) = 0;
  *lock_number = static_cast<u16>(lock + 1);
  return code::kOk;
}

u16 UnregisterClient(u8 partition, u16 lock_number) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  PartitionRecord& record = PartitionAt(partition);
  if (IsReadOnly(record)) return code::kOk;
  LockTable locks(record);
  if (lock_number == 0 || lock_number > locks.count()) return Fail(code::kInvalidLock);

  const StoreLock store_lock;
  const auto lock = static_cast<u16>(lock_number - 1);
  locks.set_key(lock, 0);
  for (u16 block = 0; block < record.block_count; ++block)
    if (locks.pointers_out(lock, block) != 0) return Fail(code::kPointersOut);
  return code::kOk;
}

}  // namespace vok
