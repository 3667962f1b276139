#pragma once

#include <unordered_map>

#include "population.h"

namespace vok::bench {

/// What the same work costs where nothing is kept but the bytes: a hash map of the payloads, and an array of the
/// flash's size into which every written payload is copied.
class Yardstick {
 public:
  explicit Yardstick(std::uint64_t flash_size);

  bool Read(std::uint16_t type, std::uint16_t id);
  void Write(std::uint16_t type, std::uint16_t id, const Bytes& data);
  void Delete(std::uint16_t type, std::uint16_t id) { items_.erase(Key(type, id)); }
  void Rename(std::uint16_t type, std::uint16_t id, std::uint16_t new_id);
  std::vector<Item> TakeApart() const;
  std::vector<std::uint16_t> List(std::uint16_t type) const;

 private:
  static std::uint32_t Key(std::uint16_t type, std::uint16_t id) { return std::uint32_t{type} << 16 | id; }
  void CopyToFlash(const Bytes& data);

  std::unordered_map<std::uint32_t, Bytes> items_;
  Bytes flash_;
  std::size_t next_ = 0;
  Bytes buffer_;
};

}  // namespace vok::bench
