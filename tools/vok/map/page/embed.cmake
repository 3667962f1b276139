# Writes OUTPUT, a source file that holds map_page.html of DIR with STYLES and SCRIPTS in the places of their marks.
function(join_files result)
  set(joined "")
  foreach(name IN LISTS ARGN)
    file(READ ${DIR}/${name} text)
    string(APPEND joined "${text}")
  endforeach()
  set(${result} "${joined}" PARENT_SCOPE)
endfunction()

join_files(style ${STYLES})
join_files(script ${SCRIPTS})
file(READ ${DIR}/map_page.html page)
string(REPLACE "@STYLE@" "${style}" page "${page}")
string(REPLACE "@SCRIPT@" "${script}" page "${page}")
file(WRITE ${OUTPUT}.html "${page}")

# As bytes: compilers need not take a string literal of this length.
file(READ ${OUTPUT}.html bytes HEX)
string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
string(REGEX REPLACE "(................................................................................)" "\\1\n" bytes "${bytes}")
file(WRITE ${OUTPUT} "#include \"map/page_template.h\"

namespace vok::tool {

namespace {
constexpr unsigned char kPage[] = {
${bytes}
};
}  // namespace

std::string_view PageTemplate() { return {reinterpret_cast<const char*>(kPage), sizeof kPage}; }

}  // namespace vok::tool
")
