#include "terminal.h"

#include <cstdio>

namespace vok::tool {

namespace {
bool verbose = false;
}

void Print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void PrintBytes(std::span<const u8> bytes) { std::fwrite(bytes.data(), 1, bytes.size(), stdout); }

void BeVerbose() { verbose = true; }

void Say(const std::string& line) {
  if (verbose) std::fputs(("vok: " + line + '\n').c_str(), stderr);
}

}  // namespace vok::tool
