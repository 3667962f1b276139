#include "command/image_options.h"

namespace vok::tool {

namespace {

constexpr Limits kStoreVersion = {1, 3};

void RequireOneImage(const ImageArguments& image) {
  const bool has_psdt = !image.psdt.path.empty();
  const bool has_codeplug = !image.codeplug.path.empty();
  if (!image.IsDump() && !has_psdt && !has_codeplug)
    throw WrongCommandLine("no image: name one with --image FILE, or with --psdt FILE --codeplug FILE");
  if (!image.IsDump() && !has_codeplug) throw WrongCommandLine("--psdt requires --codeplug");
  if (!image.IsDump() && image.psdt_address) throw WrongCommandLine("--psdt-address requires --image");
}

void RequireOnlyWhatIsCommon(const ImageArguments& image) {
  if (image.IsDump()) throw WrongCommandLine("--image does not go with this command");
  if (!image.codeplug.path.empty()) throw WrongCommandLine("--codeplug does not go with this command");
}

void RequireNoImage(const ImageArguments& image) {
  RequireOnlyWhatIsCommon(image);
  if (!image.psdt.path.empty()) throw WrongCommandLine("--psdt does not go with this command");
  if (image.psdt_address) throw WrongCommandLine("--psdt-address does not go with this command");
  if (image.store_version != 0) throw WrongCommandLine("--store-version does not go with this command");
}

}  // namespace

void TakeImageOptions(Arguments& arguments, ImageArguments& image) {
  const char* const heading = "Image";
  const Argument dump = arguments.File("--image", image.dump, "flash dump with the PSDT in it").Under(heading);
  arguments.Number("--psdt-address", image.psdt_address, kAddress, "PSDT of a dump (default 0xE000)").Under(heading);
  const Argument psdt = arguments.Placed("--psdt", image.psdt, "PSDT (default @0xE000)").Excludes(dump).Under(heading);
  arguments.Placed("--codeplug", image.codeplug, "codeplug (default: where the first section begins)")
      .Excludes(dump)
      .Needs(psdt)
      .Under(heading);
  arguments.Number("--store-version", image.store_version, kStoreVersion, "1, 2 or 3 (default: as the blocks say)")
      .Under(heading);
}

void RequireImage(const ImageArguments& image, ImageUse use) {
  switch (use) {
    case ImageUse::kOne: return RequireOneImage(image);
    case ImageUse::kCompared: return RequireOnlyWhatIsCommon(image);
    case ImageUse::kNone: return RequireNoImage(image);
  }
}

}  // namespace vok::tool
