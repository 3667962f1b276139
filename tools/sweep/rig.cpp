#include "rig.h"

#include <array>
#include <new>

namespace vok::sweep {

namespace {

constexpr u32 kBase = 0x40000;
constexpr u32 kPsdtAddress = 0xE000;
constexpr u32 kArenaSize = 1024;
constexpr u8 kPoison = 0x5A;
constexpr u8 kErased = 0xFF;
constexpr u16 kFirstType = 1;
constexpr u16 kLastType = 100;

void Put(Bytes& bytes, u32 offset, u32 value, u32 width) {
  for (u32 i = 0; i < width; ++i) bytes[offset + i] = static_cast<u8>(value >> (8 * (width - 1 - i)));
}

/// A PSDT of one read/write section.
Bytes MakePsdt(const Geometry& geometry) {
  constexpr u32 kRecord = 96;
  constexpr std::array<u32, 3> kExtraRanges = {76, 82, 88};
  Bytes psdt(2 * kRecord, 0);
  Put(psdt, 0, 0x50484452, 4);
  Put(psdt, 6, 1, 2);
  Put(psdt, kRecord, 0x54455354, 4);
  Put(psdt, kRecord + 4, kBase, 4);
  Put(psdt, kRecord + 8, VersionOf(geometry.version).block_size, 4);
  Put(psdt, kRecord + 36, geometry.version == 1 ? 3 : 4, 2);
  Put(psdt, kRecord + 38, geometry.blocks, 2);
  Put(psdt, kRecord + 72, kFirstType, 2);
  Put(psdt, kRecord + 74, kLastType, 2);
  for (u32 range : kExtraRanges) Put(psdt, kRecord + range, 255, 2);
  return psdt;
}

}  // namespace

void* BalanceHooks::Allocate(std::uint16_t size) {
  ++allocated_;
  return ::operator new(size, std::nothrow);
}

void BalanceHooks::Release(void* memory) {
  --allocated_;
  ::operator delete(memory);
}

Rig::Rig() : arena_(kArenaSize) {
  InstallFlashDevice(&device_);
  InstallPlatformHooks(&hooks_);
}

Rig::~Rig() {
  TerminateStore();
  InstallFlashDevice(nullptr);
  InstallPlatformHooks(nullptr);
}

void Rig::Configure(const Geometry& geometry) {
  geometry_ = geometry;
  worker_.SetBlockVOKVersion(0, static_cast<u16>(geometry.version));
  const Bytes psdt = MakePsdt(geometry);
  worker_.LoadPSDT(psdt.data(), static_cast<u32>(psdt.size()), kPsdtAddress);
  device_.Watch(kBase, size(), version().block_size);
  survived_.resize(size());
  poison_.assign(size(), kPoison);
  erased_.assign(size(), kErased);
}

void Rig::Load(std::span<const u8> bytes) {
  TerminateStore();
  device_.Begin({}, 0, nullptr);
  device_.Forget();
  device_.Load(bytes);
}

void Rig::SetUp() {
  TerminateStore();
  const PartitionDescriptor descriptor{.state = 1,
                                       .base = kBase,
                                       .block_size = version().block_size,
                                       .arena = geometry_.directory ? arena_.data() : nullptr,
                                       .arena_size = geometry_.directory ? kArenaSize : 0,
                                       .lock_count = 1,
                                       .handle_count = 2,
                                       .block_count = geometry_.blocks,
                                       .flags = 0};
  SetUpPartitions(1, &descriptor);
  if (!geometry_.directory) return;
  DefineTypeRange(0, 5, 9);
  SetTypeIdCount(0, 5, 2);
  SetTypeIdCount(0, 7, 8);
}

std::string Rig::Restart() {
  std::string trouble;
  if (device_.misused()) trouble = "a step outside the partition, or after the power went";
  if (hooks_.held() != 0) trouble = "a lock was not given back";
  TerminateStore();
  if (hooks_.allocated() != 0) trouble = "memory was not given back";
  worker_.ReadVitualMemory(kBase, kBase + size(), survived_.data());
  if (survived_ != device_.bytes()) trouble = "the flash changed without a device step";
  device_.Load(poison_);
  device_.Load(survived_);
  SetUp();
  return trouble;
}

}  // namespace vok::sweep
