#include "base/terminal.h"

#include <cstdio>

#include "base/platform.h"

namespace vok::tool {

namespace {
bool verbose = false;
std::FILE* text_output = nullptr;  ///< null = standard output
}  // namespace

void Print(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), text_output != nullptr ? text_output : stdout);
}

void PrintAside() { text_output = stderr; }

void PrintBytes(std::span<const u8> bytes) {
  if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}

bool Confirm(const std::string& question) {
  if (!platform::InputIsTerminal()) return false;
  std::fputs((question + " [y/N] ").c_str(), stderr);
  const int first = std::getchar();
  for (int next = first; next != '\n' && next != EOF;) next = std::getchar();
  return first == 'y' || first == 'Y';
}

void Warn(const std::string& line) { std::fputs(("vok: " + line + '\n').c_str(), stderr); }

void BeVerbose() { verbose = true; }

void Say(const std::string& line) {
  if (verbose) Warn(line);
}

}  // namespace vok::tool
