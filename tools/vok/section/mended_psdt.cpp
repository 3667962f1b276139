#include "section/mended_psdt.h"

#include <fmt/core.h>

#include <algorithm>
#include <optional>

#include "flash/image.h"
#include "record_chain.h"
#include "section/psdt_bytes.h"
#include "section/signed_blocks.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace {

/// Blocks in a row, and the record to which they belong.
struct Run {
  u64 start = 0;
  u64 size = 0;  ///< of a block
  u64 count = 0;
  std::optional<std::size_t> owner = {};
  bool as_recorded = false;  ///< just where its record places them

  u64 end() const { return start + size * count; }
  FlashRange range() const { return {.start = start, .end = end()}; }
};

/// Settles where the sections lie.
class Mender {
 public:
  Mender() : phases_{0, loaded_.file.start} {
    for (const psdt::Record& record : records_) phases_.push_back(record.start);
    const std::span<const u8> flash(VirtualMemoryAddress(0), kFlashSize);
    for (const u64 base : FindSignedBlocks(flash, loaded_.file, phases_))
      signed_.push_back({.start = base, .size = erase_, .count = 1, .owner = OwnerOf(BytesOf(base), records_)});
  }

  std::vector<MendedRecord> Run() {
    for (std::size_t i = 0; i < records_.size(); ++i) KeepIfFitting(i);
    JoinOthers();
    AttachOthers();
    for (tool::Run& run : others_) {
      NameOwner(run);
      Extend(run);
      runs_.push_back(run);
    }
    return AsRecords();
  }

 private:
  std::span<const u8> BytesOf(u64 base) const {
    return {VirtualMemoryAddress(base), std::min<u64>(erase_, kFlashSize - base)};
  }
  u64 SizeOf(const psdt::Record& record) const;
  u64 CountSigned(u64 start, u64 size, u64 count) const;
  void KeepIfFitting(std::size_t index);
  bool HoldsForeign(const tool::Run& run) const;
  bool IsFree(const FlashRange& range) const;
  void JoinOthers();
  void AttachOthers();
  void NameOwner(tool::Run& run) const;
  void Extend(tool::Run& run) const;
  bool HasRun(std::size_t owner) const;
  std::vector<MendedRecord> AsRecords();
  psdt::Record RecordOf(const tool::Run& run) const;
  std::string ChangeOf(const tool::Run& run, const psdt::Record& mended) const;

  const std::vector<psdt::Record> records_ = RecordsInForceAndBehind();
  const std::size_t count_ = psdt::RecordCount();
  const LoadedRanges& loaded_ = CurrentLoadedRanges();
  const u64 erase_ = CurrentLayout().erase_size;
  std::vector<u64> phases_;
  std::vector<tool::Run> signed_;  ///< each block that was found
  std::vector<tool::Run> runs_;    ///< settled
  std::vector<tool::Run> others_;  ///< of blocks that no record places
};

u64 Mender::CountSigned(u64 start, u64 size, u64 count) const {
  return static_cast<u64>(std::ranges::count_if(signed_, [&](const tool::Run& block) {
    return block.start >= start && block.start < start + size * count && (block.start - start) % size == 0;
  }));
}

/// One erase, unless only the record's own finds the blocks.
u64 Mender::SizeOf(const psdt::Record& record) const {
  if (record.block_size == 0) return erase_;
  const u64 own = CountSigned(record.start, record.block_size, record.block_count);
  return CountSigned(record.start, erase_, record.block_count) >= own ? erase_ : record.block_size;
}

/// A block that belongs to another record, or that begins where the run has none.
bool Mender::HoldsForeign(const tool::Run& run) const {
  return std::ranges::any_of(signed_, [&run](const tool::Run& block) {
    if (!run.range().Overlaps(block.range())) return false;
    return (block.start - run.start) % run.size != 0 || (block.owner && block.owner != run.owner);
  });
}

bool Mender::IsFree(const FlashRange& range) const {
  const auto overlaps = [&range](const tool::Run& run) { return run.range().Overlaps(range); };
  // The file may end in the middle of a block, or of a section.
  const bool is_loaded = range.start >= loaded_.file.start && range.start < loaded_.file.end && range.end <= kFlashSize;
  return is_loaded && !loaded_.psdt.Overlaps(range) && std::ranges::none_of(runs_, overlaps) &&
         std::ranges::none_of(others_, overlaps);
}

void Mender::KeepIfFitting(std::size_t index) {
  const psdt::Record& record = records_[index];
  const tool::Run run{
      .start = record.start, .size = SizeOf(record), .count = record.block_count, .owner = index, .as_recorded = true};
  if (run.count == 0 || run.start % 4 != 0 || !IsFree(run.range()) || HoldsForeign(run)) return;
  const auto is_owned = [index](const tool::Run& block) { return block.owner == index; };
  if (CountSigned(run.start, run.size, run.count) != 0 ||
      (std::ranges::none_of(signed_, is_owned) && !IsErased(run.start, run.end())))
    runs_.push_back(run);
}

/// Blocks of one section lie side by side; those without items go with the ones before them.
void Mender::JoinOthers() {
  for (const tool::Run& block : signed_) {
    if (!IsFree(block.range())) continue;
    tool::Run* const last = others_.empty() ? nullptr : &others_.back();
    const bool joins =
        last != nullptr && last->end() == block.start && (!last->owner || !block.owner || last->owner == block.owner);
    if (!joins) {
      others_.push_back(block);
      continue;
    }
    ++last->count;
    if (!last->owner) last->owner = block.owner;
  }
}

/// Those right beside the section to which they belong make it longer.
void Mender::AttachOthers() {
  std::erase_if(others_, [this](const tool::Run& other) {
    for (tool::Run& run : runs_) {
      if (other.owner != run.owner || other.size != run.size) continue;
      if (other.start != run.end() && other.end() != run.start) continue;
      run.start = std::min(run.start, other.start);
      run.count += other.count;
      run.as_recorded = false;
      return true;
    }
    return false;
  });
}

bool Mender::HasRun(std::size_t owner) const {
  const auto is_owned = [owner](const tool::Run& run) { return run.owner == owner; };
  return std::ranges::any_of(runs_, is_owned) || std::ranges::any_of(others_, is_owned);
}

/// Blocks whose items no record serves belong to the record that has no others, if there is one.
void Mender::NameOwner(tool::Run& run) const {
  for (std::size_t i = 0; !run.owner && i < count_; ++i)
    if (!HasRun(i)) run.owner = i;
}

/// A block whose signature is damaged, too, lies beside the others.
void Mender::Extend(tool::Run& run) const {
  const u64 wanted = run.owner ? std::min<u64>(records_[*run.owner].block_count, run.count + 4) : run.count;
  const auto is_taken = [this](const FlashRange& range) { return IsFree(range) && !IsErased(range.start, range.end); };
  while (run.count < wanted) {
    const FlashRange after{.start = run.end(), .end = run.end() + run.size};
    const FlashRange before{.start = run.start - std::min(run.start, run.size), .end = run.start};
    if (is_taken(after)) {
      ++run.count;
    } else if (run.start >= run.size && is_taken(before)) {
      run.start = before.start;
      ++run.count;
    } else {
      return;
    }
  }
}

psdt::Record Mender::RecordOf(const tool::Run& run) const {
  const Layout& layout = CurrentLayout();
  psdt::Record record{};
  if (run.owner) {
    record = records_[*run.owner];
  } else {
    record.tag = TagOf("LOST");
    for (psdt::TypeRange& range : record.ranges) range = {.id = psdt::kNoRange, .first_type = 0, .last_type = 0};
  }
  record.start = static_cast<u32>(run.start);
  record.block_size = static_cast<u32>(run.size);
  record.block_count = static_cast<u16>(run.count);
  const bool is_kind = record.kind == layout.read_only_kind || record.kind == layout.read_write_kind_a ||
                       record.kind == layout.read_write_kind_b;
  // A read-write section needs a second block.
  if (run.count == 1 || (!is_kind && record.ranges.front().id == layout.check_mount_range))
    record.kind = layout.read_only_kind;
  else if (!is_kind)
    record.kind = layout.read_write_kind_a;
  return record;
}

std::string Mender::ChangeOf(const tool::Run& run, const psdt::Record& mended) const {
  if (!run.owner) return fmt::format("no record places the blocks at {}", TextOf(run.range()));
  const psdt::Record& given = records_[*run.owner];
  std::string text;
  const auto add = [&text](const char* what, u32 now, u32 was) {
    if (now != was) text += fmt::format("{}{} 0x{:X} instead of 0x{:X}", text.empty() ? "" : ", ", what, now, was);
  };
  add("start", mended.start, given.start);
  add("block size", mended.block_size, given.block_size);
  add("block count", mended.block_count, given.block_count);
  add("kind", mended.kind, given.kind);
  add("partition number", mended.partition, given.partition);
  if (*run.owner >= count_) text = "the count of the PSDT leaves it out" + (text.empty() ? "" : ", " + text);
  return text.empty() ? "" : fmt::format("record {}: {}", *run.owner, text);
}

std::vector<MendedRecord> Mender::AsRecords() {
  constexpr std::size_t kMostPartitionNumbers = 9;
  std::ranges::stable_sort(runs_, [this](const tool::Run& a, const tool::Run& b) {
    return std::pair(a.owner.value_or(records_.size()), a.start) <
           std::pair(b.owner.value_or(records_.size()), b.start);
  });
  if (runs_.size() > kMostPartitionNumbers) runs_.resize(kMostPartitionNumbers);
  std::vector<MendedRecord> mended;
  for (const tool::Run& run : runs_) {
    psdt::Record record = RecordOf(run);
    record.partition = static_cast<u16>(mended.size());
    mended.push_back({.record = record, .source = run.owner, .change = ChangeOf(run, record)});
  }
  return mended;
}

}  // namespace

std::vector<MendedRecord> MendRecords() { return Mender().Run(); }

}  // namespace vok::tool
