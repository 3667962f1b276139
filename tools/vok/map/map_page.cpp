#include "map/map_page.h"

#include "answer/view_json.h"
#include "map/page_template.h"

namespace vok::tool {

std::string MapPage(const ImageView& view, const std::string& image_name) {
  constexpr std::string_view kDataMark = "@DATA@";
  std::string page(PageTemplate());
  return page.replace(page.find(kDataMark), kDataMark.size(), PageJson(view, image_name));
}

}  // namespace vok::tool
