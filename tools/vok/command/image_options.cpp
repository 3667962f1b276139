#include "command/image_options.h"

#include <cstdlib>

namespace vok::tool {

namespace {

constexpr Limits kStoreVersion = {1, 3};

/// Empty where it is not set.
std::string FromEnvironment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

void Complete(PlacedFile& file, const char* name) {
  if (const std::string value = FromEnvironment(name); file.path.empty() && !value.empty()) file = PlacedFileOf(value);
}

void RequireOneImage(const ImageArguments& image) {
  const bool has_psdt = !image.psdt.path.empty();
  const bool has_codeplug = !image.codeplug.path.empty();
  if (!image.IsDump() && !has_psdt && !has_codeplug)
    throw WrongCommandLine("no image: name one with --image FILE, or with --psdt FILE --codeplug FILE");
  if (!image.IsDump() && !has_codeplug) throw WrongCommandLine("--psdt requires --codeplug");
  if (!image.IsDump() && !has_psdt) throw WrongCommandLine("--codeplug requires --psdt");
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
  const Argument dump =
      arguments.File("--image", image.dump, "flash dump with the PSDT in it (- = standard input)").Under(heading);
  arguments
      .Number("--psdt-address", image.psdt_address, kAddress,
              "PSDT of a dump (default 0xE000, else where its magic is)")
      .Under(heading);
  arguments.Placed("--psdt", image.psdt, "PSDT (default @0xE000)").Excludes(dump).Under(heading);
  arguments.Placed("--codeplug", image.codeplug, "codeplug (default: where the first section begins)")
      .Excludes(dump)
      .Under(heading);
  arguments.Number("--store-version", image.store_version, kStoreVersion, "1, 2 or 3 (default: as the blocks say)")
      .Under(heading);
}

void TakeImageFromEnvironment(ImageArguments& image, ImageUse use) {
  if (use != ImageUse::kOne || image.IsDump()) return;
  const std::string dump = FromEnvironment("VOK_IMAGE");
  const bool has_option = !image.psdt.path.empty() || !image.codeplug.path.empty();
  const bool has_pair = !FromEnvironment("VOK_PSDT").empty() || !FromEnvironment("VOK_CODEPLUG").empty();
  if (!has_option && has_pair && !dump.empty())
    throw WrongCommandLine("VOK_IMAGE names one image, VOK_PSDT and VOK_CODEPLUG another: unset one of them");
  if (!has_option && !dump.empty()) {
    image.dump = dump;
    return;
  }
  Complete(image.psdt, "VOK_PSDT");
  Complete(image.codeplug, "VOK_CODEPLUG");
}

void RequireImage(const ImageArguments& image, ImageUse use) {
  switch (use) {
    case ImageUse::kOne: return RequireOneImage(image);
    case ImageUse::kCompared: return RequireOnlyWhatIsCommon(image);
    case ImageUse::kNone: return RequireNoImage(image);
  }
}

}  // namespace vok::tool
