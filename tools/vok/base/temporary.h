#pragma once

#include <filesystem>
#include <mutex>
#include <string>

#include "base/platform.h"

namespace vok::tool {

/// What a command makes at a place, under a name beside it until it is complete: ".NAME.vok-tmp". Whatever ends the job
/// before removes it; what a killed job left is taken over by the next one for the same place. Two jobs never work at
/// one place: its temporary is locked as long as this lives.
class Temporary {
 public:
  enum class Kind { kFile, kDirectory };

  /// Empty at first. @param shown  the place as the user named it, for failures
  /// @throws Failure also when another job works at the place
  Temporary(const std::filesystem::path& place, Kind kind, std::string shown);
  ~Temporary();
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;

  const std::filesystem::path& path() const { return path_; }
  const platform::File& file() const { return file_; }

  /// Gives it its place, at which nothing may lie.
  std::error_code PublishNew();
  /// Gives it its place in the stead of what lies there, which is as it was when that fails and gone otherwise.
  std::error_code PublishOver();

 private:
  /// @return false when the temporary that was there got its place, or went, before it could be locked
  bool TakeHold();
  std::error_code Empty() const;
  std::error_code TradePlaces();
  void LetStay();
  void Remove();

  std::filesystem::path place_;
  std::filesystem::path path_;
  Kind kind_;
  std::string shown_;
  platform::File file_;
  bool is_held_ = false;  ///< it is to be removed
};

/// While one lives, a request to end the program waits: for a step that makes something and registers it.
class Uninterrupted {
 public:
  Uninterrupted();

 private:
  std::unique_lock<std::recursive_mutex> lock_;
};

}  // namespace vok::tool
