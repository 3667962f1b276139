#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "flash/types.h"

/// Reading and writing whole files. Failures name the path and the system's reason.

namespace vok::tool {

using Bytes = std::vector<u8>;

/// The whole file, which may be a pipe. @throws Failure also for a file longer than the flash image
Bytes ReadFile(const std::string& path);

/// All that standard input holds. @throws Failure as ReadFile()
Bytes ReadStandardInput();

/// Writes a file that is new, without waiting for the disk. @throws Failure, and the file is gone
void WriteNewFile(const std::filesystem::path& path, std::span<const u8> bytes);

/// Replaces @p path by a file with exactly @p bytes: they are complete and flushed in a temporary file beside it before
/// it is renamed over the old one, whose permissions it takes. A link is followed; a pipe or device is written to.
/// @throws Failure, and the old file is as it was
void ReplaceFile(const std::string& path, std::span<const u8> bytes);

/// ReplaceFile() that keeps the @p old bytes in a new file beside it, with its permissions: FILE.orig, or FILE.orig.2
/// and so on where that exists. @return the new file's path @throws Failure, and there is no new file
std::string ReplaceKeeping(const std::string& path, std::span<const u8> old, std::span<const u8> bytes);

/// A path beside @p path that does not exist, for what is to become @p path once it is complete.
std::filesystem::path TemporaryPathBeside(const std::filesystem::path& path);

inline std::span<const u8> AsBytes(const std::string& text) {
  return {reinterpret_cast<const u8*>(text.data()), text.size()};
}

}  // namespace vok::tool
