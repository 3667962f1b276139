#include <fmt/core.h>

#include "answer/json.h"
#include "base/files.h"
#include "base/hex_dump.h"
#include "base/terminal.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "image/image.h"
#include "section/items.h"
#include "section/mounting.h"

namespace vok::tool {

namespace {

void DeliverItem(const Options& options, const Section& section, const Bytes& bytes) {
  if (!options.output.empty() && options.output != "-") WriteOutput(options.output, bytes, ExistingFor(options));
  if (options.output == "-") return PrintBytes(bytes);
  if (options.json) {
    const ItemEntry item{
        .type = options.type, .id = options.id, .length = static_cast<u32>(bytes.size()), .crc32 = Crc32(bytes)};
    return Print(ItemJson(section, item, bytes));
  }
  if (options.output.empty()) Print(HexDump(bytes));
}

}  // namespace

void TakeRead(Arguments& arguments, Options& options) {
  arguments.Type("TYPE", options.type);
  arguments.Id("ID", options.id);
  arguments.Json();
  arguments.Output("write the bytes to FILE (- = standard output)");
}

int RunRead(const Options& options) {
  const LoadedImage image(options.image);
  RequireSetUp(image.sections());
  const SectionList sections = MountSections(MountPurpose::kRead);
  const std::string what = fmt::format("no item type {} ID {}", options.type, options.id);
  const Section& section = SectionOfType(sections, options.type, what);
  DeliverItem(options, section, ReadItemBytes(section, options.type, options.id));
  return kDone;
}

}  // namespace vok::tool
