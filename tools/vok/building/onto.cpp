#include "building/onto.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "image/image.h"

namespace vok::tool {

namespace {

bool HoldsPsdt(const ImageBytes& image, const ImageBytes& psdt) {
  if (!image.Covers(psdt.address, psdt.address + PsdtLength())) return false;
  return std::equal(psdt.bytes.begin(), psdt.bytes.begin() + PsdtLength(),
                    image.bytes.begin() + static_cast<std::ptrdiff_t>(psdt.address));
}

}  // namespace

OntoImage::OntoImage(const std::string& path, const Manifest& manifest, const ImageBytes& psdt)
    : image_{.path = path, .bytes = ReadFile(path)} {
  if (HoldsPsdt(image_, psdt)) return;
  const u64 length = manifest.codeplug_end() - manifest.codeplug_start();
  if (image_.bytes.size() != length)
    throw Failure(fmt::format("{} is neither a dump with the folder's PSDT at {} nor a codeplug of {} bytes", path,
                              HexAddress(psdt.address), length));
  image_.address = manifest.codeplug_start();
}

Bytes OntoImage::With(const FreshImage& image) const {
  Bytes bytes = image_.bytes;
  for (const Section& section : image.sections().accepted) {
    if (!image_.Covers(section.entry.start, section.end()))
      throw Failure(
          fmt::format("{} ends at {}, before section {} does", image_.path, HexAddress(image_.end()), section.name));
    const Bytes fresh = image.Range(section.entry.start, section.end());
    std::copy(fresh.begin(), fresh.end(),
              bytes.begin() + static_cast<std::ptrdiff_t>(section.entry.start - image_.address));
  }
  return bytes;
}

u64 CountOutside(const FreshImage& image, const ImageBytes& psdt, u64 start, u64 end) {
  const auto within = [&](u64 first, u64 last) {
    return std::max(std::min(last, end), start) - std::max(std::min(first, end), start);
  };
  u64 outside = end - start - within(psdt.address, psdt.end());
  for (const Section& section : image.sections().accepted) outside -= within(section.entry.start, section.end());
  return outside;
}

}  // namespace vok::tool
