#include <codecvt>
#include <cwchar>
#include <locale>

/// Paths are UTF-8. This compiler's standard library widens a narrow path byte by byte, by the facet that is the base
/// of the one it makes for it; the linker puts this in the place of that facet's conversion (--wrap in CMakeLists.txt),
/// so that every path in the program is widened right, however it came about.

namespace {

using Facet = std::codecvt<wchar_t, char, std::mbstate_t>;

}  // namespace

Facet::result WidenUtf8(const Facet* facet, std::mbstate_t& state, const char* from, const char* from_end,
                        const char*& from_next, wchar_t* to, wchar_t* to_end,
                        wchar_t*& to_next) __asm__("__wrap__ZNKSt7codecvtIwciE5do_inERiPKcS3_RS3_PwS5_RS5_");

Facet::result WidenUtf8(const Facet*, std::mbstate_t& state, const char* from, const char* from_end,
                        const char*& from_next, wchar_t* to, wchar_t* to_end, wchar_t*& to_next) {
  static const std::codecvt_utf8_utf16<wchar_t> utf8;
  return utf8.in(state, from, from_end, from_next, to, to_end, to_next);
}
