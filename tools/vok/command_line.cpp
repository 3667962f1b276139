#include "command_line.h"

#include <fmt/core.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "commands.h"
#include "number.h"

namespace vok::tool {

namespace {

/// The numbers that an option takes.
struct Range {
  u64 lowest;
  u64 highest;
};
constexpr Range kTypeOrId = {0, 0xFFFF};
constexpr Range kAddress = {0, 0xFFFFFFFFFFFFFFFF};
constexpr Range kStoreVersion = {1, 3};

/// The command line and what it fills.
struct Parser {
  CLI::App app{"Looks into NOR-flash item stores, takes them apart and repairs them.", "vok"};
  Invocation& invocation;
  Options& options = invocation.options;

  explicit Parser(Invocation& target) : invocation(target) {
    app.set_version_flag("--version", "vok " VOK_TOOL_VERSION);
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.get_formatter()->column_width(36);
    app.footer("Numbers are decimal or 0x-hexadecimal. Exit status: 0 done, 1 the job failed, 2 wrong command line.");
  }
};

u64 NumberOf(const std::string& name, const std::string& text, const Range& range) {
  const std::optional<u64> number = ParseNumber(text);
  if (!number) throw CLI::ValidationError(fmt::format("{}: '{}' is not a number", name, text));
  if (*number < range.lowest || *number > range.highest)
    throw CLI::ValidationError(fmt::format("{}: {} is not in {} to {}", name, text, range.lowest, range.highest));
  return *number;
}

template <typename Number>
CLI::Option* AddNumber(CLI::App& app, const std::string& name, Number& target, const Range& range,
                       const std::string& description) {
  const auto store = [&target, name, range](const std::string& text) {
    target = static_cast<Number>(NumberOf(name, text, range));
  };
  return app.add_option_function<std::string>(name, store, description)->type_name("N");
}

/// FILE[@ADDRESS]; an @ that no number follows belongs to the file's name.
PlacedFile PlacedFileOf(const std::string& text) {
  const std::size_t at = text.rfind('@');
  if (at != std::string::npos && at != 0)
    if (const auto address = ParseNumber(std::string_view(text).substr(at + 1)))
      return {.path = text.substr(0, at), .address = address};
  return {.path = text, .address = {}};
}

CLI::Option* AddPlacedFile(CLI::App& app, const std::string& name, PlacedFile& target, const std::string& description) {
  const auto store = [&target](const std::string& text) { target = PlacedFileOf(text); };
  return app.add_option_function<std::string>(name, store, description)->type_name("FILE[@ADDRESS]");
}

void AddImageOptions(Parser& parser) {
  CLI::App& app = parser.app;
  ImageArguments& image = parser.options.image;
  CLI::Option* const dump =
      app.add_option("--image", image.dump, "flash dump with the PSDT in it")->type_name("FILE")->group("Image");
  AddNumber(app, "--psdt-address", image.psdt_address, kAddress, "PSDT of a dump (default 0xE000)")
      ->needs(dump)
      ->group("Image");
  CLI::Option* const psdt =
      AddPlacedFile(app, "--psdt", image.psdt, "PSDT (default @0xE000)")->excludes(dump)->group("Image");
  CLI::Option* const codeplug =
      AddPlacedFile(app, "--codeplug", image.codeplug, "codeplug (default: where the first section begins)")
          ->excludes(dump)
          ->group("Image");
  psdt->needs(codeplug);
  codeplug->needs(psdt);
  AddNumber(app, "--store-version", image.store_version, kStoreVersion, "1, 2 or 3 (default: as the blocks say)")
      ->group("Image");
  app.add_flag("--verbose", parser.options.verbose, "tell on standard error what is being done");
}

CLI::App& AddCommand(Parser& parser, const std::string& name, Command command, const std::string& description) {
  CLI::App* const sub = parser.app.add_subcommand(name, description);
  sub->callback([&parser, command] { parser.invocation.command = command; });
  return *sub;
}

void AddJson(Parser& parser, CLI::App& command) {
  command.add_flag("--json", parser.options.json, "print JSON instead of a table");
}

CLI::Option* AddOutput(Parser& parser, CLI::App& command, const std::string& description) {
  return command.add_option("-o,--output", parser.options.output, description)->type_name("FILE");
}

void AddItemCommands(Parser& parser) {
  CLI::App& list = AddCommand(parser, "list", RunList, "list the items");
  list.add_option("SECTION", parser.options.section, "list this section only")->type_name("");
  AddJson(parser, list);

  CLI::App& read = AddCommand(parser, "read", RunRead, "show the bytes of an item");
  AddNumber(read, "TYPE", parser.options.type, kTypeOrId, "item type")->required()->type_name("");
  AddNumber(read, "ID", parser.options.id, kTypeOrId, "item ID")->required()->type_name("");
  AddJson(parser, read);
  AddOutput(parser, read, "write the bytes to FILE (- = standard output)");

  CLI::App& unpack = AddCommand(parser, "unpack", RunUnpack, "write every item to a file of its own, and a manifest");
  unpack.add_option("DIR", parser.options.directory, "directory to make")->required()->type_name("");
  unpack.add_flag("--force", parser.options.force, "replace a directory that an earlier unpack made");
  unpack.add_flag("--skip-unmounted", parser.options.skip_unmounted, "leave out sections that do not mount");
}

void AddStoreCommands(Parser& parser) {
  AddJson(parser, AddCommand(parser, "info", RunInfo, "show the PSDT, its sections and their space"));
  AddJson(parser, AddCommand(parser, "check", RunCheck, "tell what is unfinished; changes nothing"));
  CLI::App& repair = AddCommand(parser, "repair", RunRepair, "finish or undo what is unfinished");
  AddOutput(parser, repair, "write the repaired image to FILE (default: in place)");
  AddJson(parser, repair);
}

void RequireCommandAndImage(const Invocation& invocation) {
  if (invocation.command == nullptr) throw CLI::ValidationError("no command");
  const ImageArguments& image = invocation.options.image;
  if (!image.IsDump() && image.psdt.path.empty())
    throw CLI::ValidationError("no image: name one with --image FILE, or with --psdt FILE --codeplug FILE");
}

int TellWrongCommandLine(const CLI::ParseError& error) {
  fmt::print(stderr, "vok: {}; 'vok --help' shows the usage\n", error.what());
  return kWrongCommandLine;
}

}  // namespace

Invocation ParseCommandLine(int argc, const char* const* argv) {
  Invocation invocation;
  Parser parser(invocation);
  AddImageOptions(parser);
  AddStoreCommands(parser);
  AddItemCommands(parser);
  try {
    parser.app.parse(argc, argv);
    RequireCommandAndImage(invocation);
  } catch (const CLI::Success& help) {
    invocation.command = nullptr;
    invocation.status = parser.app.exit(help);
  } catch (const CLI::ParseError& error) {
    invocation.command = nullptr;
    invocation.status = TellWrongCommandLine(error);
  }
  return invocation;
}

}  // namespace vok::tool
