#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "input.h"

/// Runs the inputs in a folder, one after the other.

namespace {

bool RunsWell(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const vok::fuzz::Bytes bytes(std::istreambuf_iterator<char>(file), {});
  try {
    vok::fuzz::FuzzTool(vok::fuzz::Input(bytes.data(), bytes.size()));
    return true;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), error.what());
    return false;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    if (!RunsWell(entry.path())) return 1;
    ++inputs;
  }
  return inputs == 0 ? 1 : 0;
}
