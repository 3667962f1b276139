#include "base/staging.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "base/files.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

constexpr const char* kMarkOfUnpack = "manifest.json";

[[noreturn]] void Refuse(const std::string& directory, const std::string& why) {
  throw Failure(fmt::format("cannot make {}: {}", directory, why));
}

/// The directory's own path, without links and trailing slashes, so that a path beside it lies on the same disk.
fs::path Resolve(const std::string& directory) {
  std::error_code error;
  fs::path path = fs::weakly_canonical(fs::absolute(directory), error);
  if (error) Refuse(directory, error.message());
  return path.has_filename() ? path : path.parent_path();
}

void CheckPlace(const std::string& directory, const fs::path& target, Existing existing) {
  if (!fs::exists(target)) return;
  if (!fs::is_directory(target)) Refuse(directory, "it exists and is no directory");
  if (fs::equivalent(target, fs::current_path())) Refuse(directory, "it is the current directory; name one in it");
  if (fs::is_empty(target)) return;
  if (existing == Existing::kRefuse)
    Refuse(directory, "it exists and is not empty; --force replaces what an earlier unpack made");
  if (!fs::exists(target / kMarkOfUnpack)) Refuse(directory, "it is not empty and holds no manifest.json");
}

/// Somebody made a file that the new result makes, too.
void RequireSame(const std::string& directory, const fs::path& old, const fs::path& fresh) {
  if (ReadFile(old.string()) == ReadFile(fresh.string())) return;
  Refuse(directory, fmt::format("{} is of no earlier unpack and differs from the new one", old.string()));
}

fs::path PlaceFor(const std::string& directory, Existing existing) {
  fs::path target = Resolve(directory);
  CheckPlace(directory, target, existing);
  return target;
}

}  // namespace

StagingDirectory::StagingDirectory(const std::string& directory, Existing existing)
    : name_(directory),
      target_(PlaceFor(directory, existing)),
      staging_(target_, Temporary::Kind::kDirectory, directory) {}

void StagingDirectory::MakeFolder(const std::string& name) const {
  const Uninterrupted uninterrupted;
  std::error_code error;
  fs::create_directories(staging_.path() / name, error);
  if (error) Refuse(name_, error.message());
}

void StagingDirectory::Write(const fs::path& name, std::span<const u8> bytes) const {
  WriteNewFile(staging_.path() / name, bytes);
}

void StagingDirectory::Publish(const std::set<fs::path>& made) {
  const Uninterrupted uninterrupted;
  const bool replaces = fs::exists(target_);
  if (replaces)
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(target_))
      if (entry.is_symlink() || !entry.is_directory()) TakeOver(entry.path().lexically_relative(target_), made);
  const std::error_code error = replaces ? staging_.PublishOver() : staging_.PublishNew();
  if (error) Refuse(name_, error.message());
}

void StagingDirectory::TakeOver(const fs::path& name, const std::set<fs::path>& made) const {
  const fs::path from = target_ / name;
  const fs::path to = staging_.path() / name;
  if (made.contains(name)) {
    if (IsInput(from) && name != kMarkOfUnpack) Refuse(name_, "this command reads " + name.string() + " in it");
    return;
  }
  if (fs::exists(fs::symlink_status(to))) return RequireSame(name_, from, to);
  MakeFolder(name.parent_path().string());
  std::error_code error;
  fs::create_hard_link(from, to, error);
  if (error) fs::copy(from, to, fs::copy_options::copy_symlinks, error);
  if (error) Refuse(name_, fmt::format("{} in it cannot be kept: {}", name.string(), error.message()));
}

}  // namespace vok::tool
