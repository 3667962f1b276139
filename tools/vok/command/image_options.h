#pragma once

#include "command/command_table.h"

/// The options that name the image.

namespace vok::tool {

void TakeImageOptions(Arguments& arguments, ImageArguments& image);

/// Where no option names the image, VOK_IMAGE does, or VOK_PSDT and VOK_CODEPLUG.
/// @throws WrongCommandLine when these contradict each other
void TakeImageFromEnvironment(ImageArguments& image, ImageUse use);

/// @throws WrongCommandLine unless the options name an image as the command uses it
void RequireImage(const ImageArguments& image, ImageUse use);

}  // namespace vok::tool
