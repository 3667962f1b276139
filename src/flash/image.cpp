#include "flash/image.h"

#include <algorithm>
#include <cstring>

namespace vok {

namespace detail {

std::array<u8, kFlashSize> flash_image;
bool image_is_lent = false;

u16 ReadFlashWord16AtEnd(FlashAddress address) {
  const u8 high = InFlash(address, 1) ? flash_image[address] : kErasedByte;
  return static_cast<u16>(high << 8 | kErasedByte);
}

}  // namespace detail

namespace {

/// The bytes that are watched, and by whom.
struct Watch {
  FlashAddress first = 0;
  FlashAddress end = 0;
  ImageWatcher watcher = nullptr;
};
Watch watch;

/// The bytes from @p address on, which lie inside the image, after their change was announced: the only way to change
/// them.
u8* BytesToChange(FlashAddress address, u64 count) {
  if (address < watch.end && address + count > watch.first) watch.watcher(address, count);
  return detail::flash_image.data() + address;
}

/// How many of @p count bytes from @p address on lie inside the image.
u32 BytesInside(FlashAddress address, u32 count) {
  if (address >= kFlashSize) return 0;
  return static_cast<u32>(std::min<u64>(count, kFlashSize - address));
}

}  // namespace

void detail::CopyFromFlashAtEnd(u8* destination, FlashAddress address, u32 count) {
  const u32 inside = BytesInside(address, count);
  std::copy_n(VirtualMemoryAddress(inside != 0 ? address : 0), inside, destination);
  std::fill_n(destination + inside, count - inside, kErasedByte);
}

u8* LendImage(FlashAddress address) {
  detail::image_is_lent = true;
  return detail::flash_image.data() + address;
}

void WatchImage(FlashAddress first, FlashAddress end, ImageWatcher watcher) {
  const bool is_first = watch.watcher == nullptr;
  watch = {.first = is_first ? first : std::min(watch.first, first),
           .end = is_first ? end : std::max(watch.end, end),
           .watcher = watcher};
}

void StopWatchingImage() { watch = {}; }

void StoreFlashByte(FlashAddress address, u8 value) {
  if (InFlash(address, 1)) *BytesToChange(address, 1) = value;
}

void WriteFlashWord16(FlashAddress address, u16 value) {
  const u32 inside = BytesInside(address, 2);
  if (inside == 0) return;
  u8* const bytes = BytesToChange(address, inside);
  bytes[0] = static_cast<u8>(value >> 8);
  if (inside == 2) bytes[1] = static_cast<u8>(value);
}

void WriteFlashWord32(FlashAddress address, u32 value) {
  WriteFlashWord16(address + 2, static_cast<u16>(value));
  WriteFlashWord16(address, static_cast<u16>(value >> 16));
}

void CopyToFlash(FlashAddress address, const u8* data, u32 count) {
  const u32 inside = BytesInside(address, count);
  if (inside != 0) std::memmove(BytesToChange(address, inside), data, inside);
}

void FillErased(FlashAddress address, u32 count) {
  const u32 inside = BytesInside(address, count);
  if (inside != 0) std::memset(BytesToChange(address, inside), kErasedByte, inside);
}

u16 EraseFlashImage() {
  FillErased(0, kFlashSize);
  return 0;
}

}  // namespace vok
