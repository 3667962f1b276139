#include <fmt/core.h>

#include "command/written_help.h"
#include "vok/version.h"

namespace vok::tool {

namespace {

/// Text for roff, in which backslashes, dashes and what a line begins with have a meaning.
std::string Roff(const std::string& text) {
  std::string roff = text.starts_with('.') || text.starts_with('\'') ? "\\&" : "";
  for (const char c : text) {
    if (c == '\\')
      roff += "\\e";
    else if (c == '-')
      roff += "\\-";
    else
      roff += c;
  }
  return roff;
}

std::string Bold(const std::string& text) { return fmt::format("\\fB{}\\fR", Roff(text)); }
std::string Italic(const std::string& text) { return fmt::format("\\fI{}\\fR", Roff(text)); }

std::string TermOf(const ArgumentHelp& argument) {
  std::string term;
  for (const std::string& name : argument.names) {
    if (!term.empty()) term += ", ";
    term += argument.IsOption() ? Bold(name) : Italic(name);
  }
  return argument.value.empty() ? term : fmt::format("{} {}", term, Italic(argument.value));
}

/// The option that every command has is told of once.
bool IsHelp(const ArgumentHelp& argument) { return argument.names.back() == "--help"; }

std::string Arguments(const CommandHelp& command) {
  std::string text;
  for (const ArgumentHelp& argument : command.arguments)
    if (!IsHelp(argument)) text += fmt::format(".TP\n{}\n{}\n", TermOf(argument), Roff(argument.description));
  return text;
}

std::string Synopsis(const CommandHelp& command) {
  std::string text = Bold(command.name);
  for (const ArgumentHelp& argument : command.arguments) {
    if (argument.IsOption()) continue;
    const std::string name = Italic(argument.names[0]);
    text += argument.required ? fmt::format(" {}", name) : fmt::format(" [{}]", name);
  }
  return text;
}

std::string Section(const CommandHelp& command, const std::string& common_footer) {
  const std::string text =
      fmt::format(".SS {}\n{}.\n{}", Synopsis(command), Roff(command.description), Arguments(command));
  return command.footer.empty() || command.footer == common_footer
             ? text
             : fmt::format("{}.PP\n{}\n", text, Roff(command.footer));
}

}  // namespace

std::string ManualPage(const ProgramHelp& help) {
  std::string page = fmt::format(
      ".TH VOK 1 \"\" \"vok {}\" \"User commands\"\n.SH NAME\nvok \\- {}\n"
      ".SH SYNOPSIS\n.B vok\n[\\fIOPTIONS\\fR] \\fICOMMAND\\fR [\\fIARGUMENTS\\fR]\n",
      VOK_VERSION, "looks into NOR\\-flash item stores, takes them apart and repairs them");
  page += fmt::format(".SH DESCRIPTION\n{}\n{}\n", Roff(help.program.description), Roff(help.program.footer));
  page += fmt::format(
      ".SH OPTIONS\n.TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nShow the usage of vok, or of the command, and exit.\n{}.SH "
      "COMMANDS\n",
      Arguments(help.program));
  for (const CommandHelp& command : help.commands) page += Section(command, help.program.footer);
  page += ".SH SEE ALSO\nThe folder docs in the package's documentation.\n";
  page.pop_back();
  return page;
}

}  // namespace vok::tool
