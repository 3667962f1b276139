#include "base/temporary.h"

#include <fmt/core.h>

#include <chrono>
#include <thread>
#include <vector>

#include "base/failure.h"
#include "base/files.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

/// What is to be removed when the program ends. It is never destroyed: a request to end may come at any time.
struct Registry {
  std::recursive_mutex mutex;
  std::vector<fs::path> paths;
};

void RemoveAllBeforeEnd();

Registry& TheRegistry() {
  static Registry* const registry = [] {
    platform::CleanUpBeforeEnd(RemoveAllBeforeEnd);
    return new Registry;
  }();
  return *registry;
}

/// Where a file that is still open keeps its directory, it is closed soon: whoever writes it can begin no other one.
void RemoveSoon(const fs::path& path) {
  constexpr int kTries = 100;
  std::error_code ignored;
  for (int tries = 0; tries < kTries && platform::StampOf(path); ++tries) {
    if (tries != 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    fs::remove_all(path, ignored);
  }
}

/// The mutex is kept: no other thread makes anything more.
void RemoveAllBeforeEnd() {
  TheRegistry().mutex.lock();
  for (const fs::path& path : TheRegistry().paths) RemoveSoon(path);
}

fs::path NameBeside(const fs::path& place) {
  // A longer name, with what comes around it, would be too long for some disks.
  constexpr std::size_t kLongest = 200;
  return place.parent_path() / ('.' + place.filename().string().substr(0, kLongest) + ".vok-tmp");
}

platform::File OpenTemporary(const fs::path& path, Temporary::Kind kind, std::error_code& error) {
  return kind == Temporary::Kind::kFile ? platform::File::OpenOrCreate(path, error)
                                        : platform::File::OpenOrCreateDirectory(path, error);
}

bool LockNow(const platform::File& file, std::error_code& error) {
  return file.Lock(platform::LockKind::kExclusive, platform::WhenLocked::kGiveUp, error);
}

}  // namespace

Uninterrupted::Uninterrupted() : lock_(TheRegistry().mutex) {}

Temporary::Temporary(const fs::path& place, Kind kind, std::string shown)
    : place_(place), path_(NameBeside(place)), kind_(kind), shown_(std::move(shown)) {
  while (!TakeHold()) continue;
  if (const std::error_code error = Empty()) {
    Remove();
    ThrowSystemError("write", shown_, error);
  }
}

Temporary::~Temporary() {
  if (is_held_) Remove();
}

bool Temporary::TakeHold() {
  const Uninterrupted uninterrupted;
  std::error_code error;
  file_ = OpenTemporary(path_, kind_, error);
  const bool is_locked = !error && LockNow(file_, error);
  if (error) ThrowSystemError("write", shown_, error);
  if (!is_locked) throw Failure(fmt::format("cannot write {}: another command writes it", shown_));
  const auto there = platform::StampOf(path_);
  if (!there || there->id != file_.Stamp().id) return false;
  TheRegistry().paths.push_back(path_);
  is_held_ = true;
  return true;
}

std::error_code Temporary::Empty() const {
  if (kind_ == Kind::kFile) return file_.Empty();
  std::error_code error;
  for (const fs::directory_entry& left : fs::directory_iterator(path_, error))
    if (!error) fs::remove_all(left.path(), error);
  return error;
}

void Temporary::LetStay() {
  is_held_ = false;
  std::erase(TheRegistry().paths, path_);
}

void Temporary::Remove() {
  const Uninterrupted uninterrupted;
  std::error_code ignored;
  fs::remove_all(path_, ignored);
  LetStay();
}

std::error_code Temporary::PublishNew() {
  const Uninterrupted uninterrupted;
  const std::error_code error = platform::MoveNew(path_, place_);
  if (!error) LetStay();
  return error;
}

std::error_code Temporary::PublishOver() {
  const Uninterrupted uninterrupted;
  if (kind_ == Kind::kDirectory) return TradePlaces();
  const std::error_code error = platform::MoveOver(path_, place_);
  if (!error) LetStay();
  return error;
}

/// The old directory has the temporary's name then, and goes with it. It is locked: nobody takes it over meanwhile.
std::error_code Temporary::TradePlaces() {
  std::error_code error;
  platform::File old = platform::File::OpenOrCreateDirectory(place_, error);
  if (!error && !LockNow(old, error) && !error) error = std::make_error_code(std::errc::device_or_resource_busy);
  if (!error) error = platform::Exchange(path_, place_);
  if (!error) file_ = std::move(old);
  return error;
}

}  // namespace vok::tool
