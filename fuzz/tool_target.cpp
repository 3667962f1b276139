#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "base/failure.h"
#include "command/command_line.h"
#include "image.h"

namespace vok::fuzz {

namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

/// The input as the files of one command, in a directory that is the process's own. Files keep their place from input
/// to input, since the tool remembers each that it has read.
class Files {
 public:
  Files() : directory_(fs::temp_directory_path() / ("vok_fuzz_" + std::to_string(getpid()))) {
    fs::create_directories(directory_ / "dir");
  }
  ~Files() { fs::remove_all(directory_); }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;

  std::string Path(const std::string& name) const { return (directory_ / name).string(); }
  std::string Write(const std::string& name, const Bytes& bytes) const {
    std::ofstream(Path(name), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return Path(name);
  }
  /// What a command made.
  void RemoveOutput() const { fs::remove_all(Path("out")); }

 private:
  fs::path directory_;
};

void RequireStatus(int status) { Require(status >= 0 && status <= 2, "no exit status"); }

tool::Invocation Parse(const Words& words) {
  std::vector<const char*> arguments = {"vok"};
  for (const std::string& word : words) arguments.push_back(word.c_str());
  tool::Invocation invocation = tool::ParseCommandLine(static_cast<int>(arguments.size()), arguments.data());
  if (invocation.command == nullptr) RequireStatus(invocation.status);
  return invocation;
}

/// A Failure is an answer, of one line; no other exception is one.
void Run(const Words& words) {
  const tool::Invocation invocation = Parse(words);
  Require(invocation.command != nullptr, "a command line that is wrong");
  try {
    RequireStatus(invocation.command(invocation.options));
  } catch (const tool::Failure& failure) {
    const std::string line = tool::FailureLine(failure.what(), failure.code());
    Require(line.find('\n') == line.size() - 1, "a failure of several lines");
  }
}

/// One section for types 1 to 65533.
Bytes PsdtFor(const Geometry& form) {
  Bytes psdt(192, 0);
  const auto put = [&psdt](std::size_t at, std::uint32_t value, int width) {
    for (int i = width; i-- > 0; value >>= 8) psdt[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value);
  };
  put(0, 0x50484452, 4);
  put(4, 1, 4);
  put(96, 0x43504741, 4);
  put(100, static_cast<std::uint32_t>(form.base), 4);
  put(104, form.block_size, 4);
  put(132, form.version == 1 ? 3 : 4, 2);
  put(134, form.blocks, 2);
  put(166, 1, 2);
  put(168, 1, 2);
  put(170, 0xFFFD, 2);
  for (const std::size_t range : {172u, 178u, 184u}) put(range, 255, 2);
  return psdt;
}

Geometry SectionOf(std::uint8_t version) {
  Geometry form;
  form.version = version % 3u + 1;
  form.block_size = form.erase_size();
  return form;
}

/// Names the image in which the input fills the section.
Words DamagedImage(Input& input, const Files& files) {
  const Geometry form = SectionOf(input.Byte());
  World world;
  world.Begin(form);
  FillPartition(world, input);
  return {"--psdt", files.Write("psdt", PsdtFor(form)), "--codeplug",
          files.Write("codeplug", world.Read(form.base, form.end())) + "@0x40000"};
}

void OnDamagedImage(Input& input, const Files& files) {
  const std::string out = files.Path("out");
  const std::string item = files.Write("item", {1, 2, 3});
  const std::vector<Words> commands = {{"check", "--json"},
                                       {"list", "--long", "--json"},
                                       {"info", "--blocks", "--json"},
                                       {"map", "--svg", out},
                                       {"map", "--html", out},
                                       {"history", "5", "1", "--json"},
                                       {"explain", "0x40020"},
                                       {"explain", "0x4FFFE", "--json"},
                                       {"find", "0x00"},
                                       {"read", "5"},
                                       {"unpack", out},
                                       {"repair", "-o", out, "--accept-loss"},
                                       {"repair", "--rebuild", "-o", out, "--accept-loss", "--json"},
                                       {"reorganise", "-o", out, "--accept-loss"},
                                       {"write", "5", "1", item, "-o", out, "--accept-loss"},
                                       {"delete", "5", "1", "-o", out, "--accept-loss"},
                                       {"rename", "5", "1", "6", "1", "-o", out, "--accept-loss"}};
  const Words& command = commands[input.Byte() % commands.size()];
  Words words = DamagedImage(input, files);
  words.insert(words.end(), command.begin(), command.end());
  Run(words);
}

void OnFolder(const Bytes& manifest, const Files& files) {
  const Geometry form = SectionOf(0);
  const std::string psdt = files.Write("dir/psdt.bin", PsdtFor(form));
  files.Write("dir/manifest.json", manifest);
  files.Write("dir/1-1.bin", {1, 2, 3});
  Run({"pack", files.Path("dir"), "-o", files.Path("out")});
  const std::string codeplug = files.Write("codeplug", {0xFF}) + "@0x40000";
  Run({"--psdt", psdt, "--codeplug", codeplug, "apply", files.Path("dir"), "--delete", "--dry-run"});
}

/// A word a line.
void OnCommandLine(const Bytes& text) {
  Words words(1);
  for (const std::uint8_t byte : text) {
    if (byte == '\n')
      words.emplace_back();
    else if (byte != 0)
      words.back().push_back(static_cast<char>(byte));
  }
  Parse(words);
}

}  // namespace

/// The tool: a description, a manifest, a command line, or a command on a damaged image.
void FuzzTool(Input input) {
  static const Files files;
  files.RemoveOutput();
  const std::uint8_t kind = input.Byte() % 4;
  if (kind == 3) return OnDamagedImage(input, files);
  const Bytes text = input.Take(1 << 16);
  if (kind == 2) return OnCommandLine(text);
  if (kind == 1) return OnFolder(text, files);
  Run({"new", files.Write("description", text), "-o", files.Path("out")});
}

}  // namespace vok::fuzz
