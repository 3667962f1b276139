#include "witness.h"

#include <algorithm>

namespace vok::sweep {

namespace {

constexpr std::array<const char*, kPlaceCount> kTexts = {"block header",
                                                         "block state word",
                                                         "erase",
                                                         "length word",
                                                         "payload",
                                                         "journal fields",
                                                         "bytes in place",
                                                         "slot: type, ID",
                                                         "slot: Allocated",
                                                         "slot: Valid",
                                                         "slot: Void, Deleted",
                                                         "slot: retired",
                                                         "after the last step"};

SlotState StateAfter(const Version& version, const Slot& slot, const Step& step, u32 base) {
  u32 word = slot.word;
  for (std::size_t i = 0; i < step.after.size(); ++i) {
    const u32 byte = step.address - base - slot.offset - 4 + static_cast<u32>(i);
    const u32 shift = 8 * (version.word - 1 - byte);
    word = (word & ~(0xFFu << shift)) | static_cast<u32>(step.after[i]) << shift;
  }
  return StateOf(version, word);
}

Place PlaceInSlot(const Version& version, const Slot& slot, const Step& step, u32 base) {
  const SlotState after = StateAfter(version, slot, step, base);
  if (after == SlotState::kAllocated) return Place::kAllocate;
  if (after == SlotState::kValid) return Place::kCommit;
  if (after == SlotState::kVoid) return Place::kCancel;
  return slot.state == SlotState::kAllocated || slot.state == SlotState::kVoid ? Place::kCancel : Place::kRetire;
}

Place PlaceInRecord(const Version& version, const Block& block, u32 offset) {
  for (const Slot& slot : block.slots) {
    if (!slot.in_block || offset < slot.start || offset >= slot.start + version.need(slot.length) - version.slot())
      continue;
    if (slot.type == kJournalType) return Place::kJournal;
    return slot.state == SlotState::kValid ? Place::kInPlace : Place::kPayload;
  }
  return Place::kPayload;
}

}  // namespace

const char* TextOf(Place place) { return kTexts[static_cast<u32>(place)]; }

Place PlaceOf(const Partition& partition, u32 base, const Step& step) {
  const Version& version = *partition.version;
  const u32 offset = step.address - base;
  const Block& block = partition.blocks[offset / version.block_size];
  const u32 within = offset - block.offset;
  if (step.kind == StepKind::kErase) return Place::kErase;
  if (within < kStateOffset) return Place::kHeader;
  if (within < kHeaderSize) return Place::kState;
  if (offset >= block.top) return PlaceInRecord(version, block, offset);
  const u32 index = (within - kHeaderSize) / version.slot();
  if (index <= block.slots.size()) {
    const bool is_state = index < block.slots.size() && (within - kHeaderSize) % version.slot() >= 4;
    return is_state ? PlaceInSlot(version, block.slots[index], step, base) : Place::kName;
  }
  return step.kind == StepKind::kWord && offset + version.word >= block.top ? Place::kLength : Place::kPayload;
}

void Witness::OnStep(const Step& step) {
  if (recording_) {
    const Partition partition = ReadPartition(version_, device_.bytes());
    trace_.push_back({step.kind, PlaceOf(partition, device_.base(), step), TearCount(step)});
  }
  if (step.kind == StepKind::kErase) {
    CheckErase(step);
  } else {
    CheckProgram(step);
  }
}

void Witness::CheckProgram(const Step& step) {
  const u32 offset = step.address - device_.base();
  for (std::size_t i = 0; i < step.after.size(); ++i) {
    if ((step.after[i] & ~step.before[i]) == 0) continue;
    const u32 at = offset + static_cast<u32>(i);
    const auto covers = [at](const Overwritable& range) { return range.begin <= at && at < range.end; };
    if (std::any_of(overwritable_.begin(), overwritable_.end(), covers)) continue;
    complaint_ = "a program sets a bit at offset " + std::to_string(at);
  }
}

void Witness::CheckErase(const Step& step) {
  const u32 offset = step.address - device_.base();
  if (std::find(erasable_.begin(), erasable_.end(), offset) != erasable_.end()) return;
  const Partition partition = ReadPartition(version_, device_.bytes());
  for (const Slot& slot : partition.blocks[offset / version_.block_size].slots)
    if (slot.IsItem()) complaint_ = "an erase of a block with a Valid item, at offset " + std::to_string(offset);
}

}  // namespace vok::sweep
