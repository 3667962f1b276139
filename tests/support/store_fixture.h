#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vok/platform.h"
#include "vok/store.h"
#include "vok/vok_worker.h"

/// Stores set up by hand in the flash image, in every store version, and what tests ask of their bytes.

namespace vok::test {

using Bytes = std::vector<std::uint8_t>;

/// What a store version means for bytes, written down anew so that a wrong table in the library is noticed.
struct Format {
  std::uint32_t version;
  std::uint32_t word;        ///< W
  std::uint32_t block_size;  ///< also the erase size
  std::uint16_t free, opening, reorg_target, active, reorg_source, retired;
  std::uint32_t allocated, void_state, valid, state_mask;

  std::uint32_t slot_size() const { return 4 + word; }
  std::uint32_t record_size(std::uint32_t length) const { return (length + word + 3) / 4 * 4; }
  std::uint32_t largest_item() const { return block_size - 36 - 3 * word; }
};
const Format& FormatOf(std::uint32_t version);

/// @p length bytes that differ for each @p seed.
Bytes Payload(std::uint32_t seed, std::size_t length);

/// A device that notes every step and can fail or throw at one of them.
class RecordingDevice : public FlashDevice {
 public:
  struct Cut {};

  std::uint16_t ProgramWord16(std::uint32_t address, std::uint16_t value) override;
  std::uint16_t ProgramByte(std::uint32_t address, std::uint8_t value) override;
  std::uint16_t ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) override;
  std::uint16_t EraseBlockDevice(std::uint32_t address) override;

  std::vector<std::string> steps;  ///< "16 ADDRESS=VALUE", "bytes ADDRESS+LENGTH", "erase ADDRESS", all in hex
  int fail_at = -1;                ///< index of the step that answers a failure and changes nothing
  bool fails_for_good = false;     ///< whether the steps after that one fail, too
  int throw_at = -1;               ///< index of the step that throws Cut instead

 private:
  bool Note(const std::string& step);
};

/// Hooks that keep count of locks, allocations and reports.
class CountingHooks : public PlatformHooks {
 public:
  void ReportError(std::uint16_t code) override;
  std::uint16_t CreateLock(std::uint32_t* lock) override;
  void DeleteLock(std::uint32_t*) override { --locks_alive; }
  void TakeLock(std::uint32_t* lock) override;
  void GiveLock(std::uint32_t* lock) override;
  void TakeStoreLock() override { ++locks_held, ++locks_taken, lock_story += 'S'; }
  void GiveStoreLock() override { --locks_held; }
  std::uint16_t NotifyClient(std::uint8_t, std::uint32_t key, std::uint32_t, std::uint32_t, std::uint8_t flag) override;
  std::uint16_t CheckProgramOver(std::uint8_t, std::uint32_t, const std::uint8_t*, std::uint32_t) override;
  void* Allocate(std::uint16_t size) override;
  void Release(void* memory) override;

  std::vector<std::uint16_t> reports;
  std::vector<std::string> notices;  ///< "KEY/FLAG" of each client notification
  std::string lock_story;            ///< each lock taken: its number in the order of creation, S = the store's
  int locks_held = 0;
  int locks_taken = 0;
  int locks_alive = 0;
  int memory_alive = 0;
  int allocations_left = -1;  ///< allocations that still succeed; -1 = all
  int locks_left = -1;        ///< locks that can still be made; -1 = all, else the next one gets 129
  std::uint16_t notify_answer = 0;
  std::uint16_t program_over_answer = 0;

 private:
  std::vector<std::uint32_t*> locks_;
};

/// How the fixture sets up its one partition.
struct Geometry {
  std::uint16_t blocks = 3;
  std::uint8_t kind = 0;  ///< 0 read/write, 1 read-only, 2 write-once
  std::uint32_t arena = 0;
  std::uint16_t locks = 2;
  std::uint16_t handles = 4;
};

class StoreTest : public testing::TestWithParam<std::uint32_t> {
 protected:
  static constexpr std::uint32_t kBase = 0x40000;
  static constexpr std::uint16_t kAny = 0xFFFF;

  StoreTest();
  ~StoreTest() override;

  const Format& format() const { return FormatOf(GetParam()); }

  PartitionDescriptor Descriptor(const Geometry& geometry);
  /// Erases the image and sets up partition 0, not mounted. The second form keeps the bytes.
  void SetUpErased(const Geometry& geometry = {});
  void SetUpAgain(const Geometry& geometry = {});
  /// SetUpErased(), then a format mount.
  void SetUpFormatted(const Geometry& geometry = {});
  /// Ends the store and mounts the bytes anew.
  std::uint16_t Remount(std::uint8_t mode, const Geometry& geometry = {});

  std::uint32_t BlockBase(std::uint16_t block) const { return kBase + block * format().block_size; }
  std::uint32_t SlotAddress(std::uint16_t block, std::uint32_t index) const {
    return BlockBase(block) + 32 + index * format().slot_size();
  }
  BlockRecord Block(std::uint16_t block) const;
  /// The block that takes the first items of a fresh partition: the Free one with the highest index.
  std::uint16_t FirstOpened() const { return static_cast<std::uint16_t>(geometry_.blocks - 1); }

  Bytes Flash(std::uint32_t address, std::uint32_t length) const;
  Bytes PartitionBytes() const { return Flash(kBase, geometry_.blocks * format().block_size); }
  void Poke(std::uint32_t address, const Bytes& bytes);
  void Poke16(std::uint32_t address, std::uint16_t value);
  void PokeWord(std::uint32_t address, std::uint32_t value);  ///< W bytes
  std::uint16_t Read16(std::uint32_t address) const;
  std::uint32_t ReadWord(std::uint32_t address) const;

  std::uint16_t Write(std::uint16_t type, std::uint16_t id, const Bytes& data, std::uint8_t mode = 1);
  /// The item's bytes; fails the test when it cannot be read.
  Bytes Item(std::uint16_t type, std::uint16_t id);
  std::uint16_t ReadCode(std::uint16_t type, std::uint16_t id);
  /// State bits of a slot.
  std::uint32_t State(std::uint32_t slot) const { return ReadWord(slot + 4) & format().state_mask; }
  void SetState(std::uint32_t slot, std::uint32_t state);

  CountingHooks hooks_;
  RecordingDevice device_;
  mutable VokWorker worker_;
  Bytes arena_;
  Geometry geometry_;
};

inline std::string VersionName(const testing::TestParamInfo<std::uint32_t>& info) {
  return "Version" + std::to_string(info.param);
}

}  // namespace vok::test

#define VOK_FOR_EACH_VERSION(Suite) \
  INSTANTIATE_TEST_SUITE_P(Versions, Suite, testing::Values(1u, 2u, 3u), vok::test::VersionName)
