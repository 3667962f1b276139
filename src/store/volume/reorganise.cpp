#include "store/volume/reorganise.h"

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/hunt.h"
#include "store/volume/lock_table.h"
#include "store/volume/space.h"
#include "vok/store.h"

namespace vok {

namespace {

constexpr u8 kForce = 1;

enum class Notice : u8 { kDealtWith = 0, kGiveUpPointers = 1 };

u16 Notify(const PartitionRecord& partition, const BlockRecord& block, u32 key, Notice notice) {
  return Hooks().NotifyClient(NumberOf(partition), key, static_cast<u32>(block.base),
                              static_cast<u32>(LastAddress(partition, block)), static_cast<u8>(notice));
}

/// Tells every client that was asked to give up its pointers that the block has been dealt with, the last lock first.
void NotifyLockOwners(PartitionRecord& partition, const BlockRecord& block) {
  LockTable locks(partition);
  for (u16 lock = locks.count(); lock-- > 0;) {
    if (locks.flag(lock) != 1 || !locks.IsRegistered(lock)) continue;
    Notify(partition, block, locks.key(lock), Notice::kDealtWith);
    locks.flag(lock) = 0;
  }
}

/// Asks the clients with pointers into a block to give them up, or refuses on their behalf.
/// @return 0; 133 without force; the answer of a client that refused
u16 ClearPointersOut(PartitionRecord& partition, u16 index, u8 force) {
  LockTable locks(partition);
  if (force == kForce)
    for (u16 lock = 0; lock < locks.count(); ++lock) locks.flag(lock) = 0;

  const BlockRecord& block = partition.block_table[index];
  for (u16 lock = 0; lock < locks.count(); ++lock) {
    if (!locks.IsRegistered(lock) || locks.pointers_out(lock, index) == 0) continue;
    if (force != kForce) return Fail(code::kPointersOut);
    if (u16 code = Notify(partition, block, locks.key(lock), Notice::kGiveUpPointers)) return Fail(code);
    locks.flag(lock) = 1;
    locks.pointers_out(lock, index) = 0;
  }
  return code::kOk;
}

u16 CheckReorganisable(u8 partition, u16 block) {
  if (u16 code = CheckPartitionWritable(partition)) return code;
  const PartitionRecord& record = PartitionAt(partition);
  if (IsWriteOnce(record)) return Fail(code::kWriteOnce);
  return block < record.block_count ? code::kOk : Fail(code::kInvalidBlock);
}

/// Programs both blocks into the reorganisation, whose RAM states they have already. The source goes first: a mount
/// that finds it without a target starts the move anew.
u16 ProgramReorgStates(BlockRecord& source, BlockRecord& target) {
  const BlockStates& states = CurrentLayout().states;
  if (u16 code = ProgramBlockState(source, states.reorg_source)) {
    SetBlockState(source, states.active);
    SetBlockState(target, states.free);
    return code;
  }
  if (u16 code = ProgramBlockState(target, states.reorg_target)) {
    SetBlockState(target, states.free);
    return code;
  }
  return code::kOk;
}

}  // namespace

u16 ReorganiseBlock(u8 partition, u16 block, u8 force) {
  if (u16 code = CheckReorganisable(partition, block)) return code;
  PartitionRecord& record = PartitionAt(partition);
  const BlockStates& states = CurrentLayout().states;
  LockGuard first_lock(PartitionLock(record));
  LockGuard second_lock(SecondPartitionLock(record));

  BlockRecord& source = record.block_table[block];
  if (source.state != states.active) return Fail(code::kInvalidBlock);
  u16 spare = kNoBlock;
  if (u16 code = FindSpareBlock(record, spare)) return code;
  BlockRecord& target = record.block_table[spare];

  // In RAM first: from here on no writer puts a record into either block.
  SetBlockState(source, states.reorg_source);
  SetBlockState(target, states.reorg_target);
  first_lock.Give();
  if (u16 code = ClearPointersOut(record, block, force)) {
    SetBlockState(source, states.active);
    SetBlockState(target, states.free);
    second_lock.Give();
    if (force == kForce) NotifyLockOwners(record, source);
    return code;
  }

  first_lock.Take();
  u16 code = ProgramReorgStates(source, target);
  first_lock.Give();
  if (code == code::kOk) {
    // A search that has passed the target already would miss the items about to move there.
    InvalidateHunts(record);
    code = MoveBlockItems(record, block, spare, MoveKind::kFresh);
  }
  second_lock.Give();
  NotifyLockOwners(record, source);
  return code;
}

}  // namespace vok
