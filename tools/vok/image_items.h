#pragma once

#include <map>
#include <string>

#include "items.h"
#include "options.h"

/// The items of an image, however it is kept.

namespace vok::tool {

struct ItemName {
  std::string section;
  u16 type;
  u16 id;

  auto operator<=>(const ItemName&) const = default;
};

struct HeldItem {
  ItemEntry entry;
  Bytes bytes;
};

using ImageItems = std::map<ItemName, HeldItem>;

/// Reads every item of the image that @p operand names: a directory that unpack made,
/// PSDT[@ADDRESS]+CODEPLUG[@ADDRESS], a codeplug when @p shared names a PSDT, else a dump.
/// @throws Failure also when a section that should mount does not
ImageItems ReadImageItems(const std::string& operand, const ImageArguments& shared);

}  // namespace vok::tool
