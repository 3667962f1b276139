#include "image/store_version.h"

#include <algorithm>

#include "flash/image.h"
#include "store/volume/layout.h"
#include "worker/psdt.h"

namespace vok::tool {

namespace {

/// Blocks of any version begin at a multiple of this from where the image does.
constexpr u64 kSmallestErase = 0x10000;

void CountBlock(const ImageBytes& image, u64 base, VersionCount& count) {
  if (!image.Covers(base, base + block_header::kSize)) return;
  const u8* const header = image.bytes.data() + (base - image.address);
  if (BigEndian32(header + block_header::kSignatureOffset) != block_header::kSignature) return;
  const u32 version = BigEndian32(header + block_header::kFormatVersionOffset);
  if (version != 0 && version <= kHighestVersion) ++count[version];
}

}  // namespace

VersionCount CountVersions(const ImageBytes& image) {
  VersionCount count{};
  for (u16 i = 0; i < psdt::RecordCount(); ++i) {
    const psdt::Record record = psdt::ReadRecord(i);
    for (u32 block = 0; block < record.block_count; ++block)
      CountBlock(image, record.start + u64{record.block_size} * block, count);
  }
  return MostFrequent(count) != 0 ? count : CountVersionsAnywhere(image);
}

VersionCount CountVersionsAnywhere(const ImageBytes& image) {
  VersionCount count{};
  for (u64 base = image.address; base < image.end(); base += kSmallestErase) CountBlock(image, base, count);
  return count;
}

u16 MostFrequent(const VersionCount& count) {
  return static_cast<u16>(std::max_element(count.begin(), count.end()) - count.begin());
}

}  // namespace vok::tool
