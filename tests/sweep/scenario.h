#pragma once

#include <memory>

#include "fill.h"
#include "witness.h"

/// A scenario: one operation on one base image, and what it does when nothing interrupts it.

namespace vok::sweep {

/// How full the block is on which the operation works.
enum class Fill : u8 {
  kEmpty,  ///< only what the operation needs
  kHalf,
  kFull,        ///< the operation's own records take the last byte; no room at all for one that writes none
  kNearlyFull,  ///< 1 % of the block is left
};
inline constexpr std::array<Fill, 4> kFills = {Fill::kEmpty, Fill::kHalf, Fill::kFull, Fill::kNearlyFull};
const char* TextOf(Fill fill);

/// How the items that an operation changes may stand after a cut.
enum class Order : u8 {
  kJoint,  ///< all old or all new
  kEach,   ///< each of them old or new
  kPlain,  ///< as kJoint, with a moment in which there is no Valid copy
};

/// What the store must be when the operation begins.
enum class Start : u8 {
  kMounted,
  kRetired,  ///< mounted, and block 1 just reorganised
  kSetUp,
  kTerminated,
};

/// Lengths and bytes that an operation works with; they follow from the seed.
struct Inputs {
  explicit Inputs(u64 seed);
  u64 seed;
  Bytes old_bytes;    ///< of the item under change
  Bytes same_length;  ///< a rewrite in place
  Bytes longer;       ///< a replacement
  Bytes small;        ///< a new item
  Bytes part;         ///< a small part
  Bytes large_part;   ///< a part above the threshold of a copy
};

struct Operation {
  const char* name;   ///< in case IDs
  const char* title;  ///< on the page
  u16 blocks;
  Order order;
  bool in_place;  ///< programs over the bytes of item kChanged
  Start start;
  void (*prepare)(Builder&, const Inputs&, Fill, u32 left);
  u16 (*run)(Rig&, const Inputs&);
  void (*apply)(Items&, const Inputs&);
  bool empty_only;  ///< makes no use of a fill
};

/// The item that most operations change.
inline constexpr ItemName kChanged = {7, 3};

const std::vector<Operation>& Operations();
u32 IndexOf(const Operation& operation);

struct Scenario {
  Geometry geometry;
  const Operation* operation;
  Fill fill;
  u64 seed;
  Inputs inputs;
  Bytes base;
  Items before, after;
  Trace trace;
  Overwritable in_place;  ///< the payload of kChanged in the base image, for an operation that programs over it
};

/// Builds the base image and runs the operation once, uncut.
/// @throws std::logic_error when the operation does not do what it is there for
Scenario MakeScenario(Rig& rig, u32 version, const Operation& operation, Fill fill, u64 seed);

/// What a strict chip makes an exception for while the operation runs.
void AllowInOperation(const Scenario& scenario, Witness& witness);

/// Puts the base image into the flash and gets the store ready for the operation.
void Prepare(Rig& rig, const Scenario& scenario);

}  // namespace vok::sweep
