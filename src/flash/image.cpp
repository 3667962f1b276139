#include "flash/image.h"

#include <algorithm>
#include <cstring>

namespace vok {

namespace detail {

std::array<u8, kFlashSize> flash_image;

u16 ReadFlashWord16AtEnd(FlashAddress address) {
  const u8 high = InFlash(address, 1) ? flash_image[address] : kErasedByte;
  return static_cast<u16>(high << 8 | kErasedByte);
}

}  // namespace detail

namespace {

/// How many of @p count bytes from @p address on lie inside the image.
u32 BytesInside(FlashAddress address, u32 count) {
  if (address >= kFlashSize) return 0;
  return static_cast<u32>(std::min<u64>(count, kFlashSize - address));
}

}  // namespace

void CopyFromFlash(u8* destination, FlashAddress address, u32 count) {
  const u32 inside = BytesInside(address, count);
  std::copy_n(VirtualMemoryAddress(inside != 0 ? address : 0), inside, destination);
  std::fill_n(destination + inside, count - inside, kErasedByte);
}

void StoreFlashByte(FlashAddress address, u8 value) {
  if (InFlash(address, 1)) *VirtualMemoryAddress(address) = value;
}

void WriteFlashWord16(FlashAddress address, u16 value) {
  StoreFlashByte(address + 1, static_cast<u8>(value));
  StoreFlashByte(address, static_cast<u8>(value >> 8));
}

void WriteFlashWord32(FlashAddress address, u32 value) {
  WriteFlashWord16(address + 2, static_cast<u16>(value));
  WriteFlashWord16(address, static_cast<u16>(value >> 16));
}

void CopyToFlash(FlashAddress address, const u8* data, u32 count) {
  const u32 inside = BytesInside(address, count);
  if (inside != 0) std::memmove(VirtualMemoryAddress(address), data, inside);
}

void FillErased(FlashAddress address, u32 count) {
  const u32 inside = BytesInside(address, count);
  if (inside != 0) std::memset(VirtualMemoryAddress(address), kErasedByte, inside);
}

u16 EraseFlashImage() {
  FillErased(0, kFlashSize);
  return 0;
}

}  // namespace vok
