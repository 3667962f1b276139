#include "fill.h"

#include <algorithm>
#include <stdexcept>

namespace vok::sweep {

namespace {

constexpr u8 kJournalled = 1;

void Expect(u16 code, const char* what) {
  if (code != 0)
    throw std::logic_error(std::string("building a base image: ") + what + " gave " + std::to_string(code));
}

}  // namespace

Builder::Builder(Rig& rig) : rig_(rig) {
  rig.LoadErased();
  rig.SetUp();
  Expect(rig.Mount(0), "formatting");
}

void Builder::Write(ItemName name, const Bytes& bytes) {
  u16 id = name.id;
  Expect(WriteItem(0, kJournalled, name.type, &id, bytes.data(), static_cast<u32>(bytes.size())), "a write");
  items_[name] = bytes;
}

void Builder::Delete(ItemName name) {
  Expect(DeleteItem(0, name.type, name.id), "a delete");
  items_.erase(name);
}

u32 Builder::Room() const {
  const Partition partition = rig_.Read();
  u32 room = 0;
  for (const Block& block : partition.blocks)
    if (block.state == partition.version->active) room = std::max(room, block.room(*partition.version));
  return room;
}

/// An item that takes exactly @p bytes of the block, or the next lower number that a record can take.
void Builder::FillBy(u32 bytes, ItemName name, u64 seed) {
  const Version& version = rig_.version();
  const u32 overhead = static_cast<u32>(version.need(0));
  if (bytes < overhead) return;
  u32 length = bytes - (2 * version.word + 4);
  while (length > 0 && version.need(length) > bytes) --length;
  Write(name, Noise(seed, length));
}

void Builder::FillTo(u32 left, ItemName first, u64 seed) {
  const u32 empty = static_cast<u32>(rig_.version().need(0));
  u32 room = Room();
  if (room < left + 4 * empty) return;
  // Records are multiples of 4; in version 1 an empty item shifts what remains by the two bytes of its slot.
  if (rig_.version().number == 1 && (room - left - 2 * empty) % 4 != 0)
    Write({first.type, static_cast<u16>(first.id + 2)}, {});
  room = Room();
  FillBy((room - left) / 4 * 3, first, Mix(seed, 1));
  FillBy(Room() - left, {first.type, static_cast<u16>(first.id + 1)}, Mix(seed, 2));
}

}  // namespace vok::sweep
