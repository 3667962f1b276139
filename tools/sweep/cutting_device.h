#pragma once

#include <optional>

#include "tear.h"
#include "vok/platform.h"

/// The chip of the sweep: it counts its steps, takes the power away at a chosen one and keeps a second copy of what
/// the flash must hold.

namespace vok::sweep {

/// Thrown when the power goes; the store lets it pass.
struct PowerCut {};

/// Where the power goes: at step @p step (from 0), which leaves tear @p tear of it (0 = nothing).
struct CutPoint {
  u32 step;
  u32 tear;
};

/// Sees every step before it is made.
class StepObserver {
 public:
  virtual ~StepObserver() = default;
  virtual void OnStep(const Step& step) = 0;
};

/// Invariants: the copy holds what the steps that were made, and the torn one, have left in the watched range; after a
/// power cut no step changes a byte until the next Begin().
class CuttingDevice : public FlashDevice {
 public:
  /// Watches @p size bytes from @p base on; an erase wipes @p erase_size bytes.
  void Watch(u32 base, u32 size, u32 erase_size);

  /// Puts @p bytes into the watched range, in the image and in the copy.
  void Load(std::span<const u8> bytes);
  /// What the watched range must hold.
  const Bytes& bytes() const { return bytes_; }
  u32 base() const { return base_; }

  /// Counts steps from 0 again and cuts the power at @p cut, if given.
  void Begin(std::optional<CutPoint> cut, u64 seed, StepObserver* observer);
  u32 steps() const { return steps_; }
  /// Whether a step left the watched range, or one was tried without power, since the last Forget().
  bool misused() const { return misused_; }
  void Forget() { misused_ = false; }

  std::uint16_t ProgramWord16(std::uint32_t address, std::uint16_t value) override;
  std::uint16_t ProgramByte(std::uint32_t address, std::uint8_t value) override;
  std::uint16_t ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) override;
  std::uint16_t EraseBlockDevice(std::uint32_t address) override;

 private:
  void Make(StepKind kind, u32 address, std::span<const u8> after);
  void Store(u32 address, std::span<const u8> content);

  u32 base_ = 0;
  Bytes bytes_;
  Bytes erased_;
  std::optional<CutPoint> cut_;
  u64 seed_ = 0;
  StepObserver* observer_ = nullptr;
  u32 steps_ = 0;
  bool powered_ = true;
  bool misused_ = false;
};

}  // namespace vok::sweep
