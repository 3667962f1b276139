#include "world.h"

#include <cstdlib>
#include <cstring>

#include "store/volume/slots.h"

namespace vok::fuzz {

namespace {

constexpr std::uint32_t kImageSize = 0x2000000;
constexpr std::uint64_t kMargin = 64;  ///< bytes around a partition that are looked at

std::uint64_t ReadsSoFar() {
#ifdef VOK_COUNT_READS
  return detail::reads;
#else
  return 0;
#endif
}

std::uint64_t Clip(std::uint64_t address) { return std::min<std::uint64_t>(address, kImageSize); }

/// What a call other than a mount may cost at most; include/vok/store.h promises it.
struct Bound {
  std::uint64_t steps, reads;
};
Bound BoundOf(const Geometry& geometry, bool is_mount) {
  const std::uint64_t fixed = 256 + 64u * geometry.blocks;
  // A mount of a clean image that is full of empty items passes each slot twice and locates its record once. What a
  // block's journal record names is searched for twice.
  const std::uint64_t mount_reads = 4 * 3 * geometry.EmptyItems() + 2 * geometry.Slots() * geometry.blocks;
  return {.steps = fixed + 12 * geometry.Slots(), .reads = fixed + (is_mount ? mount_reads : 12 * geometry.Slots())};
}

}  // namespace

void FailingDevice::FailIn(Failure failure, std::uint32_t steps_left) {
  failure_ = failure;
  left_ = steps_left;
  failed_ = false;
}

bool FailingDevice::Step() {
  ++steps;
  if (failure_ == Failure::kNone) return true;
  if (left_ > 0) {
    --left_;
    return true;
  }
  failed_ = true;
  if (failure_ == Failure::kCut) throw Cut{};
  if (failure_ == Failure::kOnce) failure_ = Failure::kNone;
  return false;
}

void CountingHooks::ReportError(std::uint16_t code) {
  transcript.See(code);
  last_report = code;
}

void CountingHooks::TakeStoreLock() {
  transcript.See(static_cast<std::uint64_t>(held));
  ++held;
}

void CountingHooks::TakeLock(std::uint32_t* lock) {
  transcript.See(static_cast<std::uint64_t>(held));
  Require(*lock == 0, "a lock is taken twice");
  *lock = 1;
  ++held;
}

void CountingHooks::GiveLock(std::uint32_t* lock) {
  *lock = 0;
  --held;
}

std::uint16_t CountingHooks::CheckProgramOver(std::uint8_t, std::uint32_t, const std::uint8_t* data,
                                              std::uint32_t length) {
  Require(length == 0 || data != nullptr, "a check of bytes that are not there");
  return program_over_answer;
}

void* CountingHooks::Allocate(std::uint16_t size) {
  transcript.See(size);
  if (allocations_left == 0) return nullptr;
  if (allocations_left > 0) --allocations_left;
  ++alive;
  return std::malloc(size);
}

void CountingHooks::Release(void* memory) {
  --alive;
  std::free(memory);
}

std::uint64_t Geometry::end() const { return Clip(Clip(base) + std::uint64_t{block_size} * blocks); }

std::uint64_t Geometry::InImage() const { return end() - Clip(base); }

Geometry TakeGeometry(Input& input) {
  static constexpr std::array<std::uint32_t, 12> kBlockSizes = {0, 0, 0x400, 0x400, 0x200, 0x100, 64, 40, 36, 0x8000};
  static constexpr std::array<std::uint64_t, 8> kBases = {0x40000, 0x40000, 0x40000, 0, 0x1FF0000, 0x1FFFF00};
  static constexpr std::array<std::uint32_t, 6> kArenas = {0, 24, 100, 600, 4000, 23};
  Geometry geometry;
  geometry.version = input.Byte() % 3u + 1;
  const std::uint8_t form = input.Byte();
  geometry.block_size = form == 255   ? input.Word()
                        : form >= 250 ? input.Half()
                                      : kBlockSizes[form % kBlockSizes.size()];
  if (form < 250 && form % kBlockSizes.size() < 2) geometry.block_size = geometry.erase_size();
  geometry.blocks = static_cast<std::uint16_t>(1 + input.Byte() % 5);
  const std::uint8_t where = input.Byte();
  geometry.base = kBases[where % kBases.size()];
  if (where >= 250) {
    geometry.base = std::uint64_t{input.Word()} << 32;
    geometry.base |= input.Word();
  }
  const std::uint8_t rest = input.Byte();
  geometry.kind = rest % 8 < 5 ? 0 : static_cast<std::uint8_t>(rest % 8 - 4);
  geometry.arena = kArenas[rest / 8 % kArenas.size()];
  geometry.locks = rest >> 6;
  geometry.handles = static_cast<std::uint16_t>(input.Byte() % 4);
  return geometry;
}

World::World() {
  static const std::uint16_t kErasedOnce = worker.EraseVirtualMemory(0, kImageSize);
  Require(kErasedOnce == 0, "the image cannot be erased");
  TerminateStore();
  InstallPlatformHooks(&hooks);
  InstallFlashDevice(&device);
}

World::~World() {
  TerminateStore();
  Erase();
  InstallPlatformHooks(nullptr);
  InstallFlashDevice(nullptr);
}

void World::Erase() {
  const std::uint64_t from = Clip(geometry_.base);
  worker.EraseVirtualMemory(static_cast<std::uint32_t>(from > kMargin ? from - kMargin : 0),
                            static_cast<std::uint32_t>(Clip(geometry_.end() + geometry_.erase_size() + kMargin)));
}

void World::ConfigureDirectory(Input& input) {
  for (std::uint8_t left = input.Byte() % 4; left > 0; --left) {
    const auto first = static_cast<std::uint16_t>(input.Byte() % 10);
    ranges_.push_back({.first = first,
                       .last = static_cast<std::uint16_t>(first + input.Byte() % 6),
                       .type = static_cast<std::uint16_t>(input.Byte() % 12),
                       .ids = static_cast<std::int32_t>(input.Byte() % 20) - 1});
  }
}

std::uint16_t World::SetUp() {
  TerminateStore();
  Require(hooks.alive == 0 && hooks.held == 0, "memory or a lock is left by a store that has ended");
  ApplyStoreVersion(geometry_.version);
  // No room to spare behind the arena, so that a step beyond it is noticed.
  arena_ = Bytes(geometry_.arena, 0xA5);
  const PartitionDescriptor descriptor{.state = 1,
                                       .base = geometry_.base,
                                       .block_size = geometry_.block_size,
                                       .arena = geometry_.arena != 0 ? arena_.data() : nullptr,
                                       .arena_size = geometry_.arena,
                                       .lock_count = geometry_.locks,
                                       .handle_count = geometry_.handles,
                                       .block_count = geometry_.blocks,
                                       .flags = geometry_.kind};
  const std::uint16_t code =
      Run("SetUpPartitions", {0, 109, 115, 128}, [&] { return SetUpPartitions(1, &descriptor); });
  if (code != 0) {
    Require(hooks.alive == 0, "a set-up that failed keeps memory");
    return code;
  }
  for (const TypeRange& range : ranges_) {
    Run("DefineTypeRange", {0, 118, 128}, [&] { return DefineTypeRange(0, range.first, range.last); });
    Run("SetTypeIdCount", {0, 115, 118, 128}, [&] { return SetTypeIdCount(0, range.type, range.ids); });
  }
  return 0;
}

std::uint16_t World::Mount(std::uint8_t mode) {
  return Run("MountPartition", {0, 104, 105, 108, 111, 122, 125, 126, 127, 128, 132, 134},
             [&] { return MountPartition(0, mode); });
}

World::Account World::Open() const { return {.steps = device.steps, .reads = ReadsSoFar()}; }

void World::Close(const char* name, const Account& before, std::uint16_t code,
                  std::initializer_list<std::uint16_t> codes) {
  const std::string call(name);
  const Bound bound = BoundOf(geometry_, call == "MountPartition");
  const std::uint64_t steps = device.steps - before.steps;
  const std::uint64_t reads = ReadsSoFar() - before.reads;
  Require(steps <= bound.steps, call + " takes " + std::to_string(steps) + " device steps");
  Require(reads <= bound.reads, call + " reads " + std::to_string(reads) + " of " + std::to_string(bound.reads));
  Require(hooks.held == 0, call + " keeps a lock");
  // 138 and 140, no store or none mounted, is what most calls may answer.
  const bool documented =
      code == 0xFFFF || code == 138 || code == 140 || std::count(codes.begin(), codes.end(), code) > 0;
  Require(documented, call + " answers " + std::to_string(code));
}

Bytes World::Read(std::uint64_t from, std::uint64_t to) const {
  Bytes bytes(Clip(to) - Clip(from));
  worker.ReadVitualMemory(static_cast<std::uint32_t>(Clip(from)), static_cast<std::uint32_t>(Clip(to)), bytes.data());
  return bytes;
}

void World::Poke(std::uint64_t address, const Bytes& bytes) {
  const std::uint64_t end = geometry_.end();
  if (address < geometry_.base || address >= end) return;
  const auto inside = static_cast<std::uint32_t>(std::min<std::uint64_t>(bytes.size(), end - address));
  std::uint16_t version = 0;
  worker.GetCodeplugVOKVersion(bytes.data(), inside, static_cast<std::uint32_t>(address), version);
}

bool World::SurroundingsAreErased() const {
  const std::uint64_t below = Clip(geometry_.base);
  const Bytes low = Read(below > kMargin ? below - kMargin : 0, below);
  const std::uint64_t reach =
      geometry_.end() + (geometry_.block_size < geometry_.erase_size() ? geometry_.erase_size() : 0);
  const Bytes high = Read(reach, reach + kMargin);
  const auto is_erased = [](std::uint8_t byte) { return byte == 0xFF; };
  return std::all_of(low.begin(), low.end(), is_erased) && std::all_of(high.begin(), high.end(), is_erased);
}

}  // namespace vok::fuzz
