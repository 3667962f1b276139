#pragma once

#include <initializer_list>

#include "input.h"
#include "transcript.h"
#include "vok/platform.h"
#include "vok/store.h"
#include "vok/vok_worker.h"

/// What a target stands on: a device and hooks that count and fail, a partition set up as the input says, and the
/// bounds that every call keeps.

namespace vok::fuzz {

/// Thrown by a device whose power goes.
struct Cut {};

/// A device that fails or throws at a step, once or for good.
class FailingDevice : public FlashDevice {
 public:
  enum class Failure : std::uint8_t { kNone, kOnce, kForGood, kCut };

  std::uint16_t ProgramWord16(std::uint32_t address, std::uint16_t value) override {
    return Step<std::uint16_t>(address, {&value, 1}) ? FlashDevice::ProgramWord16(address, value) : 1;
  }
  std::uint16_t ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) override {
    return Step<std::uint8_t>(address, {data, length}) ? FlashDevice::ProgramBytes(data, address, length) : 1;
  }
  std::uint16_t EraseBlockDevice(std::uint32_t address) override {
    return Step<std::uint8_t>(address, {}) ? FlashDevice::EraseBlockDevice(address) : 1;
  }

  /// The @p steps-th step from now on fails.
  void FailIn(Failure failure, std::uint32_t steps);
  bool failed() const { return failed_; }
  std::uint64_t steps = 0;

 private:
  /// @return whether the step is made
  bool Step();
  template <typename T>
  bool Step(std::uint32_t address, std::span<const T> written) {
    transcript.See(address);
    transcript.See(written);
    return Step();
  }

  Failure failure_ = Failure::kNone;
  std::uint32_t left_ = 0;
  bool failed_ = false;
};

/// Hooks that keep account of memory and locks and answer as they are told.
class CountingHooks : public PlatformHooks {
 public:
  void ReportError(std::uint16_t code) override;
  void TakeLock(std::uint32_t* lock) override;
  void GiveLock(std::uint32_t* lock) override;
  void TakeStoreLock() override;
  void GiveStoreLock() override { --held; }
  std::uint16_t NotifyClient(std::uint8_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint8_t) override {
    return notify_answer;
  }
  std::uint16_t CheckProgramOver(std::uint8_t, std::uint32_t, const std::uint8_t* data, std::uint32_t length) override;
  void* Allocate(std::uint16_t size) override;
  void Release(void* memory) override;

  std::uint16_t last_report = 0;
  std::uint16_t notify_answer = 0;
  std::uint16_t program_over_answer = 0;
  int held = 0;
  int alive = 0;
  int allocations_left = -1;  ///< that still succeed; -1 = all
};

/// A partition as the input describes it, sound or not.
struct Geometry {
  std::uint32_t version = 1;
  std::uint64_t base = 0x40000;
  std::uint32_t block_size = 0x10000;
  std::uint16_t blocks = 3;
  std::uint8_t kind = 0;
  std::uint32_t arena = 0;
  std::uint16_t locks = 1;
  std::uint16_t handles = 2;

  std::uint32_t word() const { return version == 1 ? 2 : 4; }
  std::uint32_t slot_size() const { return 4 + word(); }
  std::uint32_t erase_size() const { return version == 1 ? 0x10000 : 0x20000; }
  /// Of what lies in the image: a base beyond it may be one whose end wraps around.
  std::uint64_t end() const;
  /// Slots and empty items that the part of the partition that lies in the image has room for.
  std::uint64_t Slots() const { return InImage() / slot_size(); }
  std::uint64_t EmptyItems() const { return InImage() / (slot_size() + 4); }

 private:
  std::uint64_t InImage() const;
};
Geometry TakeGeometry(Input& input);

class World {
 public:
  World();
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /// Takes up a partition, whose bytes are erased; nothing is set up.
  void Begin(const Geometry& geometry) { geometry_ = geometry; }
  /// Sets the partition up anew, its directory configured as the input said first.
  std::uint16_t SetUp();
  void ConfigureDirectory(Input& input);
  std::uint16_t Mount(std::uint8_t mode);

  /// Makes a call and holds it to its codes, its bound, and to giving back every lock.
  /// @param outputs  what it may write, for the transcript
  /// @return its code; 0xFFFF after a Cut
  template <typename Call, typename... Outputs>
  std::uint16_t Run(const char* name, std::initializer_list<std::uint16_t> codes, Call call,
                    const Outputs&... outputs) {
    const Account before = Open();
    std::uint16_t code = 0xFFFF;
    try {
      code = call();
    } catch (const Cut&) {
    }
    Close(name, before, code, codes);
    transcript.See(code);
    (transcript.See(outputs), ...);
    return code;
  }

  Bytes Read(std::uint64_t from, std::uint64_t to) const;
  /// Stores bytes of the partition as they are; what lies beyond it is left out.
  void Poke(std::uint64_t address, const Bytes& bytes);
  /// The bytes that no operation may change: below the partition and beyond the erase of its last block.
  bool SurroundingsAreErased() const;
  const Geometry& geometry() const { return geometry_; }

  CountingHooks hooks;
  FailingDevice device;
  mutable VokWorker worker;

 private:
  /// What the partition and its erases can reach.
  void Erase();

  struct Account {
    std::uint64_t steps, reads;
  };
  Account Open() const;
  void Close(const char* name, const Account& before, std::uint16_t code, std::initializer_list<std::uint16_t> codes);

  struct TypeRange {
    std::uint16_t first, last, type;
    std::int32_t ids;
  };

  Geometry geometry_;
  Bytes arena_;
  std::vector<TypeRange> ranges_;
};

}  // namespace vok::fuzz
