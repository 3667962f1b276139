#pragma once

#include <string>
#include <vector>

#include "base/json_reader.h"
#include "image/image_bytes.h"
#include "section/losses.h"
#include "section/sections.h"

namespace vok::tool {

/// One item of a manifest, with its bytes.
struct PackedItem {
  u16 type;
  u16 id;
  Bytes bytes;
  std::string where;  ///< its place in the document, for messages
};

struct PackedSection {
  std::string name;
  u8 partition;
  std::vector<PackedItem> items;  ///< in the manifest's order
};

/// The manifest of an unpacked directory, which a person may have written. It is checked field by field; a wrong field
/// is named with its path in the document.
class Manifest {
 public:
  /// Reads the manifest's head and the PSDT.
  /// @throws Failure
  explicit Manifest(const std::string& directory);

  u16 version() const { return version_; }
  const ImageBytes& psdt() const { return psdt_; }
  u64 codeplug_start() const { return codeplug_start_; }
  u64 codeplug_end() const { return codeplug_end_; }

  /// What the image held that the folder lacks. @throws Failure
  Losses ReadLosses() const;

  /// Reads the items of every section, once the PSDT has told which sections there are. A section that the manifest
  /// leaves out has none.
  /// @throws Failure also for a file that is missing or is not what the manifest says of it
  std::vector<PackedSection> ReadItems(const SectionList& sections) const;

 private:
  void ReadPsdt();
  void RequireCodeplugHolds(const SectionList& sections) const;

  std::string directory_;
  JsonValue root_;
  u16 version_;
  ImageBytes psdt_;
  u64 codeplug_start_;
  u64 codeplug_end_;
};

}  // namespace vok::tool
