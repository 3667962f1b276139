#include "image.h"

namespace vok::fuzz {

namespace {

Bytes BigEndian(std::uint32_t value, std::uint32_t width) {
  Bytes bytes;
  for (std::uint32_t shift = 8 * width; shift > 0; shift -= 8)
    bytes.push_back(static_cast<std::uint8_t>(value >> (shift - 8)));
  return bytes;
}

/// Writes the parts of an image, field by field.
class Painter {
 public:
  Painter(World& world, Input& input) : world_(world), input_(input), form_(world.geometry()) {
    next_slot_.fill(32);
    next_record_.fill(form_.block_size & ~3u);
  }

  void Headers() {
    for (std::uint16_t block = 0; block < form_.blocks; ++block) {
      const std::uint8_t choice = input_.Byte();
      if (choice % 16 == 15) continue;  // no signature
      Put(block, 0, 0x54617271, 4);
      Put(block, 4, form_.version, 4);
      Put(block, 8, choice % 16 == 14 ? 0 : 0xFFFFFFFE, 4);
      Put(block, 12, State(choice), 2);
    }
  }

  void Part() {
    const std::uint8_t kind = input_.Byte();
    const auto block = static_cast<std::uint16_t>(input_.Byte() % form_.blocks);
    switch (kind % 8) {
      case 0:
      case 1:
      case 2: return Item(block, TakeType(input_), input_.Byte() % 40u);
      case 3: return Journal(block);
      case 4: return Slot(block, TakeType(input_), Location());
      case 5: return Put(block, input_.Half(), input_.Word(), 1 + kind / 8u % 4);
      case 6: return Run(block);
      default: return Put(block, Location() * 4, input_.Half(), form_.word());  // a length word
    }
  }

 private:
  void Put(std::uint16_t block, std::uint32_t offset, std::uint32_t value, std::uint32_t width) {
    if (form_.block_size == 0) return;
    world_.Poke(Base(block) + offset % form_.block_size, BigEndian(value, width));
  }
  std::uint64_t Base(std::uint16_t block) const { return form_.base + std::uint64_t{form_.block_size} * block; }

  std::uint32_t State(std::uint8_t choice) const {
    static constexpr std::array<std::uint16_t, 12> kSingle = {0x2FFF, 0x2FFF, 0x2FFF, 0x7FFF, 0x7FFF, 0x3FFF,
                                                              0x0FFF, 0x07FF, 0x6FFF, 0xFFFF, 0x00FF, 0x1234};
    static constexpr std::array<std::uint16_t, 12> kDouble = {0x0CFF, 0x0CFF, 0x0CFF, 0x3FFF, 0x3FFF, 0x0FFF,
                                                              0x00FF, 0x003F, 0x3CFF, 0xFFFF, 0x0000, 0x04FF};
    return (form_.version == 3 ? kDouble : kSingle)[choice / 16 % kSingle.size()];
  }

  std::uint32_t Location() { return input_.Half(); }

  /// State bits over a location: mostly Valid, else Allocated, Void, Deleted or torn.
  std::uint32_t Word(std::uint32_t location) {
    static constexpr std::array<std::uint32_t, 8> kStates = {0x3, 0x3, 0x3, 0x3, 0xF, 0xC, 0x0, 0x7};
    static constexpr std::array<std::uint32_t, 8> kPairs = {1, 1, 1, 1, 3, 2, 0, 1};
    const std::uint8_t choice = input_.Byte();
    if (choice == 0xFF) return input_.Word();
    if (form_.version == 3) return kStates[choice % 8] << 28 | location;
    const std::uint32_t shift = form_.version == 1 ? 14 : 30;
    return kPairs[choice % 8] << shift | (location & ((1u << shift) - 1));
  }

  void Slot(std::uint16_t block, std::uint32_t type, std::uint32_t location) {
    const std::uint32_t at = next_slot_[block % next_slot_.size()];
    Put(block, at, type, 2);
    Put(block, at + 2, TakeId(input_), 2);
    Put(block, at + 4, Word(location), form_.word());
    next_slot_[block % next_slot_.size()] += form_.slot_size();
  }

  /// Lays a record below the lowest one. @return the address of its payload in the block
  std::uint32_t Record(std::uint16_t block, std::uint32_t length) {
    std::uint32_t& end = next_record_[block % next_record_.size()];
    const std::uint32_t size = (length + form_.word() + 3) & ~3u;
    if (end < size) return 0;
    Put(block, end - form_.word(), length, form_.word());
    end -= size;
    return end;
  }
  void Item(std::uint16_t block, std::uint16_t type, std::uint32_t length) {
    const std::uint32_t end = next_record_[block % next_record_.size()];
    Record(block, length);
    Slot(block, type, (end - form_.word()) / 4);
  }

  void Journal(std::uint16_t block) {
    const std::uint32_t length = 6 + form_.word() + input_.Byte() % 12;
    const std::uint32_t end = next_record_[block % next_record_.size()];
    const std::uint32_t at = Record(block, length);
    Put(block, at, input_.Byte() % 5u, 2);
    Put(block, at + 2, TakeType(input_), 2);
    Put(block, at + 4, TakeId(input_), 2);
    Put(block, at + 6, input_.Byte() % 48u, form_.word());
    Put(block, at + 6 + form_.word(), TakeType(input_), 2);
    Put(block, at + 8 + form_.word(), TakeId(input_), 2);
    Slot(block, 0xFFFE, (end - form_.word()) / 4);
  }

  /// A slot over and over, its ID or its location rising, or one byte over and over.
  void Run(std::uint16_t block) {
    const std::uint8_t how = input_.Byte();
    const std::uint32_t count = input_.Half() % 0x4000;
    const std::uint32_t type = TakeType(input_);
    const std::uint32_t word = Word(Location());
    std::uint32_t& at = next_slot_[block % next_slot_.size()];
    Bytes bytes;
    for (std::uint32_t i = 0; i < count && at + bytes.size() < form_.block_size; ++i) {
      const Bytes slot = BigEndian(type << 16 | ((how & 1) != 0 ? i & 0xFFFF : 0u), 4);
      const Bytes location = BigEndian((how & 2) != 0 ? word - i : word, form_.word());
      bytes.insert(bytes.end(), slot.begin(), slot.end());
      bytes.insert(bytes.end(), location.begin(), location.end());
    }
    if ((how & 4) != 0) std::fill(bytes.begin(), bytes.end(), how);
    world_.Poke(Base(block) + at, bytes);
    at += static_cast<std::uint32_t>(bytes.size());
  }

  World& world_;
  Input& input_;
  const Geometry& form_;
  std::array<std::uint32_t, 5> next_slot_{};
  std::array<std::uint32_t, 5> next_record_{};
};

}  // namespace

void FillPartition(World& world, Input& input) {
  Painter painter(world, input);
  painter.Headers();
  for (std::uint8_t parts = input.Byte() % 48; parts > 0 && !input.empty(); --parts) painter.Part();
}

std::uint16_t TakeType(Input& input) {
  static constexpr std::array<std::uint16_t, 12> kTypes = {5, 5, 5, 6, 7, 1, 0, 9, 0xFFFD, 0xFFFE, 0xFFFF, 5};
  const std::uint8_t choice = input.Byte();
  return choice >= 250 ? input.Half() : kTypes[choice % kTypes.size()];
}

std::uint16_t TakeId(Input& input) {
  const std::uint8_t choice = input.Byte();
  return choice >= 250 ? input.Half() : choice >= 245 ? std::uint16_t{0xFFFF} : static_cast<std::uint16_t>(choice % 12);
}

}  // namespace vok::fuzz
