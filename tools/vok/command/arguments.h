#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "command/options.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

/// What a command takes on its command line. Everything that is parsed goes through here, so that one file alone knows
/// the parser.

namespace vok::tool {

/// The command line asks for what cannot be asked for: what is wrong with it.
class WrongCommandLine : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The numbers that an argument takes.
struct Limits {
  u64 lowest;
  u64 highest;
};
inline constexpr Limits kTypeOrId = {0, 0xFFFF};
inline constexpr Limits kId = {0, kNewId - 1};
inline constexpr Limits kItemType = {1, 65533};
inline constexpr Limits kAddress = {0, 0xFFFFFFFFFFFFFFFF};
inline constexpr Limits kCount = {0, 0xFFFFFFFF};

/// The heading of the options that name many images.
inline constexpr const char* kManyHeading = "Many images, a process for each";

/// One argument, for what it goes with.
class Argument {
 public:
  explicit Argument(CLI::Option& option) : option_(&option) {}

  Argument Required();
  /// Not together with @p other.
  Argument Excludes(const Argument& other);
  /// Only together with @p other.
  Argument Needs(const Argument& other);
  /// The heading under which the help shows it.
  Argument Under(const std::string& heading);

 private:
  CLI::Option* option_;
};

/// The arguments of a command, or those of every command. A name that begins with a dash makes an option, any other a
/// positional argument. A command line that does not fit ends the parsing with one line that tells why.
class Arguments {
 public:
  Arguments(CLI::App& app, Options& options) : app_(app), options_(options) {}

  Argument Flag(const std::string& name, bool& target, const std::string& description);
  /// @param value  what the help calls the value of an option
  Argument Text(const std::string& name, std::string& target, const std::string& description,
                const std::string& value = "TEXT");
  Argument File(const std::string& name, std::string& target, const std::string& description);
  /// FILE[@ADDRESS]
  Argument Placed(const std::string& name, PlacedFile& target, const std::string& description);
  /// One of @p allowed, given once or more often.
  Argument Choices(const std::string& name, std::vector<std::string>& target, const std::vector<std::string>& allowed,
                   const std::string& description);

  /// A number, decimal or hexadecimal.
  template <typename Target>
  Argument Number(const std::string& name, Target& target, const Limits& limits, const std::string& description) {
    return StoredNumber(
        name, [&target](u64 number) { target = static_cast<Target>(number); }, limits, description);
  }
  template <typename Target>
  Argument Number(const std::string& name, std::optional<Target>& target, const Limits& limits,
                  const std::string& description) {
    return StoredNumber(
        name, [&target](u64 number) { target = static_cast<Target>(number); }, limits, description);
  }
  /// N or FIRST-LAST.
  Argument Range(const std::string& name, NumberRange& target, const Limits& limits, const std::string& description);
  /// A type and an ID, two words.
  Argument Item(const std::string& name, std::optional<NamedItem>& target, const std::string& description);

  Argument Type(const std::string& name, u16& target);
  Argument Id(const std::string& name, u16& target);
  /// An ID, or "new" for the lowest one that is free.
  Argument IdOrNew(const std::string& name, u16& target);

  // What many commands take.
  Argument Section(const std::string& description);
  Argument Json();
  /// --rebuilt of a command that reads an image.
  Argument Rebuilt();
  /// --accept-loss of a command that goes on although items are lost.
  Argument AcceptLoss();
  /// -o, with --force.
  Argument Output(const std::string& description);
  /// -o of a command that changes the image, with --wait and --accept-loss.
  Argument ChangedOutput(
      const std::string& description = "write the changed image to FILE (default: in place; - = standard output)");
  /// --force of a command with outputs, which Output() brings along.
  Argument Force(const std::string& description = "replace files that exist");
  /// Many images in place of one.
  /// @param operand  name of an argument that takes them without an option before them; empty = none
  void ManyImages(ManyUse use, const std::string& operand = "");
  /// -o and --dump of a command that makes an image.
  void MadeImage();
  Argument Dump();

  /// An option that every command takes.
  Argument OfEveryCommand(const std::string& name);

  /// Text below the command's help.
  void Footer(const std::string& text);

  /// Looks at the whole of the command's arguments, after each of them was found sound.
  /// @param check  throws WrongCommandLine
  void Check(std::function<void()> check);

 private:
  Argument StoredNumber(const std::string& name, std::function<void(u64)> store, const Limits& limits,
                        const std::string& description);

  CLI::App& app_;
  Options& options_;
};

}  // namespace vok::tool
