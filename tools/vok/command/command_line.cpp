#include "command/command_line.h"

#include <fmt/core.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "base/number.h"
#include "building/torture.h"
#include "command/commands.h"
#include "image/placed_file.h"

namespace vok::tool {

namespace {

/// The numbers that an option takes.
struct Range {
  u64 lowest;
  u64 highest;
};
constexpr Range kTypeOrId = {0, 0xFFFF};
constexpr Range kId = {0, kNewId - 1};
constexpr Range kItemType = {1, 65533};
constexpr Range kAddress = {0, 0xFFFFFFFFFFFFFFFF};
constexpr Range kStoreVersion = {1, 3};
constexpr Range kSeconds = {0, 1000000};
constexpr Range kCount = {0, 0xFFFFFFFF};

constexpr const char* kImageGroup = "Image";

/// Which of the image options a command takes.
enum class ImageUse {
  kOne,       ///< they name the image
  kCompared,  ///< the command names two images; the options say what both have in common
  kNone,
};

/// The command line and what it fills.
struct Parser {
  CLI::App app{"Looks into NOR-flash item stores, takes them apart and repairs them.", "vok"};
  Invocation& invocation;
  Options& options = invocation.options;
  ImageUse image_use = ImageUse::kOne;  ///< of the command

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

CLI::Option* AddPlacedFile(CLI::App& app, const std::string& name, PlacedFile& target, const std::string& description) {
  const auto store = [&target](const std::string& text) { target = PlacedFileOf(text); };
  return app.add_option_function<std::string>(name, store, description)->type_name("FILE[@ADDRESS]");
}

void AddImageOptions(Parser& parser) {
  CLI::App& app = parser.app;
  ImageArguments& image = parser.options.image;
  CLI::Option* const dump =
      app.add_option("--image", image.dump, "flash dump with the PSDT in it")->type_name("FILE")->group(kImageGroup);
  AddNumber(app, "--psdt-address", image.psdt_address, kAddress, "PSDT of a dump (default 0xE000)")->group(kImageGroup);
  CLI::Option* const psdt =
      AddPlacedFile(app, "--psdt", image.psdt, "PSDT (default @0xE000)")->excludes(dump)->group(kImageGroup);
  CLI::Option* const codeplug =
      AddPlacedFile(app, "--codeplug", image.codeplug, "codeplug (default: where the first section begins)")
          ->excludes(dump)
          ->group(kImageGroup);
  codeplug->needs(psdt);
  AddNumber(app, "--store-version", image.store_version, kStoreVersion, "1, 2 or 3 (default: as the blocks say)")
      ->group(kImageGroup);
  app.add_flag("--verbose", parser.options.verbose, "tell on standard error what is being done");
}

CLI::App& AddCommand(Parser& parser, const std::string& name, Command command, const std::string& description,
                     ImageUse image_use = ImageUse::kOne) {
  CLI::App* const sub = parser.app.add_subcommand(name, description);
  sub->callback([&parser, command, image_use] {
    parser.invocation.command = command;
    parser.image_use = image_use;
  });
  return *sub;
}

void AddJson(Parser& parser, CLI::App& command) {
  command.add_flag("--json", parser.options.json, "print JSON instead of a table");
}

CLI::Option* AddOutput(Parser& parser, CLI::App& command, const std::string& description) {
  return command.add_option("-o,--output", parser.options.output, description)->type_name("FILE");
}

void AddType(CLI::App& command, const std::string& name, u16& target) {
  AddNumber(command, name, target, kTypeOrId, "item type")->required()->type_name("");
}

/// An ID, or "new" for the lowest one that is free.
void AddIdOrNew(CLI::App& command, const std::string& name, u16& target) {
  const auto store = [&target, name](const std::string& text) {
    target = text == "new" ? kNewId : static_cast<u16>(NumberOf(name, text, kId));
  };
  command.add_option_function<std::string>(name, store, "item ID, or new")->required()->type_name("");
}

/// N or FIRST-LAST.
CLI::Option* AddRange(CLI::App& command, const std::string& name, NumberRange& target, const Range& range,
                      const std::string& description) {
  const auto store = [&target, name, range](const std::string& text) {
    const std::size_t dash = text.find('-');
    target.first = static_cast<u16>(NumberOf(name, text.substr(0, dash), range));
    target.last =
        dash == std::string::npos ? target.first : static_cast<u16>(NumberOf(name, text.substr(dash + 1), range));
    if (target.IsEmpty()) throw CLI::ValidationError(fmt::format("{}: {} begins above its end", name, text));
  };
  return command.add_option_function<std::string>(name, store, description)->type_name("N[-N]");
}

void AddChangedOutput(Parser& parser, CLI::App& command) {
  AddOutput(parser, command, "write the changed image to FILE (default: in place)");
}

void AddChangeCommands(Parser& parser) {
  Options& options = parser.options;
  CLI::App& write = AddCommand(parser, "write", RunWrite, "write an item, new or in place of the one there is");
  AddType(write, "TYPE", options.type);
  AddIdOrNew(write, "ID", options.id);
  write.add_option("FILE", options.input, "its bytes (- = standard input)")->required()->type_name("");
  AddChangedOutput(parser, write);
  AddJson(parser, write);

  CLI::App& rename = AddCommand(parser, "rename", RunRename, "give an item another type and ID");
  AddType(rename, "TYPE", options.type);
  AddNumber(rename, "ID", options.id, kTypeOrId, "item ID")->required()->type_name("");
  AddType(rename, "NEWTYPE", options.new_type);
  AddIdOrNew(rename, "NEWID", options.new_id);
  AddChangedOutput(parser, rename);
  AddJson(parser, rename);

  CLI::App& remove = AddCommand(parser, "delete", RunDelete, "delete an item, or a range of them");
  CLI::Option* const type = AddNumber(remove, "TYPE", options.type, kTypeOrId, "item type")->type_name("");
  CLI::Option* const ids = AddRange(remove, "ID", options.ids, kId, "item ID, or FIRST-LAST")->type_name("");
  CLI::Option* const types = AddRange(remove, "--types", options.types, kItemType, "delete every item of these types");
  types->excludes(type)->excludes(ids);
  remove.add_option("--section", options.section, "with --types: in this section only")->needs(types);
  remove.add_flag("--yes", options.yes, "do not ask before a range");
  AddChangedOutput(parser, remove);
  AddJson(parser, remove);

  CLI::App& reorganise = AddCommand(parser, "reorganise", RunReorganise, "regain the space of dead items");
  reorganise.add_option("SECTION", options.section, "reorganise this section only")->type_name("");
  AddChangedOutput(parser, reorganise);
  AddJson(parser, reorganise);
}

void AddMadeImage(Parser& parser, CLI::App& command) {
  AddOutput(parser, command, "write the codeplug to FILE")->required();
  command.add_flag("--dump", parser.options.as_dump, "write a dump with the PSDT in it instead of the codeplug");
}

void AddWholeImageCommands(Parser& parser) {
  Options& options = parser.options;
  CLI::App& pack = AddCommand(parser, "pack", RunPack, "build an image from what unpack wrote", ImageUse::kNone);
  pack.add_option("DIR", options.directory, "directory with a manifest.json")->required()->type_name("");
  AddMadeImage(parser, pack);

  CLI::App& make = AddCommand(parser, "new", RunNew, "make an empty image", ImageUse::kNone);
  make.add_option("DESCRIPTION", options.input, "what it is to be like, in JSON")->required()->type_name("");
  make.add_option("--psdt-out", options.psdt_output, "write the PSDT to FILE")->type_name("FILE");
  AddMadeImage(parser, make);

  CLI::App& sample =
      AddCommand(parser, "sample", RunSample, "write a small image to try things out on", ImageUse::kNone);
  sample.add_option("DIR", options.directory, "gets psdt.bin and codeplug.bin")->required()->type_name("");

  CLI::App& diff = AddCommand(parser, "diff", RunDiff, "tell in which items two images differ", ImageUse::kCompared);
  const std::string operand = "dump, unpacked directory, PSDT+CODEPLUG, or a codeplug with --psdt";
  diff.add_option("A", options.first_image, operand)->required()->type_name("");
  diff.add_option("B", options.second_image, operand)->required()->type_name("");
  diff.footer("Exit status: 0 the same items, 1 others, 2 trouble.");
  AddJson(parser, diff);
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
  CLI::App& info = AddCommand(parser, "info", RunInfo, "show the PSDT, its sections and their space");
  info.add_flag("--blocks", parser.options.blocks, "also show wear and space of every block");
  AddJson(parser, info);
  AddJson(parser, AddCommand(parser, "check", RunCheck, "tell what is unfinished; changes nothing"));
  CLI::App& repair = AddCommand(parser, "repair", RunRepair, "finish or undo what is unfinished");
  CLI::Option* const rebuild = repair.add_flag("--rebuild", parser.options.rebuild,
                                               "build the sections anew from every Valid copy in them instead");
  repair.add_option("SECTION", parser.options.section, "with --rebuild: this section only")
      ->type_name("")
      ->needs(rebuild);
  AddOutput(parser, repair, "write the repaired image to FILE (default: in place)");
  AddJson(parser, repair);
}

void AddViewCommands(Parser& parser) {
  CLI::App& map = AddCommand(parser, "map", RunMap, "show the blocks as a picture");
  map.add_option("--svg", parser.options.svg, "write the picture as SVG to FILE")->type_name("FILE");
  map.add_option("--html", parser.options.html, "write a page to look around in to FILE")->type_name("FILE");
  AddJson(parser, map);

  CLI::App& explain = AddCommand(parser, "explain", RunExplain, "tell what lies at a flash address");
  AddNumber(explain, "ADDRESS", parser.options.address, kAddress, "flash address")->required()->type_name("");
  AddJson(parser, explain);

  CLI::App& history = AddCommand(parser, "history", RunHistory, "list the copies of an item that still lie in flash");
  AddNumber(history, "TYPE", parser.options.type, kTypeOrId, "item type")->required()->type_name("");
  AddNumber(history, "ID", parser.options.id, kTypeOrId, "item ID")->required()->type_name("");
  CLI::Option* const copy = AddNumber(history, "--copy", parser.options.copy, kTypeOrId, "show the bytes of copy N");
  AddJson(parser, history);
  copy->excludes(std::string("--json"));
  AddOutput(parser, history, "write the bytes of the copy to FILE (- = standard output)")->needs(copy);
}

void AddTorture(Parser& parser) {
  Options& options = parser.options;
  CLI::App& torture = AddCommand(parser, "torture", RunTorture, "cut the power in a copy of a section, everywhere");
  std::vector<std::string> names = {kAllOperations};
  for (const sweep::Operation* const operation : TortureOperations()) names.emplace_back(operation->name);
  torture.add_option("IMAGE", options.image.dump, "flash dump, as with --image")
      ->type_name("")
      ->excludes(parser.app.get_option("--image"))
      ->excludes(parser.app.get_option("--psdt"));
  torture.add_option("--operation", options.operations, "what is cut, or all (default: write); may be repeated")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->check(CLI::IsMember(names));
  torture.add_option("--section", options.section, "in this section (default: the item's, or the first)");
  const auto store = [&options](const std::vector<std::string>& words) {
    options.item = NamedItem{static_cast<u16>(NumberOf("--item", words.at(0), kTypeOrId)),
                             static_cast<u16>(NumberOf("--item", words.at(1), kId))};
    return true;
  };
  torture.add_option_function<std::vector<std::string>>("--item", store, "change this item (default: a short one)")
      ->expected(2)
      ->type_name("TYPE ID");
  AddNumber(torture, "--seconds", options.seconds, kSeconds, "for each operation (default 60; 0 = to the end)");
  AddNumber(torture, "--cuts", options.images, kCount, "cut images of each operation (default: as the time allows)");
  AddJson(parser, torture);
}

void RequireOneImage(const Parser& parser) {
  const ImageArguments& image = parser.options.image;
  if (!image.IsDump() && image.psdt.path.empty())
    throw CLI::ValidationError("no image: name one with --image FILE, or with --psdt FILE --codeplug FILE");
  if (!image.IsDump() && image.codeplug.path.empty()) throw CLI::ValidationError("--psdt requires --codeplug");
  if (!image.IsDump() && parser.app.count("--psdt-address") != 0)
    throw CLI::ValidationError("--psdt-address requires --image");
}

void RequireCommandAndImage(const Parser& parser) {
  if (parser.invocation.command == nullptr) throw CLI::ValidationError("no command");
  if (parser.image_use == ImageUse::kOne) return RequireOneImage(parser);
  for (const CLI::Option* const option : parser.app.get_options()) {
    if (option->get_group() != kImageGroup || option->count() == 0) continue;
    const bool names_image = option->get_name() == "--image" || option->get_name() == "--codeplug";
    if (parser.image_use == ImageUse::kNone || names_image)
      throw CLI::ValidationError(option->get_name() + " does not go with this command");
  }
}

void RequireWhatToDelete(const Invocation& invocation) {
  if (invocation.command == RunDelete && invocation.options.ids.IsEmpty() && invocation.options.types.IsEmpty())
    throw CLI::ValidationError("delete needs TYPE and ID, or --types");
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
  AddChangeCommands(parser);
  AddWholeImageCommands(parser);
  AddViewCommands(parser);
  AddTorture(parser);
  try {
    parser.app.parse(argc, argv);
    RequireCommandAndImage(parser);
    RequireWhatToDelete(invocation);
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
