#pragma once

#include <cstring>

#include "flash/types.h"

/// Values in a directory arena, which may lie at any address.

namespace vok {

template <typename T>
T LoadFrom(const u8* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

template <typename T>
void StoreTo(u8* bytes, T value) {
  std::memcpy(bytes, &value, sizeof value);
}

}  // namespace vok
