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
  if (existing == Existing::kRefuse) Refuse(directory, "it exists and is not empty");
  // Everything in the directory will be gone: only what looks like an earlier result may be replaced.
  if (!fs::exists(target / kMarkOfUnpack)) Refuse(directory, "it is not empty and holds no manifest.json");
}

}  // namespace

StagingDirectory::StagingDirectory(const std::string& directory, Existing existing)
    : name_(directory), target_(Resolve(directory)) {
  CheckPlace(name_, target_, existing);
  const fs::path staging = TemporaryPathBeside(target_);
  std::error_code error;
  if (!fs::create_directory(staging, error)) Refuse(name_, error.message());
  staging_ = staging;
}

StagingDirectory::~StagingDirectory() {
  std::error_code ignored;
  if (!staging_.empty()) fs::remove_all(staging_, ignored);
}

void StagingDirectory::MoveOldAway() {
  if (!fs::exists(target_)) return;
  const fs::path old = TemporaryPathBeside(target_);
  std::error_code error;
  fs::rename(target_, old, error);
  if (error) Refuse(name_, error.message());
  old_ = old;
}

void StagingDirectory::Publish() {
  MoveOldAway();
  std::error_code error;
  fs::rename(staging_, target_, error);
  if (error) {
    std::error_code ignored;
    if (!old_.empty()) fs::rename(old_, target_, ignored);
    Refuse(name_, error.message());
  }
  staging_.clear();
  std::error_code ignored;
  if (!old_.empty()) fs::remove_all(old_, ignored);
}

}  // namespace vok::tool
