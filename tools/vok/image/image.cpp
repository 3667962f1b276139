#include "image/image.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "base/terminal.h"
#include "flash/image.h"
#include "image/store_version.h"
#include "section/psdt_bytes.h"

namespace vok::tool {

namespace {

/// What of @p image lies outside the PSDT's bytes: before and after them.
template <typename Use>
void ForBytesOutside(const ImageBytes& psdt, u64 start, u64 end, Use use) {
  const u64 before = std::min<u64>(end, psdt.address);
  const u64 after = std::max<u64>(start, psdt.end());
  if (start < before) use(start, before);
  if (after < end) use(after, end);
}

/// A change of the one would destroy the other.
void RequireApart(u64 psdt_start, u64 psdt_end, const std::string& what, u64 start, u64 end) {
  if (start >= psdt_end || psdt_start >= end) return;
  throw Failure(fmt::format("the PSDT ({} to {}) overlaps {} ({} to {})", HexAddress(psdt_start), HexAddress(psdt_end),
                            what, HexAddress(start), HexAddress(end)));
}

/// The usual address, unless the PSDT's magic is elsewhere alone.
u64 PsdtAddressIn(const ImageBytes& dump) {
  constexpr u64 kUsual = ImageArguments::kDefaultPsdtAddress;
  constexpr std::size_t kMostNamed = 3;
  if (dump.bytes.size() > kUsual && LooksLikePsdt(std::span(dump.bytes).subspan(kUsual))) return kUsual;
  const std::vector<u64> found = FindPsdts(dump.bytes, kMostNamed);
  if (found.size() > 1)
    throw Failure(fmt::format("{} holds a PSDT at {} and at {}{}; --psdt-address names the one to use", dump.path,
                              HexAddress(found[0]), HexAddress(found[1]), found.size() > 2 ? " and more" : ""));
  if (found.empty()) return kUsual;
  Say(fmt::format("the PSDT of {} lies at {}", dump.path, HexAddress(found.front())));
  return found.front();
}

}  // namespace

LoadedImage::LoadedImage(const ImageArguments& arguments) : is_dump_(arguments.IsDump()) {
  if (is_dump_) {
    LoadDump(arguments);
  } else {
    LoadPair(arguments);
  }
  SettleVersion(arguments.store_version);
  LoadContents();
  sections_ = SetUpSections();
  RequireWholeSections();
  holdings_ = ImageHoldings(sections_);
}

void LoadedImage::LoadDump(const ImageArguments& arguments) {
  const bool is_input = arguments.IsStandardInput();
  contents_ = {.path = is_input ? "standard input" : arguments.dump,
               .bytes = is_input ? ReadStandardInput() : ReadFile(arguments.dump)};
  RequireInFlash(contents_, "dump");
  psdt_ = {.path = contents_.path,
           .bytes = {},
           .address = arguments.psdt_address ? *arguments.psdt_address : PsdtAddressIn(contents_)};
  if (!InFlash(psdt_.address, kPsdtLengthInDump) || !contents_.Covers(psdt_.address, psdt_.address + kPsdtLengthInDump))
    throw Failure(fmt::format("dump {} ends at {}: no PSDT at {}", contents_.path, HexAddress(contents_.end()),
                              HexAddress(psdt_.address)));
  const auto first = contents_.bytes.begin() + static_cast<std::ptrdiff_t>(psdt_.address);
  psdt_.bytes.assign(first, first + kPsdtLengthInDump);
  LoadPsdt(worker_, psdt_);
}

void LoadedImage::LoadPair(const ImageArguments& arguments) {
  psdt_ = {.path = arguments.psdt.path,
           .bytes = ReadFile(arguments.psdt.path),
           .address = arguments.psdt.address.value_or(ImageArguments::kDefaultPsdtAddress)};
  contents_ = {.path = arguments.codeplug.path, .bytes = ReadFile(arguments.codeplug.path)};
  LoadPsdt(worker_, psdt_);
  if (arguments.codeplug.address) {
    contents_.address = *arguments.codeplug.address;
  } else {
    PlaceCodeplug(contents_, arguments.store_version);
  }
  RequireInFlash(contents_, "codeplug");
  RequireApart(psdt_.address, psdt_.end(), "codeplug " + contents_.path, contents_.address, contents_.end());
}

u32 PsdtLength() { return psdt::kRecordSize * (psdt::RecordCount() + 1U); }

void LoadPsdt(VokWorker& worker, const ImageBytes& psdt) {
  RequireInFlash(psdt, "PSDT");
  const u16 code =
      worker.LoadPSDT(psdt.bytes.data(), static_cast<u32>(psdt.bytes.size()), static_cast<u32>(psdt.address));
  if (code == code::kOk) return;
  const std::string what = fmt::format("PSDT {} at {}", psdt.path, HexAddress(psdt.address));
  const Bytes magic = {'P', 'H', 'D', 'R'};
  if (!std::equal(magic.begin(), magic.end(), psdt.bytes.begin(),
                  psdt.bytes.begin() + std::min<std::ptrdiff_t>(4, std::ssize(psdt.bytes))))
    throw Failure(what + " does not begin with the magic PHDR", code);
  throw Failure(fmt::format("{} is too short for its records, or has too many: {} bytes", what, psdt.bytes.size()),
                code);
}

void LoadedImage::SettleVersion(u16 wanted) {
  const VersionCount count = CountVersions(contents_);
  version_ = wanted != 0 ? wanted : MostFrequent(count);
  Say(fmt::format("blocks with store version 1: {}, 2: {}, 3: {}; using {}", count[1], count[2], count[3], version_));
  if (version_ == 0)
    throw Failure(fmt::format("no block of {} carries a store version (--store-version names one)", contents_.path));
  worker_.SetBlockVOKVersion(static_cast<u32>(contents_.address), version_);
}

void LoadedImage::LoadContents() {
  Say(fmt::format("{} lies at {} to {}", contents_.path, HexAddress(contents_.address), HexAddress(contents_.end())));
  ForBytesOutside(psdt_, contents_.address, contents_.end(), [this](u64 start, u64 end) {
    u16 ignored = 0;
    worker_.GetCodeplugVOKVersion(contents_.bytes.data() + (start - contents_.address), static_cast<u32>(end - start),
                                  static_cast<u32>(start), ignored);
  });
}

void LoadedImage::RequireWholeSections() const {
  for (const Section& section : sections_.accepted) {
    RequireApart(psdt_.address, psdt_.address + PsdtLength(), "section " + section.name, section.entry.start,
                 section.end());
    if (contents_.Covers(section.entry.start, section.end())) continue;
    throw Failure(fmt::format("{} holds {} to {}, not the whole of section {} ({} to {})", contents_.path,
                              HexAddress(contents_.address), HexAddress(contents_.end()), section.name,
                              HexAddress(section.entry.start), HexAddress(section.end())));
  }
}

u32 LoadedImage::codeplug_start() const {
  if (!is_dump_) return static_cast<u32>(contents_.address);
  u32 start = kFlashSize;
  for (const Section& section : sections_.accepted) start = std::min(start, section.entry.start);
  return start;
}

u32 LoadedImage::codeplug_end() const {
  u64 end = is_dump_ ? codeplug_start() : contents_.end();
  for (const Section& section : sections_.accepted) end = std::max(end, section.end());
  return static_cast<u32>(end);
}

Bytes LoadedImage::CurrentBytes() const {
  Bytes bytes = contents_.bytes;
  ForBytesOutside(psdt_, contents_.address, contents_.end(), [&](u64 start, u64 end) {
    CopyFromFlash(bytes.data() + (start - contents_.address), start, static_cast<u32>(end - start));
  });
  return bytes;
}

void RequireSetUp(const SectionList& sections) {
  if (sections.setup_code == code::kOk) return;
  const char* const why =
      sections.accepted.empty() ? "none is accepted" : "their partition numbers, block counts or addresses are wrong";
  throw Failure(fmt::format("the PSDT's sections cannot be set up: {}", why), sections.setup_code);
}

}  // namespace vok::tool
