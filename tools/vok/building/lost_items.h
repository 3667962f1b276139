#pragma once

#include <string>

#include "image/claim.h"
#include "image/image.h"

/// Items that a repair mount drops although a Valid copy of them lies in the section: it formats blocks whose header is
/// damaged with all that they hold.

namespace vok::tool {

/// Whether a command may go on although its repair drops items.
enum class AcceptLoss : bool { kNo, kYes };

/// @throws Failure when the mounts dropped items and that is not accepted
void RequireNothingDropped(const Losses& losses, AcceptLoss accept);

/// Writes a changed image where @p claim says, and tells on standard error what it does not serve. When items were
/// dropped on the way, an original that would be replaced is kept: it is all that they can be got out of.
void WriteChanged(const LoadedImage& image, const Claim& claim, const Losses& losses);

}  // namespace vok::tool
