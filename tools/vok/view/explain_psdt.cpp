#include "view/explain_psdt.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>

#include "flash/image.h"

namespace vok::tool {

namespace {

struct Field {
  u32 offset;
  u32 width;
  const char* name;
};

constexpr u32 kWordsEnd = psdt::kHeaderWords * sizeof(u32);
constexpr u32 kHalfWordsEnd = psdt::kFirstHalfWordOffset + psdt::kRecordHalfWords * sizeof(u16);

constexpr std::array kHeaderFields = {Field{0, 4, "magic"}, Field{4, 2, "not interpreted"},
                                      Field{6, 2, "record count"}};

constexpr std::array kRecordFields = {Field{0, 4, "section tag"},
                                      Field{4, 4, "start address"},
                                      Field{8, 4, "block size"},
                                      Field{36, 2, "section kind"},
                                      Field{38, 2, "block count"},
                                      Field{68, 2, "partition number"},
                                      Field{70, 2, "primary range ID"},
                                      Field{72, 2, "first type"},
                                      Field{74, 2, "last type"},
                                      Field{76, 2, "extra range 1 ID (255 = none)"},
                                      Field{78, 2, "extra range 1 first type"},
                                      Field{80, 2, "extra range 1 last type"},
                                      Field{82, 2, "extra range 2 ID (255 = none)"},
                                      Field{84, 2, "extra range 2 first type"},
                                      Field{86, 2, "extra range 2 last type"},
                                      Field{88, 2, "extra range 3 ID (255 = none)"},
                                      Field{90, 2, "extra range 3 first type"},
                                      Field{92, 2, "extra range 3 last type"}};

/// A field that nothing interprets: a word in the part that is converted by words, a byte where nothing is converted.
Field OtherField(u32 offset, u32 words_end, u32 half_words_end) {
  constexpr const char* kName = "not interpreted";
  if (offset < words_end) return {.offset = offset & ~3u, .width = sizeof(u32), .name = kName};
  if (offset < half_words_end) return {.offset = offset & ~1u, .width = sizeof(u16), .name = kName};
  return {.offset = offset, .width = 1, .name = kName};
}

template <std::size_t kCount>
Field FieldAt(const std::array<Field, kCount>& fields, u32 offset, u32 half_words_end) {
  for (const Field& field : fields)
    if (offset >= field.offset && offset < field.offset + field.width) return field;
  return OtherField(offset, kWordsEnd, half_words_end);
}

/// The big-endian value of a field in the file.
u32 ValueOf(const Bytes& bytes, std::size_t offset, u32 width) {
  u32 value = 0;
  for (std::size_t i = offset; i < std::min<std::size_t>(offset + width, bytes.size()); ++i)
    value = value << 8 | bytes[i];
  return value;
}

void AddField(const LoadedImage& image, u64 start, const Field& field, Explanation& explanation) {
  const ImageBytes& psdt = image.psdt();
  explanation.Add("field",
                  fmt::format("{}, {} at offset {}", field.name,
                              AddressRange(start + field.offset, start + field.offset + field.width), field.offset));
  const u32 value = ValueOf(psdt.bytes, start + field.offset - psdt.address, field.width);
  explanation.Add("value", WordText(value, field.width));
}

void ExplainHeader(const LoadedImage& image, Explanation& explanation) {
  const u64 start = image.psdt().address;
  const Field field = FieldAt(kHeaderFields, static_cast<u32>(explanation.address - start), kWordsEnd);
  explanation.place = "psdt header";
  explanation.title = fmt::format("{} in the PSDT header", field.name);
  AddField(image, start, field, explanation);
  explanation.next = "start-up takes the record count from the header and reads so many records";
}

const Section& SectionOfRecord(const SectionList& sections, u16 index) {
  const auto is_it = [index](const Section& section) { return section.record == index; };
  const auto accepted = std::find_if(sections.accepted.begin(), sections.accepted.end(), is_it);
  return accepted != sections.accepted.end()
             ? *accepted
             : *std::find_if(sections.passed_over.begin(), sections.passed_over.end(), is_it);
}

void ExplainRecord(const LoadedImage& image, u16 index, Explanation& explanation) {
  const u64 start = psdt::RecordAddress(index);
  const Section& section = SectionOfRecord(image.sections(), index);
  const Field field = FieldAt(kRecordFields, static_cast<u32>(explanation.address - start), kHalfWordsEnd);
  explanation.place = "psdt record";
  explanation.title = fmt::format("{} in the PSDT record of section {}", field.name, section.name);
  explanation.Add("record", fmt::format("{} of {}, {}", index, psdt::RecordCount(),
                                        AddressRange(start, start + psdt::kRecordSize)));
  AddField(image, start, field, explanation);
  explanation.Add("section",
                  fmt::format("{} at {}, {} blocks of {} bytes", section.name, HexAddress(section.entry.start),
                              section.entry.block_count, section.entry.block_size));
  explanation.next = section.IsAccepted()
                         ? fmt::format("start-up makes partition {} of the section", section.entry.partition)
                         : "start-up passes the record over: " + ReasonOf(section);
}

}  // namespace

void ExplainPsdt(const LoadedImage& image, Explanation& explanation) {
  const u64 offset = explanation.address - image.psdt().address;
  explanation.byte = image.psdt().bytes[offset];
  if (offset < psdt::kRecordSize) return ExplainHeader(image, explanation);
  const u64 record = offset / psdt::kRecordSize - 1;
  if (record < psdt::RecordCount()) return ExplainRecord(image, static_cast<u16>(record), explanation);
  explanation.place = "psdt rest";
  explanation.title = "after the last record of the PSDT";
  explanation.next = "nothing: no one reads it";
}

}  // namespace vok::tool
