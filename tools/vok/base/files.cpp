#include "base/files.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>

#include "base/failure.h"
#include "flash/image.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kReadChunk = 0x40000;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void ThrowSystemError(const char* doing, const std::string& path, int error) {
  throw Failure(fmt::format("cannot {} {}: {}", doing, path, std::strerror(error)));
}

/// Exclusive creation: what lies there already is never written into. Failures name @p shown.
File CreateFile(const fs::path& path, const std::string& shown) {
  constexpr mode_t kEverybody = 0666;
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kEverybody);
  if (descriptor < 0) ThrowSystemError("write", shown, errno);
  File file(::fdopen(descriptor, "wb"));
  if (file == nullptr) {
    ::close(descriptor);
    ThrowSystemError("write", shown, ENOMEM);
  }
  return file;
}

bool WriteAndFlush(std::FILE* file, std::span<const u8> bytes) {
  // An empty span may have no data at all, which fwrite() does not take.
  const std::size_t written = bytes.empty() ? 0 : std::fwrite(bytes.data(), 1, bytes.size(), file);
  return written == bytes.size() && std::fflush(file) == 0;
}

/// Whether the file has to be on the disk, and not only in the system's care, before the job goes on.
enum class Sync { kNo, kYes };

void CreateWithBytes(const fs::path& path, const std::string& shown, std::span<const u8> bytes, Sync sync) {
  const File file = CreateFile(path, shown);
  if (WriteAndFlush(file.get(), bytes) && (sync == Sync::kNo || ::fsync(::fileno(file.get())) == 0)) return;
  const int error = errno;
  std::error_code ignored;
  fs::remove(path, ignored);
  ThrowSystemError("write", shown, error);
}

void WriteInto(const fs::path& path, std::span<const u8> bytes) {
  const File file(std::fopen(path.c_str(), "wb"));
  if (file == nullptr || !WriteAndFlush(file.get(), bytes)) ThrowSystemError("write", path, errno);
}

/// The file behind a link, so that the link itself stays.
fs::path FollowLink(const fs::path& path) {
  std::error_code error;
  const fs::path target = fs::canonical(path, error);
  return error ? path : target;
}

/// @param expected  how many bytes are likely to come
Bytes ReadToEnd(std::FILE* file, const std::string& path, std::uintmax_t expected = 0) {
  // One byte more than expected: it stays free when the end is where it should be, and nothing is left over.
  Bytes bytes(std::min<std::uintmax_t>(expected, kFlashSize) + 1);
  std::size_t size = 0;
  for (;;) {
    size += std::fread(bytes.data() + size, 1, bytes.size() - size, file);
    if (size < bytes.size()) break;
    if (size > kFlashSize)
      throw Failure(fmt::format("{} is longer than the flash image of {} bytes", path, kFlashSize));
    bytes.resize(size + kReadChunk);
  }
  if (std::ferror(file) != 0) ThrowSystemError("read", path, errno);
  bytes.resize(size);
  return bytes;
}

/// 0 for what has no length, like a pipe.
std::uintmax_t LengthOf(const fs::path& path) {
  std::error_code error;
  const std::uintmax_t length = fs::file_size(path, error);
  return error ? 0 : length;
}

}  // namespace

Bytes ReadFile(const std::string& path) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) ThrowSystemError("read", path, errno);
  return ReadToEnd(file.get(), path, LengthOf(path));
}

Bytes ReadStandardInput() { return ReadToEnd(stdin, "standard input"); }

void WriteNewFile(const fs::path& path, std::span<const u8> bytes) { CreateWithBytes(path, path, bytes, Sync::kNo); }

void ReplaceFile(const std::string& path, std::span<const u8> bytes) {
  const fs::path target = FollowLink(path);
  const fs::file_status old = fs::status(target);
  if (fs::is_directory(old)) ThrowSystemError("write", path, EISDIR);
  if (fs::exists(old) && !fs::is_regular_file(old)) return WriteInto(target, bytes);

  const fs::path temporary = TemporaryPathBeside(target);
  CreateWithBytes(temporary, path, bytes, Sync::kYes);
  std::error_code error;
  if (fs::exists(old)) fs::permissions(temporary, old.permissions(), error);
  if (!error) fs::rename(temporary, target, error);
  if (!error) return;
  std::error_code ignored;
  fs::remove(temporary, ignored);
  ThrowSystemError("write", path, error.value());
}

std::string ReplaceKeeping(const std::string& path, std::span<const u8> old, std::span<const u8> bytes) {
  std::string kept = path + ".orig";
  for (int number = 2; fs::exists(fs::symlink_status(kept)); ++number) kept = fmt::format("{}.orig.{}", path, number);
  CreateWithBytes(kept, kept, old, Sync::kYes);
  std::error_code ignored;
  fs::permissions(kept, fs::status(path).permissions(), ignored);
  try {
    ReplaceFile(path, bytes);
  } catch (const Failure&) {
    fs::remove(kept, ignored);
    throw;
  }
  return kept;
}

fs::path TemporaryPathBeside(const fs::path& path) {
  std::random_device random;
  for (;;) {
    fs::path candidate = path.parent_path() / fmt::format(".{}.{:08x}", path.filename().string(), random());
    if (!fs::exists(fs::symlink_status(candidate))) return candidate;
  }
}

}  // namespace vok::tool
