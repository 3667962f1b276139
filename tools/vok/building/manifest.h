#pragma once

#include <string>
#include <vector>

#include "base/json_reader.h"
#include "image/image_bytes.h"
#include "section/losses.h"
#include "section/sections.h"

namespace vok::tool {

/// How a folder came to hold an item.
enum class Origin {
  kUnpacked,  ///< as the manifest tells
  kChanged,   ///< the file is not the one that the manifest tells of
  kAdded,     ///< the manifest does not tell of it
};

/// One item of a folder, with its bytes.
struct PackedItem {
  u16 type;
  u16 id;
  Bytes bytes;
  std::string where;  ///< its place in the document, or its file, for messages
  Origin origin;
};

/// An item of the manifest whose file is gone.
struct MissingItem {
  u16 type;
  u16 id;
};

struct PackedSection {
  std::string name;
  u8 partition;
  bool is_whole;                  ///< the manifest tells what the section held
  std::vector<PackedItem> items;  ///< in the manifest's order, then those that were added
  std::vector<MissingItem> missing;
};

/// What a folder may have that its manifest does not tell of.
struct Tolerance {
  bool edits = true;     ///< files that were changed or added
  bool missing = false;  ///< files that are gone
};

/// The manifest of an unpacked directory, which a person may have written. It is checked field by field; a wrong field
/// is named with its path in the document.
class Manifest {
 public:
  /// Reads the manifest's head. @throws Failure
  explicit Manifest(const std::string& directory);

  u16 version() const { return version_; }
  /// Reads the PSDT. @throws Failure
  ImageBytes ReadPsdt() const;
  FlashRange codeplug() const { return {.start = codeplug_start_, .end = codeplug_end_}; }
  u64 codeplug_start() const { return codeplug_start_; }
  u64 codeplug_end() const { return codeplug_end_; }

  /// What the image held that the folder lacks. @throws Failure
  Losses ReadLosses() const;

  /// Reads the items of every section, once a PSDT has told which sections there are.
  /// @throws Failure also for what is not tolerated
  std::vector<PackedSection> ReadItems(const SectionList& sections, Tolerance tolerance) const;

 private:
  bool Names(const Section& section) const;
  void RequireCodeplugHolds(const SectionList& sections) const;

  std::string directory_;
  JsonValue root_;
  u16 version_;
  u64 codeplug_start_;
  u64 codeplug_end_;
};

}  // namespace vok::tool
