#pragma once

#include <filesystem>
#include <string>

namespace vok::tool {

/// What to do with a directory that is there already and not empty.
enum class Existing { kRefuse, kReplace };

/// A directory that comes into being all at once: filled under another name beside its place, then renamed. Whatever
/// ends the job before Publish() leaves the place as it was and nothing beside it.
class StagingDirectory {
 public:
  /// @throws Failure when @p directory cannot become a new directory
  StagingDirectory(const std::string& directory, Existing existing);
  ~StagingDirectory();
  StagingDirectory(const StagingDirectory&) = delete;
  StagingDirectory& operator=(const StagingDirectory&) = delete;

  /// Where to put the files.
  const std::filesystem::path& path() const { return staging_; }

  void Publish();

 private:
  void MoveOldAway();

  std::string name_;  ///< as the user gave it
  std::filesystem::path target_;
  std::filesystem::path staging_;
  std::filesystem::path old_;  ///< what stood in the place, until the new directory does; empty = nothing
};

}  // namespace vok::tool
