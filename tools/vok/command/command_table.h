#pragma once

#include <span>

#include "command/arguments.h"

namespace vok::tool {

/// Which of the image options a command takes.
enum class ImageUse {
  kOne,       ///< they name the image
  kCompared,  ///< the command names two images; the options say what both have in common
  kNone,
};

/// A command of the tool.
struct CommandEntry {
  const char* name = nullptr;
  Command run = nullptr;
  void (*take)(Arguments& arguments, Options& options) = nullptr;  ///< declares what it takes
  ImageUse image_use = ImageUse::kOne;
  const char* heading = nullptr;  ///< under which the help shows it
  const char* description = nullptr;
  const char* alias = nullptr;  ///< another name
};

/// Every command, in the order of the help.
std::span<const CommandEntry> CommandTable();

}  // namespace vok::tool
