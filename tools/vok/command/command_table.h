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
  const char* name;
  Command run;
  void (*take)(Arguments& arguments, Options& options);  ///< declares what it takes
  ImageUse image_use;
  const char* heading;  ///< under which the help shows it
  const char* description;
  const char* alias = nullptr;  ///< another name
};

/// Every command, in the order of the help.
std::span<const CommandEntry> CommandTable();

}  // namespace vok::tool
