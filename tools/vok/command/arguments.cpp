#include "command/arguments.h"

#include <fmt/core.h>

#include <CLI/CLI.hpp>

#include "base/number.h"

namespace vok::tool {

namespace {

u64 NumberOf(const std::string& name, const std::string& text, const Limits& limits) {
  const std::optional<u64> number = ParseNumber(text);
  if (!number) throw WrongCommandLine(fmt::format("{}: '{}' is not a number", name, text));
  if (*number < limits.lowest || *number > limits.highest)
    throw WrongCommandLine(fmt::format("{}: {} is not in {} to {}", name, text, limits.lowest, limits.highest));
  return *number;
}

NumberRange RangeOf(const std::string& name, const std::string& text, const Limits& limits) {
  const std::size_t dash = text.find('-');
  NumberRange range;
  range.first = static_cast<u16>(NumberOf(name, text.substr(0, dash), limits));
  range.last =
      dash == std::string::npos ? range.first : static_cast<u16>(NumberOf(name, text.substr(dash + 1), limits));
  if (range.IsEmpty()) throw WrongCommandLine(fmt::format("{}: {} begins above its end", name, text));
  return range;
}

/// The name of a positional argument says by itself what it takes.
Argument WithValue(CLI::Option* option, const std::string& value) {
  option->type_name(option->get_positional() ? "" : value);
  return Argument(*option);
}

}  // namespace

Argument Argument::Required() {
  option_->required();
  return *this;
}

Argument Argument::Excludes(const Argument& other) {
  option_->excludes(other.option_);
  return *this;
}

Argument Argument::Needs(const Argument& other) {
  option_->needs(other.option_);
  return *this;
}

Argument Argument::Under(const std::string& heading) {
  option_->group(heading);
  return *this;
}

Argument Arguments::Flag(const std::string& name, bool& target, const std::string& description) {
  return Argument(*app_.add_flag(name, target, description));
}

Argument Arguments::Text(const std::string& name, std::string& target, const std::string& description,
                         const std::string& value) {
  return WithValue(app_.add_option(name, target, description), value);
}

Argument Arguments::File(const std::string& name, std::string& target, const std::string& description) {
  return Text(name, target, description, "FILE");
}

Argument Arguments::Placed(const std::string& name, PlacedFile& target, const std::string& description) {
  const auto store = [&target](const std::string& text) { target = PlacedFileOf(text); };
  return WithValue(app_.add_option_function<std::string>(name, store, description), "FILE[@ADDRESS]");
}

Argument Arguments::Choices(const std::string& name, std::vector<std::string>& target,
                            const std::vector<std::string>& allowed, const std::string& description) {
  CLI::Option* const option = app_.add_option(name, target, description);
  option->allow_extra_args(false)->check(CLI::IsMember(allowed));
  return WithValue(option, "NAME");
}

Argument Arguments::StoredNumber(const std::string& name, std::function<void(u64)> store, const Limits& limits,
                                 const std::string& description) {
  const auto parse = [store = std::move(store), name, limits](const std::string& text) {
    store(NumberOf(name, text, limits));
  };
  return WithValue(app_.add_option_function<std::string>(name, parse, description), "N");
}

Argument Arguments::Range(const std::string& name, NumberRange& target, const Limits& limits,
                          const std::string& description) {
  const auto store = [&target, name, limits](const std::string& text) { target = RangeOf(name, text, limits); };
  return WithValue(app_.add_option_function<std::string>(name, store, description), "N[-N]");
}

Argument Arguments::Item(const std::string& name, std::optional<NamedItem>& target, const std::string& description) {
  const auto store = [&target, name](const std::vector<std::string>& words) {
    target = NamedItem{static_cast<u16>(NumberOf(name, words.at(0), kTypeOrId)),
                       static_cast<u16>(NumberOf(name, words.at(1), kId))};
  };
  return WithValue(app_.add_option_function<std::vector<std::string>>(name, store, description)->expected(2),
                   "TYPE ID");
}

Argument Arguments::Type(const std::string& name, u16& target) {
  return Number(name, target, kTypeOrId, "item type").Required();
}

Argument Arguments::Id(const std::string& name, u16& target) {
  return Number(name, target, kTypeOrId, "item ID").Required();
}

Argument Arguments::IdOrNew(const std::string& name, u16& target) {
  const auto store = [&target, name](const std::string& text) {
    target = text == "new" ? kNewId : static_cast<u16>(NumberOf(name, text, kId));
  };
  return WithValue(app_.add_option_function<std::string>(name, store, "item ID, or new"), "N").Required();
}

Argument Arguments::Section(const std::string& description) { return Text("SECTION", options_.section, description); }

Argument Arguments::Json() { return Flag("--json", options_.json, "print JSON instead of a table"); }

Argument Arguments::Rebuilt() {
  return Flag("--rebuilt", options_.image.rebuilt, "as repair --rebuild would leave the image");
}

Argument Arguments::AcceptLoss() {
  return Flag("--accept-loss", options_.accept_loss, "go on although items are lost by it");
}

Argument Arguments::Output(const std::string& description) {
  Force();
  return File("-o,--output", options_.output, description);
}

Argument Arguments::ChangedOutput(const std::string& description) {
  AcceptLoss();
  Flag("--wait", options_.wait, "wait for other commands that use the image");
  return Output(description);
}

Argument Arguments::Force(const std::string& description) { return Flag("--force", options_.force, description); }

void Arguments::ManyImages(ManyUse use, const std::string& operand) {
  constexpr Limits kJobs = {1, 1000};
  const std::string names = operand.empty() ? "--images" : "--images," + operand;
  CLI::Option* const images =
      app_.add_option(names, options_.many.names, "dumps, PSDT+CODEPLUG pairs, or codeplugs with --psdt");
  CLI::Option* const list =
      app_.add_option("--images-from", options_.many.list, "their names, one a line, from FILE (- = standard input)");
  for (CLI::Option* const option : {images->type_name("FILE..."), list->type_name("FILE")}) {
    option->group(kManyHeading)->each([this_options = &options_, use](const std::string&) {
      this_options->many.use = use;
    });
    for (const char* const one : {"--image", "--codeplug"}) OfEveryCommand(one).Excludes(Argument(*option));
  }
  list->excludes(images);
  Number("-j,--jobs", options_.many.jobs, kJobs, "how many at once (default 1)").Under(kManyHeading);
}

void Arguments::MadeImage() {
  Output("write the codeplug to FILE (- = standard output)").Required();
  Dump();
}

Argument Arguments::Dump() {
  return Flag("--dump", options_.as_dump, "write a dump with the PSDT in it instead of the codeplug");
}

Argument Arguments::OfEveryCommand(const std::string& name) { return Argument(*app_.get_parent()->get_option(name)); }

void Arguments::Footer(const std::string& text) {
  const std::string above = app_.get_footer();
  app_.footer(above.empty() ? text : above + '\n' + text);
}

void Arguments::Check(std::function<void()> check) { app_.final_callback(std::move(check)); }

}  // namespace vok::tool
