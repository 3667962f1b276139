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

/// What to do about an image that is not as start-up wants it: a PSDT that makes no sense, a section over it.
enum class Care : u8 {
  kStrict,  ///< a command that changes it refuses
  kLoose,   ///< a command that looks at it shows what there is and tells the rest
};

/// The bytes of the loaded PSDT's header and records; whatever follows them is none of the PSDT's.
u32 PsdtLength();

/// The image that the command line names, loaded into the flash image, its store version in force and its partitions
/// set up, but not mounted. Its end ends the store.
class LoadedImage {
 public:
  /// @throws Failure for a file that cannot be read or makes no sense
  explicit LoadedImage(const ImageArguments& arguments, Care care = Care::kStrict);
  ~LoadedImage();
  LoadedImage(const LoadedImage&) = delete;
  LoadedImage& operator=(const LoadedImage&) = delete;

  /// Puts another PSDT in force under which all blocks that were found have their sections, if the one that was given
  /// leaves some out. @return what it says otherwise
  Losses MendPsdt();

  /// The sections; nothing is mounted.
  const SectionList& sections() const { return sections_; }
  u16 version() const { return version_; }
  const ImageBytes& psdt() const { return psdt_; }
  /// The bytes of the PSDT in force.
  const Bytes& psdt_in_force() const { return mended_.empty() ? psdt_.bytes : mended_; }
  /// What is wrong with the PSDT as a whole.
  const Losses& troubles() const { return troubles_; }
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
  void LoadGivenPsdt();
  void SettleVersion(u16 wanted);
  void LoadContents();
  void SetUp();
  void RequirePsdtApart() const;
  void AddTrouble(const std::string& why);

  VokWorker worker_;
  Care care_;
  bool is_dump_;
  ImageBytes psdt_;
  Bytes mended_;  ///< in force instead, if any
  Losses troubles_;
  ImageBytes contents_;  ///< the dump or the codeplug
  u16 version_ = 0;
  SectionList sections_;
  ImageHoldings holdings_;
};

/// @throws Failure when the store cannot be set up over the sections
void RequireSetUp(const SectionList& sections);

}  // namespace vok::tool
