#include "building/sample.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "building/room.h"
#include "image/image_arguments.h"
#include "section/psdt_bytes.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

constexpr u32 kBlockSize = 0x20000;
constexpr u16 kReadWrite = 4;
constexpr u16 kReadOnly = 3;
constexpr u16 kCheckRangeId = 0x81;
constexpr psdt::TypeRange kNone = {.id = psdt::kNoRange, .first_type = 0, .last_type = 0};

constexpr u16 kChannel = 10;
constexpr u16 kZone = 11;
constexpr u16 kContact = 12;
constexpr u16 kLog = 1000;
constexpr u16 kTuning = 100;
constexpr u16 kProduct = 300;

constexpr std::array kChannelNames = {"Harbour", "Bridge", "Lock", "Pilot",  "Tug",   "Ferry",    "Crane", "Gate",
                                      "Depot",   "Yard",   "Rail", "Tunnel", "Tower", "Workshop", "Fire",  "Rescue"};
constexpr std::array kContactNames = {"Control room", "Shift leader", "First aid", "Workshop", "Everyone"};

u16 Number(std::size_t index) { return static_cast<u16>(index); }

/// Writes the items of one section, as a device would do it.
class Writer {
 public:
  explicit Writer(const Section& section) : section_(section) {}

  void Put(u16 type, u16 id, const std::string& text) const {
    constexpr u8 kJournalled = 1;
    Require(
        WriteItem(section_.partition(), kJournalled, type, &id, AsBytes(text).data(), static_cast<u32>(text.size())));
  }
  void Rename(u16 type, u16 id, u16 new_id) const {
    constexpr u8 kJournalled = 1;
    Require(RenameItem(section_.partition(), kJournalled, type, &new_id, type, id));
  }
  void Delete(u16 type, u16 id) const { Require(DeleteItem(section_.partition(), type, id)); }
  void Reorganise() const { ReorganiseAsAdvised(section_.name, section_.partition()); }

 private:
  void Require(u16 code) const {
    if (code != code::kOk) throw Failure("cannot make the sample's section " + section_.name, code);
  }

  const Section& section_;
};

std::string ChannelText(std::size_t index, const std::string& note) {
  return fmt::format("Channel {}: {}, {}.{:03} MHz{}", index + 1, kChannelNames[index], 146 + index,
                     (index * 125) % 1000, note);
}

std::string LogText(u16 page, std::size_t lines) {
  std::string text;
  for (std::size_t line = 1; line <= lines; ++line)
    text += fmt::format("page {} line {:04}: {} calls {}, {} s\n", page, line, kChannelNames[line % 16],
                        kContactNames[(line + page) % 5], (line * 7 + page) % 60);
  return text;
}

void FillSettings(const Writer& writer) {
  for (std::size_t i = 0; i < kChannelNames.size(); ++i) writer.Put(kChannel, Number(i), ChannelText(i, ""));
  for (const u16 zone : {u16{0}, u16{1}, u16{2}})
    writer.Put(kZone, zone,
               fmt::format("Zone {}: channels {} to {}", zone + 1, zone * 6 + 1, std::min(zone * 6 + 6, 16)));
  for (std::size_t i = 0; i < kContactNames.size(); ++i)
    writer.Put(kContact, Number(i), fmt::format("Contact {}: {}, call {}", i + 1, kContactNames[i], 100 + i));
}

/// Items big enough to take a second block into use, so that the reorganisation finds a block worth it.
void FillLogs(const Writer& writer) {
  constexpr std::size_t kLines = 900;
  for (const u16 page : {u16{0}, u16{1}, u16{2}, u16{3}, u16{4}}) writer.Put(kLog, page, LogText(page, kLines));
  writer.Put(kLog, 1, LogText(1, kLines / 2));
  writer.Delete(kLog, 0);
  writer.Reorganise();
}

/// Leaves dead copies for reorganise to regain and for a person to look at.
void ChangeSettings(const Writer& writer) {
  for (const std::size_t i : {2U, 5U, 9U}) writer.Put(kChannel, Number(i), ChannelText(i, ", low power"));
  writer.Put(kChannel, 2, ChannelText(2, ", high power, tone 88.5 Hz"));
  writer.Delete(kContact, 3);
  writer.Rename(kZone, 2, 7);
  writer.Put(kLog, 3, "page 3 was cleared\n");
}

void FillTuning(const Writer& writer) {
  for (const u16 band : {u16{0}, u16{1}, u16{2}, u16{3}})
    writer.Put(kTuning, band, fmt::format("Band {}: deviation {}, power {} {} {}", band, 40 + band, 11, 52, 97 + band));
  writer.Put(kTuning, 1, "Band 1: deviation 44, power 12 55 99, tuned again");
}

void FillProduct(const Writer& writer) {
  writer.Put(kProduct, 0, "Product: sample radio");
  writer.Put(kProduct, 1, "Serial number: 000001");
  writer.Put(kProduct, 2, "Made for looking at");
}

}  // namespace

Description SampleDescription() {
  const auto section = [](const std::string& tag, u32 start, u16 kind, u16 blocks, u16 partition, psdt::TypeRange types,
                          psdt::TypeRange more) {
    return psdt::Record{.tag = TagOf(tag),
                        .start = start,
                        .block_size = kBlockSize,
                        .kind = kind,
                        .block_count = blocks,
                        .partition = partition,
                        .ranges = {types, more, kNone, kNone}};
  };
  return {.version = 3,
          .psdt_address = ImageArguments::kDefaultPsdtAddress,
          .sections = {section("CPGA", 0x20000, kReadWrite, 4, 0, {1, 1, 99}, {2, 1000, 1099}),
                       section("TUNA", 0xA0000, kReadWrite, 2, 1, {1, 100, 199}, kNone),
                       section("PDAT", 0xE0000, kReadOnly, 1, 2, {kCheckRangeId, 300, 399}, kNone)}};
}

void FillSample(const FreshImage& image) {
  const Writer settings(FindSection(image.sections(), "CPGA"));
  FillSettings(settings);
  FillLogs(settings);
  ChangeSettings(settings);
  FillTuning(Writer(FindSection(image.sections(), "TUNA")));
  FillProduct(Writer(FindSection(image.sections(), "PDAT")));
}

}  // namespace vok::tool
