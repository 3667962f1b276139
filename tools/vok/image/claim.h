#pragma once

#include <span>
#include <string>
#include <vector>

#include "base/platform.h"
#include "image/image_arguments.h"

namespace vok::tool {

/// Where a changing command leaves its result.
struct Destination {
  std::string output;  ///< empty = in place
  bool force = false;  ///< replace another file that has the output's name
  bool wait = false;   ///< for other commands that use the image
};

/// A changing command's hold on the image's file, from before it is read until the result is written, so that no two
/// commands change what the other one does not know of. What the command writes elsewhere is held, too.
class Claim {
 public:
  /// @throws Failure when the file cannot be changed, another command uses it or the output may not be made
  Claim(const std::string& image, const Destination& destination);
  Claim(const ImageArguments& image, const Destination& destination)
      : Claim(image.IsDump() ? image.dump : image.codeplug.path, destination) {}

  bool IsInPlace() const { return in_place_; }
  /// The file that gets the result.
  const std::string& path() const { return path_; }

  void Write(std::span<const u8> bytes) const;
  /// Where this replaces the image, its @p old bytes stay beside it.
  /// @return the path under which they stay, empty = nothing was replaced
  std::string WriteKeeping(std::span<const u8> old, std::span<const u8> bytes) const;

 private:
  std::string path_;
  bool force_;
  bool in_place_;
  std::vector<platform::File> held_;
};

}  // namespace vok::tool
