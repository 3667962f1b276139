#pragma once

#include <filesystem>
#include <set>
#include <string>

#include "base/files.h"
#include "base/temporary.h"

namespace vok::tool {

/// A directory that comes into being all at once: filled under another name beside its place, which it gets in the end.
/// Whatever ends the job before Publish() leaves the place as it was and nothing beside it.
class StagingDirectory {
 public:
  /// @throws Failure when @p directory cannot become a new directory
  StagingDirectory(const std::string& directory, Existing existing);

  void MakeFolder(const std::string& name) const;
  /// @param name  relative to the directory
  void Write(const std::filesystem::path& name, std::span<const u8> bytes) const;

  /// Takes over what lies in the place and is none of the @p made files of an earlier result, which go.
  /// @throws Failure when it has the name of a new file with other bytes, or a file that would go is one that this
  /// program has read
  void Publish(const std::set<std::filesystem::path>& made);

 private:
  void TakeOver(const std::filesystem::path& name, const std::set<std::filesystem::path>& made) const;

  std::string name_;  ///< as the user gave it
  std::filesystem::path target_;
  Temporary staging_;
};

}  // namespace vok::tool
