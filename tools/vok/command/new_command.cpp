#include <array>
#include <cstdio>

#include "base/failure.h"
#include "base/terminal.h"
#include "building/description.h"
#include "building/fresh_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "section/mounting.h"

namespace vok::tool {

void TakeNew(Arguments& arguments, Options& options) {
  arguments.Text("DESCRIPTION", options.input, "what it is to be like, in JSON").Required();
  arguments.File("--psdt-out", options.psdt_output, "write the PSDT to FILE");
  arguments.MadeImage();
}

int RunNew(const Options& options) {
  std::vector<std::string> problems;
  const Description description = ReadDescription(options.input, problems);
  for (const std::string& problem : problems) std::fputs(FailureLine(problem).c_str(), stderr);
  if (!problems.empty()) return kFailed;

  const ImageBytes psdt = PsdtOf(description);
  const FreshImage image(psdt, description.version);
  RequireAllMounted(CheckMountSections());
  const Bytes made = options.as_dump ? image.Dump(image.end()) : image.Range(image.start(), image.end());
  const std::array outputs = {Output{.path = options.psdt_output, .bytes = psdt.bytes},
                              Output{.path = options.output, .bytes = made}};
  WriteOutputs(outputs, ExistingFor(options));
  return kDone;
}

}  // namespace vok::tool
