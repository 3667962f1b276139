#include "command/written_help.h"

#include <CLI/CLI.hpp>
#include <map>

namespace vok::tool {

namespace {

/// What "NAME:{one,two}" lists.
std::vector<std::string> ChoicesIn(const std::string& value) {
  const std::size_t begin = value.find('{');
  if (begin == std::string::npos) return {};
  return CLI::detail::split(value.substr(begin + 1, value.find('}') - begin - 1), ',');
}

std::vector<std::string> NamesOf(const CLI::Option& option) {
  if (option.get_positional()) return {option.get_name(true)};
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

ArgumentHelp HelpOf(const CLI::Option& option) {
  const std::string value = option.get_type_name();
  const bool is_flag = option.get_items_expected_max() == 0;
  return {.names = NamesOf(option),
          .value = is_flag ? "" : value.substr(0, value.find(':')),
          .choices = ChoicesIn(value),
          .description = option.get_description(),
          .required = option.get_required()};
}

CommandHelp HelpOfCommand(const CLI::App& app) {
  CommandHelp help{.name = app.get_name(),
                   .heading = app.get_group(),
                   .description = app.get_description(),
                   .footer = app.get_footer(),
                   .arguments = {}};
  for (const CLI::Option* const option : app.get_options())
    if (!option->get_group().empty()) help.arguments.push_back(HelpOf(*option));
  return help;
}

using Writer = std::string (*)(const ProgramHelp&);

const std::map<std::string, Writer> kWriters = {
    {"man", ManualPage}, {"bash", BashCompletion}, {"zsh", ZshCompletion}, {"fish", FishCompletion}};

}  // namespace

ProgramHelp HelpOf(const CLI::App& app) {
  ProgramHelp help{.program = HelpOfCommand(app), .commands = {}};
  for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; }))
    if (!command->get_group().empty()) help.commands.push_back(HelpOfCommand(*command));
  return help;
}

void TakeWrittenHelp(CLI::App& app) {
  // The parser prints what this carries, as it does for --version.
  const auto write = [&app](const std::string& form) { throw CLI::CallForVersion(kWriters.at(form)(HelpOf(app)), 0); };
  app.add_option_function<std::string>("--help-as", write)
      ->check(CLI::IsMember(kWriters))
      ->trigger_on_parse()
      ->group("");
}

}  // namespace vok::tool
