#pragma once

#include <string>

#include "image/image_arguments.h"

namespace vok::tool {

/// What @p name means as an image: a codeplug where @p shared names a PSDT, else a dump, or PSDT+CODEPLUG where there
/// is no file of that name and the two parts are files.
ImageArguments ImageNamed(const std::string& name, const ImageArguments& shared);

}  // namespace vok::tool
