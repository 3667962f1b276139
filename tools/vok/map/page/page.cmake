# Makes the page of the map, with its style and script in it, into a source file of the tool.
set(VOK_PAGE_DIR ${CMAKE_CURRENT_LIST_DIR})
set(VOK_PAGE_STYLES theme.css frame.css panes.css)
# In this order: what a file uses while it loads stands in one before it.
set(VOK_PAGE_SCRIPTS model.js format.js lists.js findings.js choice.js blocks.js overview.js slots.js strip.js hex.js
                     detail.js query.js find_bytes.js search.js keyboard.js theme.js start.js)
set(VOK_PAGE_FILES map_page.html ${VOK_PAGE_STYLES} ${VOK_PAGE_SCRIPTS} embed.cmake)
list(TRANSFORM VOK_PAGE_FILES PREPEND ${VOK_PAGE_DIR}/)

set(VOK_PAGE_SOURCE ${CMAKE_CURRENT_BINARY_DIR}/page_template.cpp)
add_custom_command(
  OUTPUT ${VOK_PAGE_SOURCE}
  COMMAND ${CMAKE_COMMAND} -D "STYLES=${VOK_PAGE_STYLES}" -D "SCRIPTS=${VOK_PAGE_SCRIPTS}" -D DIR=${VOK_PAGE_DIR}
          -D OUTPUT=${VOK_PAGE_SOURCE} -P ${VOK_PAGE_DIR}/embed.cmake
  DEPENDS ${VOK_PAGE_FILES}
  VERBATIM)
target_sources(vok_tool PRIVATE ${VOK_PAGE_SOURCE})
target_include_directories(vok_tool PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
