#include "command/command_line.h"

#include <fmt/core.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "command/command_table.h"
#include "command/image_options.h"
#include "command/written_help.h"
#include "vok/version.h"

namespace vok::tool {

namespace {

/// The command line and what it fills.
struct Parser {
  CLI::App app{"Looks into NOR-flash item stores, takes them apart and repairs them.", "vok"};
  Options& options;
  const CommandEntry* command = nullptr;  ///< the one that was asked for

  explicit Parser(Options& target) : options(target) {
    app.set_version_flag("--version", "vok " VOK_VERSION);
    TakeWrittenHelp(app);
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.get_formatter()->column_width(36);
    app.footer("Numbers are decimal or 0x-hexadecimal. Exit status: 0 done, 1 the job failed, 2 wrong command line.");
  }
};

void AddCommand(Parser& parser, const CommandEntry& entry) {
  CLI::App* const command = parser.app.add_subcommand(entry.name, entry.description)->group(entry.heading);
  Arguments arguments(*command, parser.options);
  entry.take(arguments, parser.options);
  command->parse_complete_callback([&parser, &entry] { parser.command = &entry; });
}

void AddEverything(Parser& parser) {
  Arguments arguments(parser.app, parser.options);
  TakeImageOptions(arguments, parser.options.image);
  arguments.Flag("--verbose", parser.options.verbose, "tell on standard error what is being done");
  for (const CommandEntry& entry : CommandTable()) AddCommand(parser, entry);
}

void Parse(Parser& parser, int argc, const char* const* argv) {
  parser.app.parse(argc, argv);
  if (parser.command == nullptr) throw WrongCommandLine("no command");
  RequireImage(parser.options.image, parser.command->image_use);
}

int TellWrongCommandLine(const std::exception& error) {
  fmt::print(stderr, "vok: {}; 'vok --help' shows the usage\n", error.what());
  return kWrongCommandLine;
}

/// @return the status with which the program ends at once; nothing when a command is to run
std::optional<int> ParseOrTell(Parser& parser, int argc, const char* const* argv) {
  try {
    Parse(parser, argc, argv);
    return {};
  } catch (const CLI::Success& help) {
    return parser.app.exit(help);
  } catch (const CLI::ParseError& error) {
    return TellWrongCommandLine(error);
  } catch (const WrongCommandLine& error) {
    return TellWrongCommandLine(error);
  }
}

}  // namespace

Invocation ParseCommandLine(int argc, const char* const* argv) {
  Invocation invocation;
  Parser parser(invocation.options);
  AddEverything(parser);
  if (const std::optional<int> status = ParseOrTell(parser, argc, argv)) {
    invocation.status = *status;
  } else {
    invocation.command = parser.command->run;
  }
  return invocation;
}

}  // namespace vok::tool
