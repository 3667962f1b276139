#include "cutting_device.h"

#include <algorithm>
#include <array>

namespace vok::sweep {

namespace {
constexpr std::uint16_t kProgramDone = 0;
constexpr std::uint16_t kEraseDone = 4;
constexpr u8 kErased = 0xFF;
}  // namespace

void CuttingDevice::Watch(u32 base, u32 size, u32 erase_size) {
  base_ = base;
  bytes_.assign(size, kErased);
  erased_.assign(erase_size, kErased);
}

void CuttingDevice::Load(std::span<const u8> bytes) {
  std::copy(bytes.begin(), bytes.end(), bytes_.begin());
  FlashDevice::ProgramBytes(bytes_.data(), base_, static_cast<u32>(bytes_.size()));
}

void CuttingDevice::Begin(std::optional<CutPoint> cut, u64 seed, StepObserver* observer) {
  cut_ = cut;
  seed_ = seed;
  observer_ = observer;
  steps_ = 0;
  powered_ = true;
}

std::uint16_t CuttingDevice::ProgramWord16(std::uint32_t address, std::uint16_t value) {
  const std::array<u8, 2> after = {static_cast<u8>(value >> 8), static_cast<u8>(value)};
  Make(StepKind::kWord, address, after);
  return kProgramDone;
}

std::uint16_t CuttingDevice::ProgramByte(std::uint32_t address, std::uint8_t value) {
  Make(StepKind::kByte, address, {&value, 1});
  return kProgramDone;
}

std::uint16_t CuttingDevice::ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) {
  Make(StepKind::kBulk, address, {data, length});
  return kProgramDone;
}

std::uint16_t CuttingDevice::EraseBlockDevice(std::uint32_t address) {
  Make(StepKind::kErase, address, erased_);
  return kEraseDone;
}

void CuttingDevice::Make(StepKind kind, u32 address, std::span<const u8> after) {
  const bool inside = address >= base_ && address - base_ + after.size() <= bytes_.size();
  misused_ = misused_ || !powered_ || !inside;
  if (!powered_) throw PowerCut();
  if (!inside) return;
  const Step step{kind, address, std::span(bytes_).subspan(address - base_, after.size()), after};
  if (observer_ != nullptr) observer_->OnStep(step);
  if (cut_ && cut_->step == steps_) {
    powered_ = false;
    if (cut_->tear != 0) Store(address, Torn(step, cut_->tear, Mix(seed_, steps_)));
    throw PowerCut();
  }
  ++steps_;
  Store(address, after);
}

void CuttingDevice::Store(u32 address, std::span<const u8> content) {
  FlashDevice::ProgramBytes(content.data(), address, static_cast<u32>(content.size()));
  std::copy(content.begin(), content.end(), bytes_.begin() + (address - base_));
}

}  // namespace vok::sweep
