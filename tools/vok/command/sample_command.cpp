#include <fmt/core.h>

#include <array>
#include <filesystem>

#include "answer/json.h"
#include "base/failure.h"
#include "base/terminal.h"
#include "building/sample.h"
#include "building/unpacked_folder.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "section/mounting.h"

namespace vok::tool {

void TakeSample(Arguments& arguments, Options& options) {
  arguments.Text("DIR", options.directory, "gets psdt.bin and codeplug.bin").Required();
  arguments.Force();
}

int RunSample(const Options& options) {
  const Description description = SampleDescription();
  const ImageBytes psdt = PsdtOf(description);
  const FreshImage image(psdt, description.version);
  FillSample(image);
  RequireAllMounted(CheckMountSections());

  std::error_code error;
  std::filesystem::create_directories(options.directory, error);
  if (error) throw Failure(fmt::format("cannot make {}: {}", options.directory, error.message()));
  const Bytes codeplug = image.Range(image.start(), image.end());
  const std::array outputs = {Output{.path = options.directory + '/' + kPsdtFileName, .bytes = psdt.bytes},
                              Output{.path = options.directory + "/codeplug.bin", .bytes = codeplug}};
  WriteOutputs(outputs, ExistingFor(options));
  return kDone;
}

}  // namespace vok::tool
