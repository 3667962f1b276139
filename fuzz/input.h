#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

/// The bytes of a fuzzer as a stream of choices; once they are used up, every choice is 0.

namespace vok::fuzz {

using Bytes = std::vector<std::uint8_t>;

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

  bool empty() const { return bytes_.empty(); }

  std::uint8_t Byte() {
    if (bytes_.empty()) return 0;
    const std::uint8_t byte = bytes_[0];
    bytes_ = bytes_.subspan(1);
    return byte;
  }
  std::uint16_t Half() {
    const std::uint8_t high = Byte();
    return static_cast<std::uint16_t>(high << 8 | Byte());
  }
  std::uint32_t Word() {
    const std::uint32_t high = Half();
    return high << 16 | Half();
  }
  bool Flag() { return (Byte() & 1) != 0; }

  template <typename T, std::size_t N>
  T Pick(const std::array<T, N>& values) {
    return values[Byte() % N];
  }

  /// Up to @p most bytes as they come.
  Bytes Take(std::size_t most) {
    const auto taken = bytes_.first(std::min(most, bytes_.size()));
    bytes_ = bytes_.subspan(taken.size());
    return {taken.begin(), taken.end()};
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

/// What a target finds wrong; the fuzzer and the tests report it as they report a crash.
inline void Require(bool holds, const std::string& what) {
  if (!holds) throw std::logic_error(what);
}

/// The targets. Each takes the input of a fuzzer and throws where the store breaks a promise.
void FuzzMount(Input input);     ///< any bytes, mounted in every mode and read
void FuzzWrite(Input input);     ///< the same with every other operation, and failing devices and allocations
void FuzzSequence(Input input);  ///< operations, remounts and failures on a sound store, beside a plain map
void FuzzHost(Input input);      ///< the host interface: any PSDT, any codeplug, any call
void FuzzTool(Input input);      ///< the tool: its JSON files, its command line, its views of any bytes

}  // namespace vok::fuzz
