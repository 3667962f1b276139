#pragma once

#include <algorithm>
#include <array>

#include "flash/types.h"

/// The flash image: one process-wide array of 32 MiB, and the only way to read it. Words are big-endian and need no
/// alignment. Every access is bounded: what lies beyond the image's end reads as erased and cannot be written, so a
/// damaged location word or a partition set up out of range never reaches foreign memory.

namespace vok {

inline constexpr u32 kFlashSize = 0x2000000;
inline constexpr u8 kErasedByte = 0xFF;

namespace detail {
extern std::array<u8, kFlashSize> flash_image;
extern bool image_is_lent;
u16 ReadFlashWord16AtEnd(FlashAddress address);
void CopyFromFlashAtEnd(u8* destination, FlashAddress address, u32 count);
}  // namespace detail

/// Whether @p count bytes from @p address on lie inside the image.
constexpr bool InFlash(FlashAddress address, u64 count) {
  return address <= kFlashSize && count <= kFlashSize - address;
}

/// The byte at @p address, for bulk copies; the caller keeps inside the image.
inline const u8* VirtualMemoryAddress(FlashAddress address) { return detail::flash_image.data() + address; }

/// The same for a caller who may change bytes through it, now or later, unannounced.
u8* LendImage(FlashAddress address);
inline bool ImageIsLent() { return detail::image_is_lent; }

/// Who keeps something derived from the image is told of every change of bytes between @p first and @p end, right
/// before it is made. There is one watcher; watching again widens the range.
using ImageWatcher = void (*)(FlashAddress address, u64 count);
void WatchImage(FlashAddress first, FlashAddress end, ImageWatcher watcher);
void StopWatchingImage();

inline u16 BigEndian16(const u8* bytes) { return static_cast<u16>(bytes[0] << 8 | bytes[1]); }
inline u32 BigEndian32(const u8* bytes) {
  return static_cast<u32>(bytes[0]) << 24 | static_cast<u32>(bytes[1]) << 16 | static_cast<u32>(bytes[2]) << 8 |
         bytes[3];
}

inline u16 ReadFlashWord16(FlashAddress address) {
  if (!InFlash(address, 2)) [[unlikely]]
    return detail::ReadFlashWord16AtEnd(address);
  return BigEndian16(VirtualMemoryAddress(address));
}

inline u32 ReadFlashWord32(FlashAddress address) {
  if (InFlash(address, 4)) [[likely]]
    return BigEndian32(VirtualMemoryAddress(address));
  return static_cast<u32>(ReadFlashWord16(address)) << 16 | ReadFlashWord16(address + 2);
}

/// Brings the bytes at @p address and right below it, which will be read soon, nearer to the processor.
inline void FetchBytes(FlashAddress address) {
  constexpr FlashAddress kCacheLine = 64;
  if (address < kCacheLine || address >= kFlashSize) return;
  __builtin_prefetch(VirtualMemoryAddress(address));
  __builtin_prefetch(VirtualMemoryAddress(address - kCacheLine));
}

/// Copies @p count bytes out of the image; those beyond its end come as erased.
inline void CopyFromFlash(u8* destination, FlashAddress address, u32 count) {
  if (!InFlash(address, count)) [[unlikely]]
    return detail::CopyFromFlashAtEnd(destination, address, count);
  std::copy_n(VirtualMemoryAddress(address), count, destination);
}

/// Plain stores, whatever the bytes held before; the device layer and the PSDT loader are the callers.
void StoreFlashByte(FlashAddress address, u8 value);
void WriteFlashWord16(FlashAddress address, u16 value);
void WriteFlashWord32(FlashAddress address, u32 value);

/// Copies @p count bytes in, which may come from the image itself.
void CopyToFlash(FlashAddress address, const u8* data, u32 count);

/// Sets @p count bytes to 0xFF, as far as they lie inside the image.
void FillErased(FlashAddress address, u32 count);

/// Sets the whole image to 0xFF. @return 0
u16 EraseFlashImage();

}  // namespace vok
