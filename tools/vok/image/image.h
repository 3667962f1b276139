#pragma once

#include <string>

#include "image/image_arguments.h"
#include "image/image_bytes.h"
#include "section/losses.h"
#include "vok/vok_worker.h"

namespace vok::tool {

/// Bytes from the PSDT's address on that count as the PSDT of a dump.
inline constexpr u32 kPsdtLengthInDump = 0x1000;

/// Erases the flash image and loads the PSDT into it.
/// @throws Failure for a PSDT that makes no sense
void LoadPsdt(VokWorker& worker, const ImageBytes& psdt);

/// The bytes of the loaded PSDT's header and records; whatever follows them is none of the PSDT's.
u32 PsdtLength();

/// The image that the command line names, loaded into the flash image, its store version in force and its partitions
/// set up, but not mounted. Its end ends the store.
class LoadedImage {
 public:
  /// @throws Failure for a file that cannot be read, is too short for its sections or makes no sense
  explicit LoadedImage(const ImageArguments& arguments);

  /// The sections; nothing is mounted.
  const SectionList& sections() const { return sections_; }
  u16 version() const { return version_; }
  const ImageBytes& psdt() const { return psdt_; }
  /// What lay in the sections when the image was loaded.
  const ImageHoldings& holdings() const { return holdings_; }

  /// The flash range that holds the codeplug: of a pair the codeplug file's, of a dump the one that its sections span.
  u32 codeplug_start() const;
  u32 codeplug_end() const;

  /// The file that a changing command replaces when no other is named: the dump or the codeplug.
  const std::string& changed_path() const { return contents_.path; }

  /// That file's bytes as they were read.
  const Bytes& original() const { return contents_.bytes; }

  /// That file's bytes as the flash image holds them now, but the PSDT's as they were given.
  Bytes CurrentBytes() const;
  bool HasChanged() const { return CurrentBytes() != contents_.bytes; }

 private:
  void LoadPair(const ImageArguments& arguments);
  void LoadDump(const ImageArguments& arguments);
  void SettleVersion(u16 wanted);
  void LoadContents();
  void RequireWholeSections() const;

  VokWorker worker_;
  bool is_dump_;
  ImageBytes psdt_;
  ImageBytes contents_;  ///< the dump or the codeplug
  u16 version_ = 0;
  SectionList sections_;
  ImageHoldings holdings_;
};

/// @throws Failure when the store cannot be set up over the sections
void RequireSetUp(const SectionList& sections);

}  // namespace vok::tool
