#include "store/volume/mount.h"

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/directory.h"
#include "store/volume/format.h"
#include "store/volume/records.h"
#include "store/volume/reorganise.h"
#include "store/volume/scan.h"
#include "vok/store.h"

namespace vok {

namespace {

/// The blocks that an interrupted reorganisation left in their states, or 0xFFFF.
struct ReorgBlocks {
  u16 source = kNoBlock;
  u16 target = kNoBlock;
};

/// One block without a signature is taken for an interrupted format. Two, or the only one, mean that the partition was
/// never created, and formatting would destroy whatever lies there.
u16 CheckSignatures(const PartitionRecord& partition) {
  const u16 tolerated = partition.block_count == 1 ? 0 : 1;
  u16 missing = 0;
  for (u16 i = 0; i < partition.block_count; ++i)
    if (!HasSignature(partition.block_table[i].base) && ++missing > tolerated) return Fail(code::kNeedsCreate);
  return code::kOk;
}

/// Finishes the step that a block's header shows as cut off.
u16 CheckBlockHeader(PartitionRecord& partition, u16 index, MountMode mode, ReorgBlocks& reorg) {
  BlockRecord& block = partition.block_table[index];
  const BlockStates& states = CurrentLayout().states;
  if (!HasSignature(block.base)) {
    if (mode == MountMode::kCheck) return Fail(code::kNeedsRepair);
    if (u16 code = FormatBlock(partition, block, WearSource::kFlash)) return code;
  }

  const u16 state = ReadBlockState(block);
  if (state == states.reorg_target) {
    reorg.target = index;
  } else if (state == states.reorg_source) {
    reorg.source = index;
  } else if (state == states.opening) {
    return mode == MountMode::kCheck ? Fail(code::kNeedsRepair) : EnterBlockState(block, states.active);
  } else if (state == states.erased || state == states.retired) {
    return mode == MountMode::kCheck ? Fail(code::kNeedsRepair) : FormatBlock(partition, block, WearSource::kFlash);
  }
  return code::kOk;
}

u16 CheckBlockHeaders(PartitionRecord& partition, MountMode mode, ReorgBlocks& reorg) {
  if (u16 code = CheckSignatures(partition)) return code;
  for (u16 i = 0; i < partition.block_count; ++i)
    if (u16 code = CheckBlockHeader(partition, i, mode, reorg)) return code;
  return code::kOk;
}

u16 MountExisting(PartitionRecord& partition, MountMode mode) {
  ReorgBlocks reorg;
  if (u16 code = CheckBlockHeaders(partition, mode, reorg)) return code;
  if (u16 code = ScanPartition(partition, mode)) return code;
  if (mode == MountMode::kCheck)
    return reorg.source != kNoBlock || reorg.target != kNoBlock ? Fail(code::kNeedsRepair) : code::kOk;
  return CompleteReorganisation(partition, reorg.source, reorg.target);
}

u16 MountBlocks(PartitionRecord& partition, MountMode mode) {
  if (mode > MountMode::kRepair) return Fail(code::kInvalidHandling);
  if (mode != MountMode::kCheck && IsReadOnly(partition)) return Fail(code::kReadOnly);
  return mode == MountMode::kFormat ? FormatAllBlocks(partition) : MountExisting(partition, mode);
}

}  // namespace

u16 MountPartition(u8 partition, u8 mode) {
  if (u16 code = CheckPartitionExists(partition)) return code;
  PartitionRecord& record = PartitionAt(partition);
  if (IsMounted(record)) return Fail(code::kMountFailure);
  if (u16 code = MountBlocks(record, MountMode{mode})) return code;

  DirFillFromSlots(record);
  PlaceLocationCache(record);
  record.flags |= partition_flag::kMounted;
  return code::kOk;
}

}  // namespace vok
