#include "base/files.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>

#include "base/failure.h"
#include "base/large_pages.h"
#include "base/temporary.h"
#include "base/terminal.h"
#include "flash/image.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

using platform::File;

/// The files that this program has read, as they were then.
std::map<platform::FileId, platform::FileStamp>& Inputs() {
  static std::map<platform::FileId, platform::FileStamp> inputs;
  return inputs;
}

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
  throw Failure(fmt::format("cannot write {}: {}", path, why));
}

/// @param expected  how many bytes are likely to come
/// @param read      fills a part of what it is given; nothing = the end
template <typename Read>
Bytes ReadToEnd(const std::string& path, u64 expected, Read read) {
  constexpr std::size_t kMore = 0x40000;
  // One byte more than expected: it stays free when the end is where it should be, and nothing is left over.
  Bytes bytes;
  bytes.reserve(std::min<u64>(expected, kFlashSize) + 1);
  UseLargePages(bytes.data(), bytes.capacity());
  bytes.resize(bytes.capacity());
  std::size_t size = 0;
  while (const std::size_t count = read(std::span(bytes).subspan(size))) {
    size += count;
    if (size > kFlashSize)
      throw Failure(fmt::format("{} is longer than the flash image of {} bytes", path, kFlashSize));
    if (size == bytes.size()) bytes.resize(size + kMore);
  }
  bytes.resize(size);
  return bytes;
}

/// Where not even a link that leads nowhere lies, or only what takes any bytes.
bool IsFree(const fs::path& path) {
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  if (!fs::exists(status)) return !fs::exists(fs::symlink_status(path, ignored));
  return !fs::is_regular_file(status) && !fs::is_directory(status);
}

void WriteInto(const fs::path& path, std::span<const u8> bytes) {
  std::error_code error;
  const File file = File::OpenToWrite(path, error);
  if (!error) error = file.Write(bytes);
  if (error) ThrowSystemError("write", path.string(), error);
}

/// The file behind a link, so that the link itself stays.
fs::path FollowLink(const fs::path& path) {
  std::error_code error;
  const fs::path target = fs::canonical(path, error);
  return error ? path : target;
}

/// Makes @p temporary hold the bytes and, where there is one, the permissions of the file that it is made for.
void Fill(const Temporary& temporary, const fs::path& like, const std::string& shown, std::span<const u8> bytes) {
  std::error_code error;
  if (platform::StampOf(like)) error = temporary.file().BecomeLike(like);
  if (!error) error = temporary.file().Write(bytes);
  if (!error) error = temporary.file().Flush();
  if (error) ThrowSystemError("write", shown, error);
}

void RequireWritable(const fs::path& path, const std::string& shown) {
  if (platform::StampOf(path) && !platform::IsWritable(path)) Refuse(shown, "it is write-protected");
}

/// Nobody who heeds the lock has changed it since.
void RequireAsRead(const fs::path& path, const std::string& shown) {
  const auto now = platform::StampOf(path);
  const auto then = now ? Inputs().find(now->id) : Inputs().end();
  if (then == Inputs().end() || then->second != *now) Refuse(shown, "another program has changed it meanwhile");
}

void RequireOutput(const Output& output, Existing existing) {
  if (output.path.empty() || output.path == kStandardStream) return;
  RequirePlaceFor(output.path, existing);
  if (IsInput(output.path)) Refuse(output.path, "this command reads it");
}

/// An output that only lacks its name, or what takes bytes as they come and has them.
class PendingOutput {
 public:
  PendingOutput(const Output& output, Existing existing)
      : path_(output.path), existing_(existing), target_(FollowLink(output.path)) {
    if (IsFree(target_) && fs::exists(target_)) {
      WriteInto(target_, output.bytes);
    } else {
      temporary_.emplace(target_, Temporary::Kind::kFile, output.path);
      Fill(*temporary_, target_, output.path, output.bytes);
    }
  }

  void Publish() {
    if (!temporary_) return;
    const std::error_code error = existing_ == Existing::kRefuse ? temporary_->PublishNew() : temporary_->PublishOver();
    if (error) ThrowSystemError("write", path_, error);
  }

 private:
  std::string path_;
  Existing existing_;
  fs::path target_;
  std::optional<Temporary> temporary_;
};

std::string FreeNameToKeep(const std::string& path) {
  std::string kept = path + ".orig";
  for (int number = 2; fs::exists(fs::symlink_status(kept)); ++number) kept = fmt::format("{}.orig.{}", path, number);
  return kept;
}

}  // namespace

void ThrowSystemError(const char* doing, const std::string& path, const std::error_code& error) {
  throw Failure(fmt::format("cannot {} {}: {}", doing, path, error.message()));
}

Bytes ReadFile(const std::string& path) {
  std::error_code error;
  const File file = File::OpenToRead(path, error);
  if (error) ThrowSystemError("read", path, error);
  const platform::FileStamp stamp = file.Stamp();
  Bytes bytes = ReadToEnd(path, stamp.size, [&](std::span<u8> rest) {
    const std::size_t count = file.Read(rest, error);
    if (error) ThrowSystemError("read", path, error);
    return count;
  });
  // The system's own files say that they are empty.
  const bool is_whole = bytes.size() == stamp.size || stamp.size == 0;
  if (file.IsRegular() && (file.Stamp() != stamp || !is_whole))
    throw Failure(fmt::format("cannot read {}: another program changes it", path));
  Inputs()[stamp.id] = stamp;
  return bytes;
}

Bytes ReadStandardInput() {
  Bytes bytes =
      ReadToEnd("standard input", 0, [](std::span<u8> rest) { return std::fread(rest.data(), 1, rest.size(), stdin); });
  if (std::ferror(stdin) != 0) ThrowSystemError("read", "standard input", std::make_error_code(std::errc::io_error));
  return bytes;
}

void WriteNewFile(const fs::path& path, std::span<const u8> bytes) {
  std::error_code error;
  const File file = [&] {
    const Uninterrupted uninterrupted;
    return File::Create(path, error);
  }();
  if (error) ThrowSystemError("write", path.string(), error);
  error = file.Write(bytes);
  if (!error) return;
  std::error_code ignored;
  fs::remove(path, ignored);
  ThrowSystemError("write", path.string(), error);
}

void RequirePlaceFor(const std::string& path, Existing existing) {
  if (path == kStandardStream) return;
  if (IsFree(path)) return;
  if (fs::is_directory(path)) ThrowSystemError("write", path, std::make_error_code(std::errc::is_a_directory));
  if (existing == Existing::kRefuse) Refuse(path, "it exists; --force replaces it");
  RequireWritable(path, path);
}

void WriteOutputs(std::span<const Output> outputs, Existing existing) {
  for (const Output& output : outputs) RequireOutput(output, existing);
  std::deque<PendingOutput> pending;
  for (const Output& output : outputs)
    if (!output.path.empty() && output.path != kStandardStream) pending.emplace_back(output, existing);
  const Uninterrupted uninterrupted;
  for (PendingOutput& output : pending) output.Publish();
  for (const Output& output : outputs)
    if (output.path == kStandardStream) PrintBytes(output.bytes);
}

void ReplaceInput(const std::string& path, std::span<const u8> bytes) {
  const fs::path target = FollowLink(path);
  RequireWritable(target, path);
  Temporary temporary(target, Temporary::Kind::kFile, path);
  Fill(temporary, target, path, bytes);
  RequireAsRead(target, path);
  if (const std::error_code error = temporary.PublishOver()) ThrowSystemError("write", path, error);
}

std::string ReplaceKeeping(const std::string& path, std::span<const u8> old, std::span<const u8> bytes) {
  std::string kept = FreeNameToKeep(path);
  Temporary temporary(kept, Temporary::Kind::kFile, kept);
  Fill(temporary, path, kept, old);
  // A request to end finds both files or none.
  const Uninterrupted uninterrupted;
  if (const std::error_code error = temporary.PublishNew()) ThrowSystemError("write", kept, error);
  try {
    ReplaceInput(path, bytes);
  } catch (const Failure&) {
    std::error_code ignored;
    fs::remove(kept, ignored);
    throw;
  }
  return kept;
}

bool IsInput(const fs::path& path) {
  const auto stamp = platform::StampOf(path);
  return stamp && Inputs().contains(stamp->id);
}

}  // namespace vok::tool
