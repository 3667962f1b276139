#include "support/store_fixture.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace vok::test {

namespace {

std::string Hex(const char* format, std::uint32_t a, std::uint32_t b = 0) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), format, a, b);
  return text.data();
}

}  // namespace

const Format& FormatOf(std::uint32_t version) {
  static constexpr std::array<Format, 3> kFormats = {{
      {1, 2, 0x10000, 0x7FFF, 0x6FFF, 0x3FFF, 0x2FFF, 0x0FFF, 0x07FF, 0xC000, 0x8000, 0x4000, 0xC000},
      {2, 4, 0x20000, 0x7FFF, 0x6FFF, 0x3FFF, 0x2FFF, 0x0FFF, 0x07FF, 0xC0000000, 0x80000000, 0x40000000, 0xC0000000},
      {3, 4, 0x20000, 0x3FFF, 0x3CFF, 0x0FFF, 0x0CFF, 0x00FF, 0x003F, 0xF0000000, 0xC0000000, 0x30000000, 0xF0000000},
  }};
  return kFormats[version - 1];
}

Bytes Payload(std::uint32_t seed, std::size_t length) {
  Bytes bytes(length);
  std::uint32_t state = seed * 2654435761u + 12345;
  for (auto& byte : bytes) {
    state = state * 1664525u + 1013904223u;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return bytes;
}

bool RecordingDevice::Note(const std::string& step) {
  const int index = static_cast<int>(steps.size());
  if (index == throw_at) throw Cut{};
  steps.push_back(step);
  return fail_at < 0 || (fails_for_good ? index < fail_at : index != fail_at);
}

std::uint16_t RecordingDevice::ProgramWord16(std::uint32_t address, std::uint16_t value) {
  return Note(Hex("16 %x=%x", address, value)) ? FlashDevice::ProgramWord16(address, value) : 1;
}

std::uint16_t RecordingDevice::ProgramByte(std::uint32_t address, std::uint8_t value) {
  return Note(Hex("8 %x=%x", address, value)) ? FlashDevice::ProgramByte(address, value) : 1;
}

std::uint16_t RecordingDevice::ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) {
  return Note(Hex("bytes %x+%x", address, length)) ? FlashDevice::ProgramBytes(data, address, length) : 1;
}

std::uint16_t RecordingDevice::EraseBlockDevice(std::uint32_t address) {
  return Note(Hex("erase %x", address)) ? FlashDevice::EraseBlockDevice(address) : 1;
}

void CountingHooks::ReportError(std::uint16_t code) { reports.push_back(code); }

std::uint16_t CountingHooks::CreateLock(std::uint32_t* lock) {
  if (locks_left == 0) return 129;
  if (locks_left > 0) --locks_left;
  if (locks_alive++ == 0) locks_.clear();
  locks_.push_back(lock);
  return 0;
}

void CountingHooks::TakeLock(std::uint32_t* lock) {
  EXPECT_EQ(*lock, 0u) << "a lock is taken twice";
  *lock = 1;
  lock_story += static_cast<char>('0' + (std::find(locks_.begin(), locks_.end(), lock) - locks_.begin()));
  ++locks_held;
  ++locks_taken;
}

void CountingHooks::GiveLock(std::uint32_t* lock) {
  *lock = 0;
  --locks_held;
}

std::uint16_t CountingHooks::NotifyClient(std::uint8_t, std::uint32_t key, std::uint32_t, std::uint32_t,
                                          std::uint8_t flag) {
  notices.push_back(std::to_string(key) + "/" + std::to_string(flag));
  return flag != 0 ? notify_answer : std::uint16_t{0};
}

std::uint16_t CountingHooks::CheckProgramOver(std::uint8_t, std::uint32_t, const std::uint8_t*, std::uint32_t) {
  return program_over_answer;
}

void* CountingHooks::Allocate(std::uint16_t size) {
  if (allocations_left == 0) return nullptr;
  if (allocations_left > 0) --allocations_left;
  ++memory_alive;
  return std::malloc(size);
}

void CountingHooks::Release(void* memory) {
  --memory_alive;
  std::free(memory);
}

StoreTest::StoreTest() {
  TerminateStore();
  ApplyStoreVersion(GetParam());
  InstallPlatformHooks(&hooks_);
  InstallFlashDevice(&device_);
}

StoreTest::~StoreTest() {
  TerminateStore();
  EXPECT_EQ(hooks_.memory_alive, 0);
  EXPECT_EQ(hooks_.locks_alive, 0);
  EXPECT_EQ(hooks_.locks_held, 0);
  InstallPlatformHooks(nullptr);
  InstallFlashDevice(nullptr);
}

PartitionDescriptor StoreTest::Descriptor(const Geometry& geometry) {
  arena_.assign(geometry.arena, 0xA5);
  return {.state = 1,
          .base = kBase,
          .block_size = format().block_size,
          .arena = geometry.arena != 0 ? arena_.data() : nullptr,
          .arena_size = geometry.arena,
          .lock_count = geometry.locks,
          .handle_count = geometry.handles,
          .block_count = geometry.blocks,
          .flags = geometry.kind};
}

void StoreTest::SetUpAgain(const Geometry& geometry) {
  geometry_ = geometry;
  const PartitionDescriptor descriptor = Descriptor(geometry);
  ASSERT_EQ(SetUpPartitions(1, &descriptor), 0);
}

void StoreTest::SetUpErased(const Geometry& geometry) {
  TerminateStore();
  worker_.EraseVirtualMemory(0, 0x2000000);
  SetUpAgain(geometry);
}

void StoreTest::SetUpFormatted(const Geometry& geometry) {
  SetUpErased(geometry);
  ASSERT_EQ(MountPartition(0, 0), 0);
  device_.steps.clear();
}

std::uint16_t StoreTest::Remount(std::uint8_t mode, const Geometry& geometry) {
  TerminateStore();
  SetUpAgain(geometry);
  device_.steps.clear();
  return MountPartition(0, mode);
}

BlockRecord StoreTest::Block(std::uint16_t block) const {
  PartitionRecord record{};
  EXPECT_EQ(GetPartitionRecord(0, &record), 0);
  return record.block_table[block];
}

Bytes StoreTest::Flash(std::uint32_t address, std::uint32_t length) const {
  Bytes bytes(length);
  EXPECT_EQ(worker_.ReadVitualMemory(address, address + length, bytes.data()), 0);
  return bytes;
}

void StoreTest::Poke(std::uint32_t address, const Bytes& bytes) {
  std::uint16_t version = 0;
  ASSERT_EQ(worker_.GetCodeplugVOKVersion(bytes.data(), static_cast<std::uint32_t>(bytes.size()), address, version), 0);
}

void StoreTest::Poke16(std::uint32_t address, std::uint16_t value) {
  Poke(address, {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)});
}

void StoreTest::PokeWord(std::uint32_t address, std::uint32_t value) {
  if (format().word == 4) Poke16(address, static_cast<std::uint16_t>(value >> 16));
  Poke16(address + format().word - 2, static_cast<std::uint16_t>(value));
}

std::uint16_t StoreTest::Read16(std::uint32_t address) const {
  const Bytes bytes = Flash(address, 2);
  return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::uint32_t StoreTest::ReadWord(std::uint32_t address) const {
  return format().word == 2 ? Read16(address) : static_cast<std::uint32_t>(Read16(address)) << 16 | Read16(address + 2);
}

std::uint16_t StoreTest::Write(std::uint16_t type, std::uint16_t id, const Bytes& data, std::uint8_t mode) {
  return WriteItem(0, mode, type, &id, data.data(), static_cast<std::uint32_t>(data.size()));
}

Bytes StoreTest::Item(std::uint16_t type, std::uint16_t id) {
  Bytes bytes(format().block_size);
  auto length = static_cast<std::uint32_t>(bytes.size());
  EXPECT_EQ(ReadItem(0, type, id, bytes.data(), &length, 0), 0) << "item " << type << "/" << id;
  bytes.resize(length);
  return bytes;
}

std::uint16_t StoreTest::ReadCode(std::uint16_t type, std::uint16_t id) {
  std::uint32_t length = 0;
  const std::uint16_t code = GetItemLength(0, type, id, &length);
  return code;
}

void StoreTest::SetState(std::uint32_t slot, std::uint32_t state) {
  PokeWord(slot + 4, (ReadWord(slot + 4) & ~format().state_mask) | state);
}

}  // namespace vok::test
