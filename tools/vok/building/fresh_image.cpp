#include "building/fresh_image.h"

#include <algorithm>

#include "building/fresh_section.h"
#include "flash/image.h"
#include "image/image.h"
#include "store/volume/mount.h"
#include "vok/store.h"

namespace vok::tool {

FreshImage::FreshImage(ImageBytes psdt, u16 version, const FlashRange& codeplug)
    : psdt_(std::move(psdt)), version_(version), codeplug_(codeplug) {
  Format();
}

void FreshImage::Format() {
  TerminateStore();
  LoadPsdt(worker_, psdt_);
  SetLoadedRanges({.file = codeplug_, .psdt = {}});
  worker_.SetBlockVOKVersion(0, version_);
  sections_ = SetUpSections();
  RequireSetUp(sections_);
  for (const Section& section : sections_.accepted) RequireApart(section, sections_, psdt_);
  for (const Section& section : sections_.accepted) FormatSection(section);
  // Start-up does not look at the other sections, so that nothing keeps them from lying over one that it accepts.
  for (const Section& section : sections_.passed_over)
    if (std::none_of(sections_.accepted.begin(), sections_.accepted.end(),
                     [&section](const Section& accepted) { return Overlap(accepted, section); }))
      FormatSection(section);
  MountForFilling();
}

void FreshImage::MountForFilling() {
  SetUpForFilling();
  for (Section& section : sections_.accepted) {
    section.mount_code = MountPartition(section.partition(), static_cast<u8>(MountMode::kCheck));
    RequireMounted(section);
  }
}

u64 FreshImage::start() const {
  u64 start = kFlashSize;
  for (const Section& section : sections_.accepted) start = std::min<u64>(start, section.entry.start);
  return start;
}

u64 FreshImage::end() const {
  u64 end = 0;
  for (const Section& section : sections_.accepted) end = std::max(end, section.end());
  return end;
}

Bytes FreshImage::Range(u64 start, u64 end) const {
  Bytes bytes(end - start);
  CopyFromFlash(bytes.data(), start, static_cast<u32>(bytes.size()));
  const u64 first = std::max(start, psdt_.address);
  const u64 last = std::min(end, psdt_.end());
  if (first < last)
    std::copy_n(psdt_.bytes.begin() + static_cast<std::ptrdiff_t>(first - psdt_.address), last - first,
                bytes.begin() + static_cast<std::ptrdiff_t>(first - start));
  return bytes;
}

Bytes FreshImage::Dump(u64 end) const {
  const u64 psdt_end = std::max(psdt_.end(), psdt_.address + kPsdtLengthInDump);
  return Range(0, std::min<u64>(std::max(end, psdt_end), kFlashSize));
}

}  // namespace vok::tool
