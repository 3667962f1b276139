#include <cstdio>

#include "command/commands.h"
#include "image/description.h"
#include "image/fresh_image.h"
#include "image/mounting.h"
#include "output/failure.h"
#include "output/terminal.h"

namespace vok::tool {

int RunNew(const Options& options) {
  std::vector<std::string> problems;
  const Description description = ReadDescription(options.input, problems);
  for (const std::string& problem : problems) std::fputs(FailureLine(problem, code::kInvalidParameter).c_str(), stderr);
  if (!problems.empty()) return kFailed;

  const ImageBytes psdt = PsdtOf(description);
  const FreshImage image(psdt, description.version);
  RequireAllMounted(CheckMountSections());
  if (!options.psdt_output.empty()) ReplaceFile(options.psdt_output, psdt.bytes);
  ReplaceFile(options.output, options.as_dump ? image.Dump(image.end()) : image.Range(image.start(), image.end()));
  return kDone;
}

}  // namespace vok::tool
