#pragma once

#include <algorithm>
#include <array>
#include <cstring>

#include "support/store_fixture.h"

namespace vok::test {

/// A chip that accepts only what NOR flash can do: programs clear bits, apart from a rewrite of an item in place.
class StrictDevice : public FlashDevice {
 public:
  explicit StrictDevice(VokWorker& worker) : worker_(worker) {}

  std::uint16_t ProgramWord16(std::uint32_t address, std::uint16_t value) override {
    const std::array bytes = {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    EXPECT_TRUE(OnlyClears(bytes.data(), address, 2)) << "a program sets bits at " << address;
    ++words;
    return FlashDevice::ProgramWord16(address, value);
  }
  std::uint16_t ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) override {
    EXPECT_TRUE(rewriting_in_place || OnlyClears(data, address, length)) << "a bulk program sets bits at " << address;
    return FlashDevice::ProgramBytes(data, address, length);
  }

  bool rewriting_in_place = false;
  int words = 0;  ///< programmed as words: headers, slots, length words and journal fields

 private:
  bool OnlyClears(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) {
    Bytes old(length);
    EXPECT_EQ(worker_.ReadVitualMemory(address, address + length, old.data()), 0);
    // Nearly every program meets erased bytes.
    if (std::memcmp(old.data(), Bytes(length, 0xFF).data(), length) == 0) return true;
    return std::equal(old.begin(), old.end(), data, [](int was, int is) { return (was & is) == is; });
  }

  VokWorker& worker_;
};

}  // namespace vok::test
