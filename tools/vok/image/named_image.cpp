#include "image/named_image.h"

#include <filesystem>

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

/// Cuts PSDT+CODEPLUG in two. File names may hold a + too: the cut is at the first one that leaves two files.
bool CutPair(const std::string& operand, ImageArguments& image) {
  for (std::size_t plus = operand.find('+'); plus != std::string::npos; plus = operand.find('+', plus + 1)) {
    image.psdt = PlacedFileOf(operand.substr(0, plus));
    image.codeplug = PlacedFileOf(operand.substr(plus + 1));
    if (fs::exists(image.psdt.path) && fs::exists(image.codeplug.path)) return true;
  }
  return false;
}

}  // namespace

ImageArguments ImageNamed(const std::string& name, const ImageArguments& shared) {
  ImageArguments image = shared;
  if (!shared.psdt.path.empty()) {
    image.codeplug = PlacedFileOf(name);
  } else if (fs::exists(name) || !CutPair(name, image)) {
    image.psdt = {};
    image.codeplug = {};
    image.dump = name;
  }
  return image;
}

}  // namespace vok::tool
