#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include "flash/types.h"

/// Reading and writing whole files. Failures name the path and the system's reason.

namespace vok::tool {

using Bytes = std::vector<u8>;

/// In place of a path: standard input to read, standard output to write.
inline constexpr const char* kStandardStream = "-";

/// The whole file, which may be a pipe. @throws Failure also for a file longer than the flash image, or one that
/// somebody changes meanwhile
Bytes ReadFile(const std::string& path);

/// All that standard input holds. @throws Failure as ReadFile()
Bytes ReadStandardInput();

/// Writes a file that is new, without waiting for the disk. @throws Failure, and the file is gone
void WriteNewFile(const std::filesystem::path& path, std::span<const u8> bytes);

/// Whether an output may replace what has its name.
enum class Existing { kRefuse, kReplace };

/// @throws Failure when a file lies at @p path that an output may not replace. A pipe or device takes any output.
void RequirePlaceFor(const std::string& path, Existing existing);

/// A file to be made; without a path there is none.
struct Output {
  std::string path;
  std::span<const u8> bytes;
};

/// Makes the files, all of them complete and on the disk or none at all. Links are followed; a pipe or device is
/// written to. @throws Failure, and what was there is as it was; also for a file that this program has read
void WriteOutputs(std::span<const Output> outputs, Existing existing);

inline void WriteOutput(const std::string& path, std::span<const u8> bytes, Existing existing) {
  const Output output{.path = path, .bytes = bytes};
  WriteOutputs({&output, 1}, existing);
}

/// Replaces a file that this program has read, and whose permissions the new one takes.
/// @throws Failure as WriteOutput(), also when the file is not any more as it was read
void ReplaceInput(const std::string& path, std::span<const u8> bytes);

/// ReplaceInput() that keeps the @p old bytes in a new file beside it, with its permissions: FILE.orig, or FILE.orig.2
/// and so on where that exists. @return the new file's path @throws Failure, and there is no new file
std::string ReplaceKeeping(const std::string& path, std::span<const u8> old, std::span<const u8> bytes);

/// Whether this program has read the file, under whatever name.
bool IsInput(const std::filesystem::path& path);

/// @throws Failure "cannot DOING PATH: ..."
[[noreturn]] void ThrowSystemError(const char* doing, const std::string& path, const std::error_code& error);

inline std::span<const u8> AsBytes(const std::string& text) {
  return {reinterpret_cast<const u8*>(text.data()), text.size()};
}

}  // namespace vok::tool
