#pragma once

#include "command/command_table.h"

/// The options that name the image.

namespace vok::tool {

void TakeImageOptions(Arguments& arguments, ImageArguments& image);

/// @throws WrongCommandLine unless the options name an image as the command uses it
void RequireImage(const ImageArguments& image, ImageUse use);

}  // namespace vok::tool
