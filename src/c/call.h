#pragma once

#include <new>
#include <vector>

#include "flash/codes.h"
#include "vok/vok_c.h"
#include "vok/vok_worker.h"

/// The border of the C interface: nothing but codes and plain bytes leaves it.

namespace vok::c {

/// The one worker of the interface. It is never destroyed, which would end the store.
VokWorker& Worker();

/// What is done with the answers of a list.
template <typename Entry>
u16 CopyOut(const std::vector<Entry>& entries, Entry* out, u32 capacity, u32* count) {
  if (count == nullptr || (out == nullptr && capacity != 0)) return code::kInvalidParameter;
  *count = static_cast<u32>(entries.size());
  for (u32 i = 0; i < capacity && i < *count; ++i) out[i] = entries[i];
  return capacity == 0 || capacity >= *count ? code::kOk : code::kItemTooBig;
}

/// Runs the body of a function of the interface; what it throws becomes a code.
template <typename Body>
u16 Call(const Body& body) noexcept {
  try {
    return body();
  } catch (const VokError& error) {
    return static_cast<u16>(error.Code);
  } catch (const std::bad_alloc&) {
    return code::kOutOfRam;
  } catch (...) {
    return code::kInternalError;
  }
}

}  // namespace vok::c
