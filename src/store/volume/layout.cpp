#include "store/volume/layout.h"

#include <array>

#include "vok/store.h"

namespace vok {

namespace {

constexpr u16 kNoCheckMountRange = 0x100;

constexpr Layout kVersion1 = {
    .version = 1,
    .word_size = 2,
    .erase_size = 0x10000,
    .location_mask = 0x3FFF,
    .length_word_offset = 2,
    .state_mask = 0xC000,
    .valid_bits = 0x4000,
    .unfinished_mask = 0x8000,
    .cancel_mask = 0xBFFF,
    .repair_void_mask = 0xC000,
    .repair_void_bits = 0x8000,
    .repair_keeps_zero_bits = false,
    .check_mount_range = kNoCheckMountRange,
    .read_only_kind = 2,
    .read_write_kind_a = 3,
    .read_write_kind_b = 5,
    .states = {.erased = 0xFFFF,
               .free = 0x7FFF,
               .opening = 0x6FFF,
               .reorg_target = 0x3FFF,
               .active = 0x2FFF,
               .reorg_source = 0x0FFF,
               .retired = 0x07FF,
               .erasing = 0x00FF},
};

constexpr Layout kVersion2 = {
    .version = 2,
    .word_size = 4,
    .erase_size = 0x20000,
    .location_mask = 0x3FFFFFFF,
    .length_word_offset = 0,
    .state_mask = 0xC0000000,
    .valid_bits = 0x40000000,
    .unfinished_mask = 0x80000000,
    .cancel_mask = 0xBFFFFFFF,
    .repair_void_mask = 0xC0000000,
    .repair_void_bits = 0x80000000,
    .repair_keeps_zero_bits = true,
    .check_mount_range = 0x81,
    .read_only_kind = 3,
    .read_write_kind_a = 4,
    .read_write_kind_b = 5,
    .states = kVersion1.states,
};

/// Every logical bit of a state is stored twice. A repair takes each unfinished slot for a Void one, since both have
/// the top two bits set.
constexpr Layout kVersion3 = {
    .version = 3,
    .word_size = 4,
    .erase_size = 0x20000,
    .location_mask = 0x03FFFFFF,
    .length_word_offset = 0,
    .state_mask = 0xF0000000,
    .valid_bits = 0x30000000,
    .unfinished_mask = 0xC0000000,
    .cancel_mask = 0xCFFFFFFF,
    .repair_void_mask = 0xC0000000,
    .repair_void_bits = 0xC0000000,
    .repair_keeps_zero_bits = true,
    .check_mount_range = 0x81,
    .read_only_kind = 3,
    .read_write_kind_a = 4,
    .read_write_kind_b = 5,
    .states = {.erased = 0xFFFF,
               .free = 0x3FFF,
               .opening = 0x3CFF,
               .reorg_target = 0x0FFF,
               .active = 0x0CFF,
               .reorg_source = 0x00FF,
               .retired = 0x003F,
               .erasing = 0x0000},
};

/// Before any version is applied: the words of version 1, with section kinds and block states all 0.
constexpr Layout WithoutParameters(Layout layout) {
  layout.read_only_kind = layout.read_write_kind_a = layout.read_write_kind_b = 0;
  layout.states = {};
  return layout;
}
constexpr Layout kUnapplied = WithoutParameters(kVersion1);

constexpr std::array<const Layout*, 3> kLayouts = {&kVersion1, &kVersion2, &kVersion3};

}  // namespace

namespace detail {
const Layout* current_layout = &kUnapplied;
}

u16 ApplyStoreVersion(u32 version) {
  for (const Layout* layout : kLayouts) {
    if (layout->version != version) continue;
    detail::current_layout = layout;
    SetEraseSize(layout->erase_size);
    return 0;
  }
  return 1;
}

u16 WriteHeaderWord(u32 value, FlashAddress address) {
  return CurrentLayout().word_size == 2 ? FlashProgram16(static_cast<u16>(value), address)
                                        : FlashProgram32(value, address);
}

u32 LargestPayload(u32 room) {
  const u32 overhead = CurrentLayout().slot_size() + CurrentLayout().word_size;
  if (room <= overhead) return 0;
  const u32 payload = room - overhead;
  // A payload of whole 4-byte units needs its pad from the same room where the length word is half a unit.
  return payload % 4 == 0 ? payload - Pad(payload) : payload;
}

}  // namespace vok
