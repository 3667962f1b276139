#include <fcntl.h>
#include <fmt/core.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/failure.h"
#include "base/process.h"

namespace vok::tool {

namespace {

constexpr const char* kThisProgram = "/proc/self/exe";

[[noreturn]] void ThrowNotStarted(int error) {
  throw Failure(fmt::format("cannot start a process: {}", std::strerror(error)));
}

/// Not inherited by the processes that are started later.
TemporaryFile MakeTemporaryFile() {
  TemporaryFile file(std::tmpfile());
  if (file == nullptr) ThrowNotStarted(errno);
  ::fcntl(::fileno(file.get()), F_SETFD, FD_CLOEXEC);
  return file;
}

/// What a process finds in place of this one's standard streams.
class Streams {
 public:
  Streams(std::FILE* output, std::FILE* errors) {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions_, ::fileno(output), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions_, ::fileno(errors), STDERR_FILENO);
  }
  ~Streams() { ::posix_spawn_file_actions_destroy(&actions_); }
  Streams(const Streams&) = delete;
  Streams& operator=(const Streams&) = delete;

  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

pid_t Spawn(std::vector<std::string> words, const Streams& streams) {
  words.insert(words.begin(), "vok");
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  pid_t process = 0;
  const int error = ::posix_spawn(&process, kThisProgram, streams.get(), nullptr, pointers.data(), environ);
  if (error != 0) ThrowNotStarted(error);
  return process;
}

std::string DeathOf(int status) {
  if (!WIFSIGNALED(status)) return "";
  return fmt::format("signal {} ({})", WTERMSIG(status), ::strsignal(WTERMSIG(status)));
}

}  // namespace

OwnProcesses::~OwnProcesses() {
  for (const auto& [process, running] : running_) ::waitpid(process, nullptr, 0);
}

void OwnProcesses::Start(std::size_t number, const std::vector<std::string>& arguments) {
  Running running{.number = number, .output = MakeTemporaryFile(), .errors = MakeTemporaryFile()};
  const Streams streams(running.output.get(), running.errors.get());
  running_.emplace(Spawn(arguments, streams), std::move(running));
}

EndedProcess OwnProcesses::WaitForOne() {
  int status = 0;
  pid_t process = -1;
  do process = ::waitpid(-1, &status, 0);
  while (!running_.contains(process));
  Running ended = std::move(running_.extract(process).mapped());
  std::rewind(ended.output.get());
  std::rewind(ended.errors.get());
  return {.number = ended.number,
          .status = WEXITSTATUS(status),
          .death = DeathOf(status),
          .output = std::move(ended.output),
          .errors = std::move(ended.errors)};
}

}  // namespace vok::tool
