#include <fmt/core.h>

#include "command/written_help.h"

namespace vok::tool {

namespace {

std::string Join(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += fmt::format("{}{}", text.empty() ? "" : " ", word);
  return text;
}

std::string CommandNames(const ProgramHelp& help) {
  std::vector<std::string> names;
  for (const CommandHelp& command : help.commands) names.push_back(command.name);
  return Join(names);
}

std::string OptionNames(const CommandHelp& command) {
  std::vector<std::string> names;
  for (const ArgumentHelp& argument : command.arguments)
    if (argument.IsOption()) names.insert(names.end(), argument.names.begin(), argument.names.end());
  return Join(names);
}

/// Inside single quotes of any shell.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'') quoted += "'\\'";
    quoted += c;
  }
  return quoted + "'";
}

/// "--operation) words" for each option with a list of values.
std::string BashChoices(const CommandHelp& command) {
  std::string cases;
  for (const ArgumentHelp& argument : command.arguments) {
    if (argument.choices.empty()) continue;
    std::string names;
    for (const std::string& name : argument.names) names += fmt::format("{}{}", names.empty() ? "" : "|", name);
    cases += fmt::format("    {}) words={} ;;\n", names, Quoted(Join(argument.choices)));
  }
  return cases;
}

/// A description inside the brackets of zsh's _arguments.
std::string Bracketed(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string ZshValue(const ArgumentHelp& argument) {
  if (argument.TakesFile()) return fmt::format(":{}:_files", Bracketed(argument.value));
  if (!argument.choices.empty()) return fmt::format(":{}:({})", Bracketed(argument.value), Join(argument.choices));
  return argument.value.empty() ? "" : fmt::format(":{}: ", Bracketed(argument.value));
}

std::string ZshArguments(const CommandHelp& command) {
  std::string text;
  for (const ArgumentHelp& argument : command.arguments) {
    if (!argument.IsOption()) continue;
    const std::string rest = fmt::format("[{}]{}", Bracketed(argument.description), ZshValue(argument));
    for (const std::string& name : argument.names) text += fmt::format(" \\\n    {}", Quoted(name + rest));
  }
  return text;
}

std::string FishValue(const ArgumentHelp& argument) {
  if (argument.TakesFile()) return " -r -F";
  if (!argument.choices.empty()) return fmt::format(" -x -a {}", Quoted(Join(argument.choices)));
  return argument.value.empty() ? "" : " -x";
}

std::string FishArgument(const ArgumentHelp& argument, const std::string& condition) {
  std::string names;
  for (const std::string& name : argument.names)
    names += name.starts_with("--") ? fmt::format(" -l {}", name.substr(2)) : fmt::format(" -s {}", name.substr(1));
  return fmt::format("complete -c vok{}{}{} -d {}\n", condition, names, FishValue(argument),
                     Quoted(argument.description));
}

std::string FishArguments(const CommandHelp& command, const std::string& condition) {
  std::string text;
  for (const ArgumentHelp& argument : command.arguments)
    if (argument.IsOption()) text += FishArgument(argument, condition);
  return text;
}

}  // namespace

std::string BashCompletion(const ProgramHelp& help) {
  std::string script = fmt::format(R"(# Completions of vok for bash.
_vok() {{
  local word command='' words=''
  local current=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD - 1]}}
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case " {} " in *" $word "*) command=$word && break ;; esac
  done
  case $command in
)",
                                   CommandNames(help));
  for (const CommandHelp& command : help.commands)
    script += fmt::format("    {}) words='{}' ;;\n", command.name, OptionNames(command));
  script += fmt::format("    *) words='{}' ;;\n  esac\n", CommandNames(help));
  script += fmt::format("  [[ $current != -* ]] || words=\"$words {}\"\n", OptionNames(help.program));
  script += "  [[ $command == '' || $current == -* ]] || words=''\n  case $before in\n";
  for (const CommandHelp& command : help.commands) script += BashChoices(command);
  return script + R"(  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o default -F _vok vok)";
}

std::string ZshCompletion(const ProgramHelp& help) {
  std::string commands;
  std::string cases;
  for (const CommandHelp& command : help.commands) {
    commands += fmt::format("\n    {}", Quoted(fmt::format("{}:{}", command.name, command.description)));
    cases += fmt::format("    {}) _arguments{} '*:file:_files' ;;\n", command.name, ZshArguments(command));
  }
  return fmt::format(R"(#compdef vok
# Completions of vok for zsh.
_vok() {{
  local -a commands=({}
  )
  local state line
  _arguments -C{} \
    '1:command:->command' '*::argument:->argument'
  case $state in
  command) _describe command commands ;;
  argument)
    case $line[1] in
{}    esac ;;
  esac
}}
_vok "$@")",
                     commands, ZshArguments(help.program), cases);
}

std::string FishCompletion(const ProgramHelp& help) {
  std::string script = "# Completions of vok for fish.\n" + FishArguments(help.program, "");
  for (const CommandHelp& command : help.commands) {
    script += fmt::format("complete -c vok -n __fish_use_subcommand -f -a {} -d {}\n", command.name,
                          Quoted(command.description));
    script += FishArguments(command, fmt::format(" -n '__fish_seen_subcommand_from {}'", command.name));
  }
  script.pop_back();
  return script;
}

}  // namespace vok::tool
