#include "command/command_line.h"

#include <fmt/core.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "base/failure.h"
#include "base/nearest.h"
#include "base/terminal.h"
#include "command/command_table.h"
#include "command/image_options.h"
#include "command/many_images.h"
#include "command/written_help.h"
#include "vok/version.h"

namespace vok::tool {

namespace {

/// What goes with what is told when it is asked for together; in the help it hides what an option is for.
class HelpText : public CLI::Formatter {
 public:
  HelpText() {
    constexpr std::size_t kColumnWidth = 36;
    column_width(kColumnWidth);
    label("SUBCOMMAND", "COMMAND");
    label("Positionals", "Arguments");
  }
  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_type_name().empty() ? "" : ' ' + option->get_type_name();
  }
};

/// The command line and what it fills.
struct Parser {
  CLI::App app{"Looks into NOR-flash item stores, takes them apart and repairs them.", "vok"};
  Options& options;
  const CommandEntry* command = nullptr;  ///< the one that was asked for
  CLI::App* subcommand = nullptr;         ///< its parser
  CLI::App* help = nullptr;
  std::string help_topic;

  explicit Parser(Options& target) : options(target) {
    app.formatter(std::make_shared<HelpText>());
    app.set_help_flag("-h,--help", "tell how to use vok, or the command");
    app.set_version_flag("--version", "vok " VOK_VERSION, "tell the version");
    TakeWrittenHelp(app);
    // A path may begin with a slash everywhere.
    app.allow_windows_style_options(false);
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.footer(
        "VOK_IMAGE, or VOK_PSDT and VOK_CODEPLUG, name the image where no option does.\n"
        "Numbers are decimal or 0x-hexadecimal; sections are named in any case.\n"
        "Exit status: 0 done, 1 not done or not whole, 2 wrong command line.");
  }
};

constexpr const char* kImageFooter =
    "The image: --image FILE, or --psdt FILE --codeplug FILE; 'vok help' tells all about them.";

void AddCommand(Parser& parser, const CommandEntry& entry) {
  CLI::App* const command = parser.app.add_subcommand(entry.name, entry.description)->group(entry.heading);
  if (entry.alias != nullptr) command->alias(entry.alias);
  command->footer(entry.image_use == ImageUse::kOne ? kImageFooter : "");
  Arguments arguments(*command, parser.options);
  entry.take(arguments, parser.options);
  command->parse_complete_callback([&parser, &entry, command] {
    parser.command = &entry;
    parser.subcommand = command;
  });
}

void AddHelp(Parser& parser) {
  parser.help = parser.app.add_subcommand("help", "tell how to use a command")->group("Help");
  parser.help->add_option("COMMAND", parser.help_topic, "the command (default: all of them)")->type_name("");
  parser.help->footer("");
}

void AddEverything(Parser& parser) {
  Arguments arguments(parser.app, parser.options);
  TakeImageOptions(arguments, parser.options.image);
  arguments.Flag("--verbose", parser.options.verbose, "tell on standard error what is being done");
  for (const CommandEntry& entry : CommandTable()) AddCommand(parser, entry);
  AddHelp(parser);
}

std::vector<std::string> CommandNames(const Parser& parser) {
  std::vector<std::string> names;
  for (const CLI::App* const command : parser.app.get_subcommands(nullptr)) names.push_back(command->get_name());
  return names;
}

WrongCommandLine UnknownCommand(const Parser& parser, const std::string& name) {
  return WrongCommandLine(fmt::format("unknown command '{}'{}", name, DidYouMean(name, CommandNames(parser))));
}

/// The command whose name was parsed, also when its arguments were not.
const CLI::App* NamedCommand(const Parser& parser) {
  const std::vector<CLI::App*> named = parser.app.get_subcommands();
  return named.empty() ? nullptr : named.front();
}

std::vector<std::string> OptionNames(const Parser& parser) {
  std::vector<std::string> names;
  for (const CLI::App* const app : {static_cast<const CLI::App*>(&parser.app), NamedCommand(parser)})
    if (app != nullptr)
      for (const CLI::Option* const option : app->get_options())
        if (!option->get_lnames().empty()) names.push_back("--" + option->get_lnames().front());
  return names;
}

WrongCommandLine UnexpectedOption(const Parser& parser, const std::string& word) {
  const std::vector<std::string> names = OptionNames(parser);
  if (std::ranges::find(names, word) != names.end())
    return WrongCommandLine(fmt::format("{} is an option of the command and stands behind its name", word));
  return WrongCommandLine(fmt::format("unknown option {}{}", word, DidYouMean(word, names)));
}

/// Names the first word that nothing took.
WrongCommandLine UnexpectedWord(const Parser& parser) {
  const std::vector<std::string> words = parser.app.remaining(true);
  const std::string& word = words.front();
  if (word.starts_with('-')) return UnexpectedOption(parser, word);
  if (NamedCommand(parser) == nullptr) return UnknownCommand(parser, word);
  return WrongCommandLine(fmt::format("'{}' is one argument too many", word));
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
  try {
    parser.app.parse(argc, argv);
  } catch (const CLI::ExtrasError&) {
    throw UnexpectedWord(parser);
  }
  if (parser.help->parsed()) return;
  if (parser.command == nullptr) throw WrongCommandLine("no command");
  const bool asked_for_many = parser.options.many.IsAsked();
  const ImageUse use = asked_for_many ? ImageUse::kCompared : parser.command->image_use;
  TakeImageFromEnvironment(parser.options.image, use);
  RequireImage(parser.options.image, use);
  if (asked_for_many) SettleMany(parser);
}

const CLI::App& CommandOfName(const Parser& parser, const std::string& name) {
  for (const CLI::App* const command : parser.app.get_subcommands(nullptr))
    if (command->check_name(name)) return *command;
  throw UnknownCommand(parser, name);
}

int TellHelp(const Parser& parser) {
  const CLI::App& app = parser.app;
  Print(parser.help_topic.empty() ? app.get_formatter()->make_help(&app, "vok", CLI::AppFormatMode::Normal)
                                  : CommandOfName(parser, parser.help_topic).help("vok"));
  return kDone;
}

int TellWrongCommandLine(const Parser& parser, const std::string& what) {
  const CLI::App* const command = NamedCommand(parser);
  const std::string advice =
      command == nullptr || command == parser.help ? "vok help" : "vok help " + command->get_name();
  const char* const mark = what.ends_with('?') ? "" : ";";
  std::fputs(FailureLine(fmt::format("{}{} '{}' shows the usage", what, mark, advice)).c_str(), stderr);
  return kWrongCommandLine;
}

/// @return the status with which the program ends at once; nothing when a command is to run
std::optional<int> ParseOrTell(Parser& parser, int argc, const char* const* argv) {
  try {
    Parse(parser, argc, argv);
    return parser.help->parsed() ? std::optional(TellHelp(parser)) : std::nullopt;
  } catch (const CLI::Success& help) {
    return parser.app.exit(help);
  } catch (const CLI::ParseError& error) {
    return TellWrongCommandLine(parser, error.what());
  } catch (const WrongCommandLine& error) {
    return TellWrongCommandLine(parser, error.what());
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
