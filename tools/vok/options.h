#pragma once

#include <optional>
#include <string>

#include "flash/types.h"

/// What a command line says, after it was found sound.

namespace vok::tool {

/// A file and the flash address of its first byte.
struct PlacedFile {
  std::string path;
  std::optional<u64> address;
};

/// Where the image comes from: a dump, or a PSDT and a codeplug.
struct ImageArguments {
  static constexpr u32 kDefaultPsdtAddress = 0xE000;

  std::string dump;
  u64 psdt_address = kDefaultPsdtAddress;  ///< of a dump
  PlacedFile psdt;
  PlacedFile codeplug;
  u16 store_version = 0;  ///< 0 = as the blocks say

  bool IsDump() const { return !dump.empty(); }
};

struct Options {
  ImageArguments image;
  bool json = false;
  bool verbose = false;
  std::string section;  ///< empty = all
  u16 type = 0;
  u16 id = 0;
  std::string output;  ///< empty = standard output, or the input in place
  std::string directory;
  bool force = false;
  bool skip_unmounted = false;
};

/// A command: does its job and gives the exit status. @throws Failure
using Command = int (*)(const Options& options);

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongCommandLine = 2;

}  // namespace vok::tool
