#include <fmt/core.h>

#include <algorithm>

#include "answer/view_json.h"
#include "base/failure.h"
#include "base/terminal.h"
#include "building/read_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "flash/image.h"
#include "section/losses_text.h"
#include "view/explain_block.h"
#include "view/explain_psdt.h"

namespace vok::tool {

namespace {

bool Covers(const Section& section, u64 address) { return address >= section.entry.start && address < section.end(); }

const Section* SectionAt(const std::vector<Section>& sections, u64 address) {
  const auto found = std::find_if(sections.begin(), sections.end(),
                                  [address](const Section& section) { return Covers(section, address); });
  return found != sections.end() ? &*found : nullptr;
}

/// The flash range that the file beside the PSDT, or the dump, fills.
struct Range {
  u64 start;
  u64 end;
};
Range ContentsOf(const LoadedImage& image, bool is_dump) {
  if (is_dump) return {.start = 0, .end = image.CurrentBytes().size()};
  return {.start = image.codeplug_start(), .end = image.codeplug_end()};
}

void ExplainOutside(const LoadedImage& image, Explanation& explanation) {
  const Section* const passed = SectionAt(image.sections().passed_over, explanation.address);
  explanation.place = passed != nullptr ? "section passed over" : "outside sections";
  explanation.title = passed != nullptr ? fmt::format("a byte of section {}, which start-up passes over", passed->name)
                                        : "a byte outside the PSDT and every section";
  explanation.next = passed != nullptr ? ReasonOf(*passed) : "nothing: the store does not look there";
}

/// @throws Failure when no file has a byte for the address
Explanation Explain(const LoadedImage& image, u64 address, bool is_dump) {
  Explanation explanation;
  explanation.address = address;
  const ImageBytes& psdt = image.psdt();
  if (InFlash(address, 1) && psdt.Covers(address, address + 1)) {
    ExplainPsdt(image, explanation);
    return explanation;
  }
  const Range contents = ContentsOf(image, is_dump);
  if (address < contents.start || address >= contents.end)
    throw Failure(fmt::format("address {} lies outside the image, which holds {} and {}", HexAddress(address),
                              AddressRange(psdt.address, psdt.end()), AddressRange(contents.start, contents.end)));
  explanation.byte = *VirtualMemoryAddress(address);
  if (const Section* section = SectionAt(image.sections().accepted, address)) {
    const u16 block = static_cast<u16>((address - section->entry.start) / section->entry.block_size);
    ExplainInSection(ViewOneBlock(*section, block), explanation);
  } else {
    ExplainOutside(image, explanation);
  }
  return explanation;
}

void PrintFacts(const Explanation& explanation) {
  std::size_t width = std::string_view("next").size();
  for (const Fact& fact : explanation.facts) width = std::max(width, fact.what.size());
  const auto print = [width](const std::string& what, const std::string& value) {
    Print(fmt::format("{:<{}}  {}\n", what, width, value));
  };
  print("byte", WordText(explanation.byte, sizeof(u8)));
  for (const Fact& fact : explanation.facts) print(fact.what, fact.value);
  if (!explanation.next.empty()) print("next", explanation.next);
}

/// The losses that concern the block that was explained.
Losses LossesAt(const Losses& losses, const Explanation& explanation) {
  Losses here = LossesOfSection(losses, explanation.section);
  std::erase_if(here,
                [&](const Loss& loss) { return loss.block && explanation.block && *loss.block != *explanation.block; });
  return here;
}

}  // namespace

void TakeExplain(Arguments& arguments, Options& options) {
  arguments.Number("ADDRESS", options.address, kAddress, "flash address").Required();
  arguments.Json();
  arguments.Rebuilt();
}

int RunExplain(const Options& options) {
  ReadImage image(options.image, Look::kAsItLies);
  const ImageBytes& psdt = image.loaded().psdt();
  if (!psdt.Covers(options.address, options.address + 1)) image.ShowAllBlocks();
  const Explanation explanation = Explain(image.loaded(), options.address, options.image.IsDump());
  const Losses losses = LossesAt(image.losses(), explanation);
  if (options.json) {
    Print(ExplanationJson(explanation, losses));
  } else {
    Print(fmt::format("{}: {}\n\n", HexAddress(explanation.address), explanation.title));
    PrintFacts(explanation);
  }
  return Conclude(losses);
}

}  // namespace vok::tool
