#include "base/locking.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "base/files.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

/// @return nothing when the file was replaced or went before it could be locked
std::optional<platform::File> TryToHold(const FileToHold& wanted, platform::WhenLocked when_locked) {
  std::error_code error;
  platform::File file = platform::File::OpenToRead(wanted.path, error);
  if (error) ThrowSystemError("read", wanted.path, error);
  const bool is_locked = file.Lock(wanted.kind, when_locked, error);
  if (error) ThrowSystemError("lock", wanted.path, error);
  if (!is_locked) throw Failure(fmt::format("{} is in use by another command; --wait waits for its end", wanted.path));
  const auto there = platform::StampOf(wanted.path);
  if (!there || there->id != file.Stamp().id) return std::nullopt;
  return file;
}

platform::FileId IdOf(const FileToHold& file) {
  return platform::StampOf(file.path).value_or(platform::FileStamp{}).id;
}

/// @return nothing when one was replaced meanwhile
std::optional<std::vector<platform::File>> TryToHoldAll(std::vector<FileToHold>& files,
                                                        platform::WhenLocked when_locked) {
  // Opening a pipe would wait for who writes it.
  std::erase_if(files, [](const FileToHold& file) { return !fs::is_regular_file(file.path); });
  // In one order for everybody, so that two that wait never wait for each other.
  std::sort(files.begin(), files.end(), [](const FileToHold& a, const FileToHold& b) { return IdOf(a) < IdOf(b); });
  std::vector<platform::File> held;
  for (const FileToHold& file : files) {
    std::optional<platform::File> one = TryToHold(file, when_locked);
    if (!one) return std::nullopt;
    held.push_back(std::move(*one));
  }
  return held;
}

}  // namespace

std::vector<platform::File> HoldFiles(std::vector<FileToHold> files, platform::WhenLocked when_locked) {
  for (;;)
    if (auto held = TryToHoldAll(files, when_locked)) return std::move(*held);
}

}  // namespace vok::tool
