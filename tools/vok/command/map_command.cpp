#include <fmt/core.h>

#include <filesystem>

#include "answer/view_json.h"
#include "base/terminal.h"
#include "building/read_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "map/map_page.h"
#include "map/map_svg.h"
#include "map/map_terminal.h"
#include "view/image_view.h"

namespace vok::tool {

namespace {

void Deliver(const Options& options, const std::string& path, const std::string& text) {
  if (path == "-") return Print(text);
  WriteOutput(path, AsBytes(text), ExistingFor(options));
  Say("wrote " + path);
}

}  // namespace

void TakeMap(Arguments& arguments, Options& options) {
  arguments.File("--svg", options.svg, "write the picture as SVG to FILE");
  arguments.File("--html", options.html, "write a page to look around in to FILE");
  arguments.Force();
  arguments.Json();
  arguments.Rebuilt();
}

int RunMap(const Options& options) {
  ReadImage image(options.image, Look::kAsItLies);
  image.ShowAllBlocks();
  const ImageView view = ViewImage(image);
  const std::string name = std::filesystem::path(image.loaded().changed_path()).filename().string();
  if (!options.svg.empty()) Deliver(options, options.svg, MapSvg(view, name));
  if (!options.html.empty()) Deliver(options, options.html, MapPage(view, name));
  if (options.json) {
    Print(MapJson(view, image.losses()));
  } else if (options.svg.empty() && options.html.empty()) {
    PrintMap(view);
  }
  return Conclude(image.losses());
}

}  // namespace vok::tool
