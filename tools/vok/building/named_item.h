#pragma once

#include "flash/types.h"

namespace vok::tool {

/// An item that a command is about.
struct NamedItem {
  u16 type;
  u16 id;
};

}  // namespace vok::tool
