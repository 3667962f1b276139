#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

/// The help of the program in other forms than --help prints: the manual page, and what shells complete a command line
/// by. All of them are made from the same declarations as the help itself.

namespace vok::tool {

/// One argument as the help shows it.
struct ArgumentHelp {
  std::vector<std::string> names;  ///< with their dashes; the one name of a positional argument has none
  std::string value;               ///< what the value of an option is called; empty for a flag
  std::vector<std::string> choices;
  std::string description;
  bool required = false;

  bool IsOption() const { return names.front().front() == '-'; }
  bool TakesFile() const { return value.find("FILE") != std::string::npos || value == "DIR"; }
};

struct CommandHelp {
  std::string name;
  std::string heading;
  std::string description;
  std::string footer;
  std::vector<ArgumentHelp> arguments;
};

struct ProgramHelp {
  CommandHelp program;  ///< with the arguments of every command
  std::vector<CommandHelp> commands;
};

ProgramHelp HelpOf(const CLI::App& app);

/// The manual page vok(1).
std::string ManualPage(const ProgramHelp& help);

std::string BashCompletion(const ProgramHelp& help);
std::string ZshCompletion(const ProgramHelp& help);
std::string FishCompletion(const ProgramHelp& help);

/// Declares the hidden option --help-as man|bash|zsh|fish, which ends the parsing as --help does.
void TakeWrittenHelp(CLI::App& app);

}  // namespace vok::tool
