#pragma once

#include <map>
#include <string>
#include <tuple>

#include "image/image_arguments.h"
#include "section/items.h"
#include "section/losses.h"

/// The items of an image, however it is kept.

namespace vok::tool {

struct ItemName {
  std::string section;
  u16 type;
  u16 id;

  bool operator<(const ItemName& other) const {
    return std::tie(section, type, id) < std::tie(other.section, other.type, other.id);
  }
};

struct HeldItem {
  ItemEntry entry;
  Bytes bytes;
};

using ImageItems = std::map<ItemName, HeldItem>;

/// What can be compared of an image, and what cannot.
struct ImageContents {
  ImageItems items;
  Losses losses;

  /// Whether it holds, or may hold, an item of that name that it does not serve.
  bool HasLost(const ItemName& name) const;
};

/// Reads every item of the image that @p operand names: a directory that unpack made,
/// PSDT[@ADDRESS]+CODEPLUG[@ADDRESS], a codeplug when @p shared names a PSDT, else a dump.
/// @throws Failure
ImageContents ReadContents(const std::string& operand, const ImageArguments& shared);

}  // namespace vok::tool
