#pragma once

#include "flash/types.h"
#include "vok/platform.h"

namespace vok::c {

/// Counts what a repair does, in place of the device installed for as long as it lives.
class CountingDevice : public FlashDevice {
 public:
  CountingDevice() : before_(InstallFlashDevice(this)) {}
  ~CountingDevice() override { InstallFlashDevice(before_); }
  CountingDevice(const CountingDevice&) = delete;
  CountingDevice& operator=(const CountingDevice&) = delete;

  u16 ProgramWord16(u32 address, u16 value) override {
    ++programs;
    return FlashDevice::ProgramWord16(address, value);
  }
  u16 ProgramByte(u32 address, u8 value) override {
    ++programs;
    return FlashDevice::ProgramByte(address, value);
  }
  u16 ProgramBytes(const u8* data, u32 address, u32 length) override {
    ++programs;
    return FlashDevice::ProgramBytes(data, address, length);
  }
  u16 EraseBlockDevice(u32 address) override {
    ++erases;
    return FlashDevice::EraseBlockDevice(address);
  }

  u32 programs = 0;
  u32 erases = 0;

 private:
  FlashDevice* before_;
};

}  // namespace vok::c
