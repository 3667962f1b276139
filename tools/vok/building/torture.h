#pragma once

#include <optional>
#include <string>
#include <vector>

#include "building/named_item.h"
#include "image/image_arguments.h"
#include "section/losses.h"
#include "sweep.h"

/// Power cuts on a copy of a section: what the store makes of them on the very bytes of a user's image.

namespace vok::tool {

/// What a person wants tried.
struct TortureWish {
  ImageArguments image;
  std::string section;            ///< empty = the item's, or the first that takes items
  std::optional<NamedItem> item;  ///< to change; absent = a short one
};

/// What is tried, and on what.
struct TortureSubject {
  std::string section;
  sweep::Geometry geometry;
  sweep::Bytes bytes;  ///< of the section, after a repair mount
  sweep::Inputs inputs;
  Losses losses;  ///< of the image
};

/// What came of one operation.
struct TortureResult {
  const sweep::Operation* operation;
  sweep::Tally tally;
  std::vector<std::string> faults;  ///< a line each
  u64 single_cuts;                  ///< how many there are, tried or not
  bool whole;                       ///< every case was tried
  std::string not_tried;            ///< why nothing was tried at all; empty = something was
};

/// In place of an operation's name.
inline constexpr const char* kAllOperations = "all";

/// The operations that can be tried on any section.
std::vector<const sweep::Operation*> TortureOperations();

/// Takes the section out of its image. Nothing is written to any file.
/// @throws Failure when it cannot be mounted, is read-only, or has no such item
TortureSubject LoadTortureSubject(const TortureWish& wish);

/// How much is tried of one operation; 0 = without that limit.
struct TortureLimit {
  u32 seconds = 0;
  u64 images = 0;  ///< cut images

  bool IsNone() const { return seconds == 0 && images == 0; }
};

/// Cuts the operation at and inside every step, then both in seeded chains, then its repair at every step. Under a
/// limit a long bulk program is torn at fewer places, so that every step has its turn.
/// @throws Failure when the section does not stand the checks before any cut
TortureResult Torture(const TortureSubject& subject, const sweep::Operation& operation, TortureLimit limit);

}  // namespace vok::tool
