#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/files.h"
#include "building/named_item.h"
#include "image/claim.h"

/// What a command line says, after it was found sound.

namespace vok::tool {

/// In place of an ID: the lowest one that is free.
inline constexpr u16 kNewId = 0xFFFF;

/// Both bounds included.
struct NumberRange {
  u16 first = 1;
  u16 last = 0;

  bool IsEmpty() const { return last < first; }
  bool IsOne() const { return last == first; }
  bool Holds(u16 number) const { return number >= first && number <= last; }
};

/// How a command takes one image of many.
enum class ManyUse {
  kNever,     ///< it takes one image only
  kOptions,   ///< as the options that name an image
  kFolders,   ///< the same, and its folder becomes one in it
  kCompared,  ///< as the second of two to compare
};

/// The images of a command that was given many.
struct ManyImages {
  std::vector<std::string> names;
  std::string list;  ///< file with their names; - = standard input
  u32 jobs = 1;      ///< images at work at once
  ManyUse use = ManyUse::kNever;
  /// The command line again, without what names the images and how many at once.
  std::vector<std::string> words;
  std::vector<std::string> operands;

  bool IsAsked() const { return !names.empty() || !list.empty(); }
};

struct Options {
  ImageArguments image;
  ManyImages many;
  bool json = false;
  bool verbose = false;
  std::string section;  ///< empty = all
  u16 type = 0;
  u16 id = 0;                     ///< may be kNewId where an item is written
  std::string output;             ///< empty = standard output, or the input in place
  std::vector<std::string> sort;  ///< what to list by, the last first; none = as the items lie in flash
  bool reverse = false;           ///< the other way round
  bool long_list = false;         ///< with addresses and checksums
  bool bytes = false;             ///< also tell which bytes differ
  std::string directory;
  std::string pattern;    ///< to find
  bool hex = false;       ///< the pattern is hexadecimal
  bool any_case = false;  ///< letters of the pattern match in either case
  bool force = false;     ///< outputs replace files that exist
  bool wait = false;      ///< for other commands that use the image
  bool skip_unmounted = false;
  bool blocks = false;
  std::string input;  ///< file to read; - = standard input
  u16 new_type = 0;
  u16 new_id = 0;            ///< may be kNewId
  NumberRange ids;           ///< to delete
  NumberRange types;         ///< to delete or list; empty = the items of one type, or all
  bool yes = false;          ///< do not ask
  bool dry_run = false;      ///< only show what would be done
  bool remove = false;       ///< also the items whose files are gone
  bool verify = false;       ///< refuse files that are not as the manifest says
  std::string onto;          ///< image whose bytes outside the sections stay; empty = none
  bool rebuild = false;      ///< sections from the copies of their items
  bool accept_loss = false;  ///< change the image although its repair drops items
  bool as_dump = false;      ///< write a whole dump
  std::string psdt_output;   ///< empty = do not write the PSDT
  std::string first_image;   ///< the images to compare
  std::string second_image;
  std::string svg;   ///< file for the map as a picture; empty = none
  std::string html;  ///< file for the map as a page; empty = none
  u64 address = 0;
  std::optional<u64> copy;                          ///< which copy of an item's history
  std::vector<std::string> operations = {"write"};  ///< to cut the power in
  std::optional<NamedItem> item;                    ///< that these operations change
  u32 seconds = 60;                                 ///< for each of them; 0 = as long as it takes
  u64 images = 0;                                   ///< cut images of each; 0 = as the time allows
};

inline Existing ExistingFor(const Options& options) { return options.force ? Existing::kReplace : Existing::kRefuse; }

inline Destination DestinationOf(const Options& options) {
  return {.output = options.output, .force = options.force, .wait = options.wait};
}

/// A command: does its job and gives the exit status. @throws Failure
using Command = int (*)(const Options& options);

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongCommandLine = 2;
inline constexpr int kTrouble = 2;  ///< of a comparison, whose 1 means that the images differ

}  // namespace vok::tool
