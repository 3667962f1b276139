#include "image/image.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "base/terminal.h"
#include "flash/image.h"
#include "image/placing.h"
#include "image/store_version.h"
#include "section/mended_psdt.h"
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

LoadedImage::LoadedImage(const ImageArguments& arguments, Care care) : care_(care), is_dump_(arguments.IsDump()) {
  if (is_dump_) {
    LoadDump(arguments);
  } else {
    LoadPair(arguments);
  }
  SettleVersion(arguments.store_version);
  SetUp();
  if (care_ == Care::kStrict) RequirePsdtApart();
  const std::string overlap = FindOverlap(sections_);
  if (!overlap.empty()) AddTrouble(overlap);
}

LoadedImage::~LoadedImage() { ForgetLoadedRanges(); }

void LoadedImage::SetUp() {
  worker_.SetBlockVOKVersion(static_cast<u32>(contents_.address), version_);
  LoadContents();
  const bool is_mended = !mended_.empty();
  SetLoadedRanges({.file = {.start = contents_.address, .end = is_mended ? u64{kFlashSize} : contents_.end()},
                   .psdt = {.start = psdt_.address, .end = psdt_.address + PsdtLength()}});
  sections_ = SetUpSections();
  holdings_ = ImageHoldings(sections_);
}

Losses LoadedImage::MendPsdt() {
  Losses changes;
  if (sections_.setup_code == code::kOk && troubles_.empty() && !holdings_.HasItemsOutside(sections_)) return changes;
  for (const Section& section : sections_.passed_over)
    if (section.presence == Presence::kOutsideFile) changes.push_back(AbsenceOf(section));
  std::vector<psdt::Record> records;
  for (const MendedRecord& mended : MendRecords()) {
    records.push_back(mended.record);
    if (!mended.change.empty())
      changes.push_back({.section = NameOfTag(mended.record.tag),
                         .block = {},
                         .items = {},
                         .why = "the PSDT is wrong; shown as its blocks say: " + mended.change,
                         .remedy = "none: vok unpack --rebuilt DIR writes such a PSDT, which a person must look at",
                         .outside = true});
  }
  if (records.empty()) return changes;
  mended_ = PsdtBytes(records, 0);
  LoadPsdt(worker_, {.path = psdt_.path, .bytes = mended_, .address = psdt_.address});
  SetUp();
  return changes;
}

/// A wrong magic or count keeps a command that only looks from nothing: the records may be right all the same.
void LoadedImage::LoadGivenPsdt() {
  try {
    LoadPsdt(worker_, psdt_);
  } catch (const Failure& failure) {
    if (care_ == Care::kStrict || !InFlash(psdt_.address, psdt_.bytes.size()) ||
        MostFrequent(CountVersionsAnywhere(contents_)) == 0)
      throw;
    ImageBytes loadable = psdt_;
    loadable.bytes = AsPsdt(psdt_.bytes);
    LoadPsdt(worker_, loadable);
    AddTrouble(failure.what());
  }
}

void LoadedImage::AddTrouble(const std::string& why) {
  troubles_.push_back({.section = "PSDT",
                       .block = {},
                       .items = {},
                       .why = why,
                       .remedy = "none: vok unpack --rebuilt DIR writes another PSDT, which a person must look at",
                       .outside = true});
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
  LoadGivenPsdt();
}

void LoadedImage::LoadPair(const ImageArguments& arguments) {
  psdt_ = {.path = arguments.psdt.path,
           .bytes = ReadFile(arguments.psdt.path),
           .address = arguments.psdt.address.value_or(ImageArguments::kDefaultPsdtAddress)};
  contents_ = {.path = arguments.codeplug.path, .bytes = ReadFile(arguments.codeplug.path)};
  LoadGivenPsdt();
  if (arguments.codeplug.address) {
    contents_.address = *arguments.codeplug.address;
  } else {
    PlaceCodeplug(contents_, arguments.store_version, {.start = psdt_.address, .end = psdt_.end()});
  }
  RequireInFlash(contents_, "codeplug");
  RequireApart(psdt_.address, psdt_.end(), "codeplug " + contents_.path, contents_.address, contents_.end());
}

u32 PsdtLength() { return psdt::kRecordSize * (psdt::RecordCount() + 1U); }

void LoadPsdt(VokWorker& worker, const ImageBytes& psdt) {
  ForgetLoadedRanges();
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
}

void LoadedImage::LoadContents() {
  Say(fmt::format("{} lies at {} to {}", contents_.path, HexAddress(contents_.address), HexAddress(contents_.end())));
  ForBytesOutside(psdt_, contents_.address, contents_.end(), [this](u64 start, u64 end) {
    u16 ignored = 0;
    worker_.GetCodeplugVOKVersion(contents_.bytes.data() + (start - contents_.address), static_cast<u32>(end - start),
                                  static_cast<u32>(start), ignored);
  });
}

void LoadedImage::RequirePsdtApart() const {
  for (const Section& section : sections_.passed_over)
    if (section.presence == Presence::kOverPsdt)
      RequireApart(psdt_.address, psdt_.address + PsdtLength(), "section " + section.name, section.entry.start,
                   section.end());
}

u32 LoadedImage::codeplug_start() const {
  if (!is_dump_ || sections_.accepted.empty()) return static_cast<u32>(contents_.address);
  u32 start = kFlashSize;
  for (const Section& section : sections_.accepted) start = std::min(start, section.entry.start);
  return start;
}

u32 LoadedImage::codeplug_end() const {
  u64 end = is_dump_ && !sections_.accepted.empty() ? codeplug_start() : contents_.end();
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
