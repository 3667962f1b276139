#include "command/many_images.h"

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "base/failure.h"
#include "base/files.h"
#include "base/process.h"
#include "base/progress.h"
#include "base/terminal.h"
#include "command/image_outcome.h"
#include "image/named_image.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

/// A name on each line; what may stand in a line too is in names that a zero byte ends.
std::vector<std::string> SplitNames(const Bytes& text) {
  const u8 separator = std::find(text.begin(), text.end(), u8{0}) == text.end() ? '\n' : '\0';
  std::vector<std::string> names;
  for (auto start = text.begin(); start != text.end();) {
    const auto end = std::find(start, text.end(), separator);
    std::string name(start, end);
    if (separator == '\n' && name.ends_with('\r')) name.pop_back();
    if (!name.empty()) names.push_back(std::move(name));
    start = end == text.end() ? end : end + 1;
  }
  return names;
}

std::vector<std::string> NamesOf(const ManyImages& many) {
  if (many.list.empty()) return many.names;
  std::vector<std::string> names = SplitNames(many.list == "-" ? ReadStandardInput() : ReadFile(many.list));
  if (names.empty()) throw Failure(many.list + " names no image");
  return names;
}

std::string TextOf(const PlacedFile& file) {
  return file.address ? fmt::format("{}@{}", file.path, *file.address) : file.path;
}

std::vector<std::string> ImageOptions(const std::string& name, const ImageArguments& shared) {
  const ImageArguments image = ImageNamed(name, shared);
  if (image.IsDump()) return {"--image=" + image.dump};
  std::vector<std::string> options = {"--codeplug=" + TextOf(image.codeplug)};
  if (shared.psdt.path.empty()) options.push_back("--psdt=" + TextOf(image.psdt));
  return options;
}

/// The folders of images that are unpacked: each has its image's file name, with a number where another has it, too.
class Folders {
 public:
  explicit Folders(std::string parent) : parent_(std::move(parent)) {}

  std::string FolderFor(const std::string& image) {
    const std::string name = fs::path(image).filename().string();
    std::string folder = name;
    for (int number = 2; !taken_.insert(folder).second; ++number) folder = fmt::format("{}.{}", name, number);
    return (fs::path(parent_) / folder).string();
  }

 private:
  std::string parent_;
  std::set<std::string> taken_;
};

/// The command lines of the processes.
class CommandLines {
 public:
  explicit CommandLines(const Options& options) : options_(options), folders_(options.directory) {
    if (options.many.use != ManyUse::kFolders) return;
    std::error_code error;
    fs::create_directories(options.directory, error);
    if (error) throw Failure(fmt::format("cannot make {}: {}", options.directory, error.message()));
  }

  std::vector<std::string> LineFor(const std::string& image) {
    std::vector<std::string> words = options_.many.words;
    std::vector<std::string> operands = options_.many.operands;
    if (options_.many.use == ManyUse::kFolders) operands = {folders_.FolderFor(image)};
    if (options_.many.use == ManyUse::kCompared) {
      operands.push_back(image);
    } else {
      const std::vector<std::string> named = ImageOptions(image, options_.image);
      words.insert(words.end(), named.begin(), named.end());
    }
    words.emplace_back("--");
    words.insert(words.end(), operands.begin(), operands.end());
    return words;
  }

 private:
  const Options& options_;
  Folders folders_;
};

/// How many images came to which end.
class Totals {
 public:
  void Add(int status, bool died) {
    worst_ = std::max(worst_, status);
    ++(died ? died_ : status == kDone ? done_ : failed_);
  }

  int worst() const { return worst_; }
  std::string Text() const {
    std::string text = fmt::format("{} with status 0", done_);
    if (failed_ != 0) text += fmt::format(", {} with another", failed_);
    if (died_ != 0) text += fmt::format(", {} died", died_);
    return text;
  }
  std::string Failures() const { return fmt::format("{} failed", failed_ + died_); }

 private:
  std::size_t done_ = 0;
  std::size_t failed_ = 0;
  std::size_t died_ = 0;
  int worst_ = kDone;
};

/// The images, as many at once as were asked for.
class ManyRuns {
 public:
  explicit ManyRuns(const Options& options)
      : options_(options),
        names_(NamesOf(options.many)),
        lines_(options),
        progress_("images", names_.size(), Progress::Begin::kAtOnce) {}

  int Run() {
    for (std::size_t next = 0; next < names_.size() || processes_.size() != 0;) {
      if (next < names_.size() && processes_.size() < options_.many.jobs) {
        Start(next++);
      } else {
        Tell(processes_.WaitForOne());
      }
    }
    progress_.Erase();
    Warn(fmt::format("{} images: {}", names_.size(), totals_.Text()));
    return totals_.worst();
  }

 private:
  int StatusOfTheDead() const { return options_.many.use == ManyUse::kCompared ? kTrouble : kFailed; }

  void Start(std::size_t number) {
    try {
      processes_.Start(number, lines_.LineFor(names_[number]));
    } catch (const Failure& failure) {
      Tell({.number = number, .status = 0, .death = failure.what(), .output = {}, .errors = {}});
    }
  }

  void Tell(EndedProcess process) {
    const bool died = !process.death.empty();
    if (died) process.status = StatusOfTheDead();
    totals_.Add(process.status, died);
    progress_.Erase();
    PrintOutcome(names_[process.number], process, options_.json);
    progress_.Note(totals_.Failures());
    progress_.Advance();
  }

  const Options& options_;
  std::vector<std::string> names_;
  CommandLines lines_;
  Totals totals_;
  Progress progress_;
  OwnProcesses processes_;
};

}  // namespace

int RunMany(const Options& options) { return ManyRuns(options).Run(); }

}  // namespace vok::tool
