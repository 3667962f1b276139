#include "command/command_line.h"

#include <fmt/core.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "command/command_table.h"
#include "command/image_options.h"
#include "command/many_images.h"
#include "command/written_help.h"
#include "vok/version.h"

namespace vok::tool {

namespace {

/// The command line and what it fills.
struct Parser {
  CLI::App app{"Looks into NOR-flash item stores, takes them apart and repairs them.", "vok"};
  Options& options;
  const CommandEntry* command = nullptr;  ///< the one that was asked for
  CLI::App* subcommand = nullptr;         ///< its parser

  explicit Parser(Options& target) : options(target) {
    app.set_version_flag("--version", "vok " VOK_VERSION);
    TakeWrittenHelp(app);
    // A path may begin with a slash everywhere.
    app.allow_windows_style_options(false);
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
  command->parse_complete_callback([&parser, &entry, command] {
    parser.command = &entry;
    parser.subcommand = command;
  });
}

void AddEverything(Parser& parser) {
  Arguments arguments(parser.app, parser.options);
  TakeImageOptions(arguments, parser.options.image);
  arguments.Flag("--verbose", parser.options.verbose, "tell on standard error what is being done");
  for (const CommandEntry& entry : CommandTable()) AddCommand(parser, entry);
}

/// The options and the operands of a parser again, but for those that go with many images only.
void Repeat(const CLI::App& app, ManyImages& many) {
  for (const CLI::Option* const option : app.get_options()) {
    if (option->get_group() == kManyHeading) continue;
    for (const std::string& value : option->results()) {
      if (option->get_positional()) {
        many.operands.push_back(value);
      } else {
        const bool is_flag = option->get_items_expected_max() == 0;
        many.words.push_back(is_flag ? option->get_name() : option->get_name() + '=' + value);
      }
    }
  }
}

/// Makes ready for many images what the process for one of them is to be told.
void SettleMany(Parser& parser) {
  ManyImages& many = parser.options.many;
  many.words = {parser.command->name};
  Repeat(parser.app, many);
  Repeat(*parser.subcommand, many);
}

void Parse(Parser& parser, int argc, const char* const* argv) {
  parser.app.parse(argc, argv);
  if (parser.command == nullptr) throw WrongCommandLine("no command");
  const bool asked_for_many = parser.options.many.IsAsked();
  RequireImage(parser.options.image, asked_for_many ? ImageUse::kCompared : parser.command->image_use);
  if (asked_for_many) SettleMany(parser);
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
    invocation.command = invocation.options.many.IsAsked() ? RunMany : parser.command->run;
  }
  return invocation;
}

}  // namespace vok::tool
