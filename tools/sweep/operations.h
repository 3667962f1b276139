#pragma once

#include "rig.h"
#include "witness.h"

/// Every operation that changes the flash.

namespace vok::sweep {

/// How the items that an operation changes may stand after a cut.
enum class Order : u8 {
  kJoint,  ///< all old or all new
  kEach,   ///< each of them old or new
  kPlain,  ///< as kJoint, with a moment in which there is no Valid copy
};

/// What the store must be when the operation begins.
enum class Start : u8 {
  kMounted,
  kRetired,  ///< mounted, and the block just reorganised
  kSetUp,
  kTerminated,
};

/// What an operation works with; the bytes follow from the seed.
struct Inputs {
  Inputs(u64 with_seed, ItemName changed_item, const Bytes& its_bytes);

  u64 seed;
  ItemName changed;   ///< the item that most operations change
  ItemName fresh;     ///< one that is not there yet
  u16 block = 1;      ///< the one to be reorganised
  Bytes old_bytes;    ///< of the changed item
  Bytes same_length;  ///< a rewrite in place
  Bytes longer;       ///< a replacement
  Bytes small;        ///< a new item
  Bytes part;         ///< a small part
  Bytes large_part;   ///< a part above the threshold of a copy
};

/// The shortest changed item that every operation can work with.
inline constexpr u32 kShortestChanged = 24;

struct Operation {
  const char* name;   ///< in the names of cases
  const char* title;  ///< on the page
  Order order;
  bool in_place;  ///< programs over the bytes of the changed item
  Start start;
  u16 (*run)(Rig&, const Inputs&);
  void (*apply)(Items&, const Inputs&);
};

const std::vector<Operation>& Operations();
u32 IndexOf(const Operation& operation);
/// @return null when there is none of that name
const Operation* FindOperation(const std::string& name);

}  // namespace vok::sweep
