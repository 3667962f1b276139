#include "map/map_page.h"

#include "map/page_data.h"
#include "map/page_template.h"

namespace vok::tool {

namespace {

/// The template in the order in which it is written out, a mark between its parts.
class TemplateReader {
 public:
  std::string_view UpTo(std::string_view mark) {
    const std::size_t end = rest_.find(mark);
    const std::string_view part = rest_.substr(0, end);
    rest_.remove_prefix(part.size() + mark.size());
    return part;
  }
  std::string_view Rest() const { return rest_; }

 private:
  std::string_view rest_ = PageTemplate();
};

/// Enough for the page of an image without erased bytes: base64 takes four characters for three bytes.
std::size_t RoomFor(const ImageView& view) {
  std::size_t bytes = 0;
  for (const SectionView& section : view.sections)
    for (const BlockView& block : section.blocks) bytes += block.size + std::size_t{block.slot_count} * 13;
  return PageTemplate().size() + bytes / 3 * 4 + bytes / 64;
}

}  // namespace

std::string MapPage(const ImageView& view, const std::string& image_name) {
  TemplateReader reader;
  std::string page;
  page.reserve(RoomFor(view));
  page += reader.UpTo("@DATA@");
  page += PageFigures(view, image_name);
  page += reader.UpTo("@BLOCKS@");
  for (const SectionView& section : view.sections)
    for (const BlockView& block : section.blocks) {
      page += "<script class=\"block\" type=\"text/plain\">";
      AppendPageBlock(section, block, page);
      page += "</script>\n";
    }
  page += reader.Rest();
  return page;
}

}  // namespace vok::tool
