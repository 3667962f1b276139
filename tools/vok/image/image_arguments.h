#pragma once

#include <optional>
#include <string>

#include "base/files.h"
#include "image/placed_file.h"

namespace vok::tool {

/// Where the image comes from: a dump, or a PSDT and a codeplug.
struct ImageArguments {
  static constexpr u32 kDefaultPsdtAddress = 0xE000;

  std::string dump;
  std::optional<u64> psdt_address;  ///< of a dump; none = the usual one
  PlacedFile psdt;
  PlacedFile codeplug;
  u16 store_version = 0;  ///< 0 = as the blocks say
  bool rebuilt = false;   ///< for reading: with its sections rebuilt in memory

  /// The dump comes from standard input.
  bool IsStandardInput() const { return dump == kStandardStream; }
  bool IsDump() const { return !dump.empty(); }
};

}  // namespace vok::tool
