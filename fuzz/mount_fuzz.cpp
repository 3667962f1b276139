#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <vector>

#include "vok/store.h"
#include "vok/vok_worker.h"

/// Patches a sound partition as the input says, mounts it in both modes and uses it. The first byte chooses the store
/// version; each patch takes six bytes: block and place, offset, value, width.
/// The test DamageTest makes random inputs of this.

namespace {

constexpr std::uint16_t kBlocks = 3;
constexpr std::uint32_t kBase = 0x40000;
constexpr std::uint32_t kPatchSize = 6;
constexpr std::uint32_t kMargin = 64;  ///< bytes before and behind the partition that must stay erased

using Bytes = std::vector<std::uint8_t>;

VokWorker& Worker() {
  static VokWorker worker;
  return worker;
}

std::uint32_t BlockSize(std::uint32_t version) { return version == 1 ? 0x10000 : 0x20000; }

void SetUp(std::uint32_t version) {
  static std::array<std::uint8_t, 512> arena;
  const vok::PartitionDescriptor descriptor{.state = 1,
                                            .base = kBase,
                                            .block_size = BlockSize(version),
                                            .arena = arena.data(),
                                            .arena_size = arena.size(),
                                            .lock_count = 1,
                                            .handle_count = 2,
                                            .block_count = kBlocks,
                                            .flags = 0};
  vok::TerminateStore();
  vok::ApplyStoreVersion(version);
  if (vok::SetUpPartitions(1, &descriptor) != 0) std::abort();
}

Bytes Read(std::uint32_t address, std::uint32_t length) {
  Bytes bytes(length);
  Worker().ReadVitualMemory(address, address + length, bytes.data());
  return bytes;
}

void Load(const Bytes& bytes) {
  std::uint16_t version = 0;
  Worker().EraseVirtualMemory(0, 0x2000000);
  Worker().GetCodeplugVOKVersion(bytes.data(), static_cast<std::uint32_t>(bytes.size()), kBase, version);
}

Bytes Unload(std::uint32_t version) { return Read(kBase, kBlocks * BlockSize(version)); }

bool MarginsAreErased(std::uint32_t version) {
  const Bytes erased(kMargin, 0xFF);
  return Read(kBase - kMargin, kMargin) == erased && Read(kBase + kBlocks * BlockSize(version), kMargin) == erased;
}

/// A partition with items of several sizes, dead copies and a block moved.
Bytes MakeSound(std::uint32_t version) {
  Worker().EraseVirtualMemory(0, 0x2000000);
  SetUp(version);
  vok::MountPartition(0, 0);
  const Bytes data(700, 0x5A);
  for (std::uint16_t i = 0; i < 40; ++i) {
    std::uint16_t id = i % 25;
    vok::WriteItem(0, 1, static_cast<std::uint16_t>(5 + id % 3), &id, data.data(), i * 17u);
  }
  vok::ReorganiseBlock(0, kBlocks - 1, 0);
  return Unload(version);
}

void Patch(Bytes& bytes, std::uint32_t block_size, std::span<const std::uint8_t> patch) {
  const std::uint32_t block = patch[0] % kBlocks * block_size;
  const std::uint32_t offset = static_cast<std::uint32_t>(patch[1] << 8 | patch[2]) % block_size;
  std::uint32_t at = block + (patch[0] & 0x80 ? block_size - 1 - offset % 0x4000 : offset % 0x400);
  if ((patch[5] & 0x60) == 0x60)  // as when the rest of the block was cut off
    return std::fill(bytes.begin() + at, bytes.begin() + block + block_size, patch[3]);
  for (std::uint32_t width = 1 + patch[5] % 4; width > 0 && at < bytes.size(); --width, ++at)
    bytes[at] = patch[5] & 0x80 ? static_cast<std::uint8_t>(bytes[at] & patch[3]) : patch[3 + width % 2];
}

void Use() {
  std::array<std::uint16_t, 64> out{};
  std::uint32_t count = out.size();
  vok::ListTypes(0, nullptr, nullptr, out.data(), &count);
  Bytes buffer(1000);
  for (std::uint16_t id = 0; id < 25; ++id) {
    std::uint32_t length = 1000;
    vok::ReadItem(0, static_cast<std::uint16_t>(5 + id % 3), id, buffer.data(), &length, 0);
    vok::WriteItemPart(0, 1, static_cast<std::uint16_t>(5 + id % 3), id, buffer.data(), 5, 0);
  }
  std::uint16_t id = 0xFFFF;
  vok::WriteItem(0, 1, 5, &id, buffer.data(), 900);
  id = 0xFFFF;
  vok::RenameItem(0, 1, 9, &id, 5, 3);
  vok::DeleteTypeRange(0, 7, 7);
  vok::PartitionSpace space{};
  vok::GetPartitionSpace(0, &space);
  for (std::uint16_t block = 0; block < kBlocks; ++block) vok::ReorganiseBlock(0, block, 1);
  std::uint16_t retired = 0xFFFF;
  vok::EraseRetiredBlock(0, &retired);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::array<Bytes, 3> kSound = {MakeSound(1), MakeSound(2), MakeSound(3)};
  if (size == 0) return 0;
  const std::uint32_t version = data[0] % 3u + 1;
  Bytes bytes = kSound[version - 1];
  for (std::span patches(data + 1, size - 1); patches.size() >= kPatchSize; patches = patches.subspan(kPatchSize))
    Patch(bytes, BlockSize(version), patches.first(kPatchSize));

  Load(bytes);
  SetUp(version);
  const std::uint16_t check = vok::MountPartition(0, 1);
  if (Unload(version) != bytes) throw std::logic_error("a check changes something");
  if (check == 0) Use();
  SetUp(version);
  if (vok::MountPartition(0, 2) == 0) Use();
  vok::TerminateStore();
  if (!MarginsAreErased(version)) throw std::logic_error("bytes outside the partition change");
  return 0;
}
