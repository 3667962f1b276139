#pragma once

#include <string>
#include <vector>

#include "flash/codes.h"
#include "flash/startup.h"
#include "worker/psdt.h"

namespace vok::tool {

/// Addresses of the flash image, the end not included.
struct FlashRange {
  u64 start = 0;
  u64 end = 0;

  bool Covers(const FlashRange& other) const { return other.start >= start && other.end <= end; }
  bool Overlaps(const FlashRange& other) const { return other.start < end && start < other.end; }
};

/// "0x20000 to 0x60000"
std::string TextOf(const FlashRange& range);

/// What the flash image was loaded from: start-up does not know it, but a section without bytes is none.
struct LoadedRanges {
  FlashRange file;  ///< the dump or the codeplug
  FlashRange psdt;  ///< the header and the records in force
};
void SetLoadedRanges(const LoadedRanges& ranges);
/// All of the flash image counts as loaded.
void ForgetLoadedRanges();
const LoadedRanges& CurrentLoadedRanges();

/// Whether the bytes of a section are there to be looked at.
enum class Presence : u8 { kWhole, kOutsideFile, kOverPsdt };

/// A section of the PSDT, and the partition that the store makes of it.
struct Section {
  u16 record;  ///< its record in the PSDT, from 0
  std::string name;
  psdt::Record entry;  ///< what the PSDT says
  PassOver verdict;
  Presence presence = Presence::kWhole;
  u16 mount_code = code::kUnmounted;  ///< answer of the last mount, 0 = mounted

  bool IsAccepted() const { return verdict == PassOver::kAccepted && presence == Presence::kWhole; }
  bool IsMounted() const { return mount_code == code::kOk; }
  /// Of an accepted section.
  u8 partition() const { return static_cast<u8>(entry.partition); }
  bool IsReadOnly() const;
  u64 end() const { return entry.start + u64{entry.block_size} * entry.block_count; }
  FlashRange range() const { return {.start = entry.start, .end = end()}; }
};

/// The sections of the loaded PSDT.
struct SectionList {
  std::vector<Section> accepted;     ///< in PSDT order
  std::vector<Section> passed_over;  ///< in PSDT order, also those whose bytes are not there
  u16 setup_code = code::kOk;        ///< why no partition could be set up
};

/// Ends the store and sets it up anew under the store version in force; nothing is mounted.
SectionList SetUpSections();

/// The name of a section with @p tag: letters, digits, _ and - stay and any other character becomes %XX, so that a name
/// is always a plain file name. Zero bytes at the end are left out.
std::string NameOfTag(u32 tag);

inline bool Overlap(const Section& a, const Section& b) { return a.entry.start < b.end() && b.entry.start < a.end(); }

/// Says which two accepted sections overlap, so that a change of the one would be one of the other; empty = none.
std::string FindOverlap(const SectionList& sections);
/// @throws Failure when two do
void RequireApart(const SectionList& sections);

/// The types that a section serves.
std::vector<psdt::TypeRange> TypeRangesOf(const Section& section);

/// "read-write" or "read-only"
std::string KindOf(const Section& section);

/// Why a section is passed over, as a sentence of its own and as what follows "it is passed over: ".
std::string WhyPassedOver(const Section& section);
std::string ReasonOf(const Section& section);

/// The accepted section of that name, which may be written in another case where that leaves no doubt. @throws Failure
const Section& FindSection(const SectionList& sections, const std::string& name);

/// Whether one of the section's ranges covers @p type.
bool Serves(const Section& section, u16 type);

/// The mounted section that serves a type, as the store finds it for ReadVOK.
/// @param what  what cannot be done without it, for the message
/// @throws Failure
const Section& SectionOfType(const SectionList& sections, u16 type, const std::string& what);

/// @param advice  goes on with the failure's text
/// @throws Failure when the section is not mounted
void RequireMounted(const Section& section, const std::string& advice = "");

}  // namespace vok::tool
