#include "image/claim.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "base/files.h"
#include "base/locking.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

using platform::LockKind;

bool AreOneFile(const std::string& a, const std::string& b) {
  const auto first = platform::StampOf(a);
  const auto second = platform::StampOf(b);
  return a == b || (first && second && first->id == second->id);
}

Existing ExistingFor(bool force) { return force ? Existing::kReplace : Existing::kRefuse; }

void RequireChangeable(const std::string& path) {
  const auto refuse = [&path](const char* why) { throw Failure(fmt::format("cannot change {}: {}", path, why)); };
  if (!fs::exists(path) || fs::is_directory(path)) return;  // What reads it tells why it cannot.
  if (!fs::is_regular_file(path)) refuse("it is no regular file; -o names one for the result");
  if (!platform::IsWritable(path)) refuse("it is write-protected; -o names another file for the result");
}

}  // namespace

Claim::Claim(const std::string& source, const Destination& destination) : force_(destination.force) {
  if (source == kStandardStream && destination.output.empty())
    throw Failure(
        "standard input cannot be changed in place; -o names a file for the result, or - for standard output");
  path_ = destination.output.empty() ? source : destination.output;
  in_place_ = path_ != kStandardStream && AreOneFile(path_, source);
  std::vector<FileToHold> files = {{source, in_place_ ? LockKind::kExclusive : LockKind::kShared}};
  if (in_place_) {
    RequireChangeable(path_);
  } else {
    RequirePlaceFor(path_, ExistingFor(force_));
    files.push_back({path_, LockKind::kExclusive});
  }
  held_ = HoldFiles(std::move(files), destination.wait ? platform::WhenLocked::kWait : platform::WhenLocked::kGiveUp);
}

void Claim::Write(std::span<const u8> bytes) const {
  if (in_place_) return ReplaceInput(path_, bytes);
  WriteOutput(path_, bytes, ExistingFor(force_));
}

std::string Claim::WriteKeeping(std::span<const u8> old, std::span<const u8> bytes) const {
  if (in_place_) return ReplaceKeeping(path_, old, bytes);
  Write(bytes);
  return "";
}

}  // namespace vok::tool
