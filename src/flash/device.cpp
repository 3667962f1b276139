#include "flash/device.h"

#include <limits>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "flash/image.h"
#include "vok/platform.h"

namespace vok {

namespace {

constexpr u16 kProgramDone = 0;
constexpr u16 kEraseDone = 4;

u32 erase_size = kDefaultEraseSize;
FlashDevice default_device;
FlashDevice* installed_device = nullptr;

FlashDevice& Device() { return installed_device != nullptr ? *installed_device : default_device; }

/// Makes one device step. A chip has 32 address lines: a step above them changes nothing and counts as done.
template <typename Step>
u16 Program(FlashAddress address, Step step) {
  if (address > std::numeric_limits<u32>::max()) return code::kOk;
  return step(static_cast<u32>(address)) == kProgramDone ? code::kOk : Fail(code::kFlashWrite);
}

/// The status word after a lock command sequence with the given confirm command.
u16 RunLockSequence(u32 address, u16 confirm) {
  const FlashAddress word = address & ~u32{3};
  WriteFlashWord16(word, 0x60);
  WriteFlashWord16(word, confirm);
  WriteFlashWord16(word, 0x90);
  const u16 status = ReadFlashWord16(word + 4);
  WriteFlashWord16(word, 0xFF);
  return status;
}

constexpr u16 kLockBits = 0x1FF;

}  // namespace

u16 FlashDevice::ProgramWord16(u32 address, u16 value) {
  WriteFlashWord16(address, value);
  return kProgramDone;
}

u16 FlashDevice::ProgramByte(u32 address, u8 value) {
  StoreFlashByte(address, value);
  return kProgramDone;
}

u16 FlashDevice::ProgramBytes(const u8* data, u32 address, u32 length) {
  CopyToFlash(address, data, length);
  return kProgramDone;
}

u16 FlashDevice::EraseBlockDevice(u32 address) {
  FillErased(address, erase_size);
  return kEraseDone;
}

u16 FlashDevice::ProgramBytesStepwise(const u8* data, u32 address, u32 length) {
  u16 status = kProgramDone;
  if (length != 0 && address % 2 != 0) {
    status = ProgramByte(address++, *data++);
    --length;
  }
  for (; status == kProgramDone && length >= 2; address += 2, data += 2, length -= 2)
    status = ProgramWord16(address, static_cast<u16>(data[0] << 8 | data[1]));
  if (status == kProgramDone && length != 0) status = ProgramByte(address, *data);
  return status;
}

FlashDevice* InstallFlashDevice(FlashDevice* device) {
  FlashDevice* before = installed_device;
  installed_device = device;
  return before;
}

void SetEraseSize(u32 bytes) { erase_size = bytes; }

u16 FlashProgram16(u16 value, FlashAddress address) {
  return Program(address, [&](u32 at) {
    // Steps of the default device go without the virtual call.
    return installed_device != nullptr ? installed_device->ProgramWord16(at, value)
                                       : default_device.FlashDevice::ProgramWord16(at, value);
  });
}

u16 FlashProgram32(u32 value, FlashAddress address) {
  if (u16 code = FlashProgram16(static_cast<u16>(value >> 16), address)) return code;
  return FlashProgram16(static_cast<u16>(value), address + 2);
}

u16 FlashProgramBuffer(FlashAddress address, const u8* data, u32 length) {
  return Program(address, [&](u32 at) {
    return installed_device != nullptr ? installed_device->ProgramBytes(data, at, length)
                                       : default_device.FlashDevice::ProgramBytes(data, at, length);
  });
}

u16 FlashEraseBlock(FlashAddress address) {
  if (address > std::numeric_limits<u32>::max()) return code::kOk;
  const u16 status = Device().EraseBlockDevice(static_cast<u32>(address));
  return status == kEraseDone ? code::kOk : Fail(code::kFlashErase);
}

u16 LockBlock(u32 address) { return (RunLockSequence(address, 0x01) & kLockBits) == kLockBits ? 8 : 9; }

u16 UnlockBlock(u32 address) { return (RunLockSequence(address, 0xD0) & kLockBits) != kLockBits ? 8 : 9; }

}  // namespace vok
