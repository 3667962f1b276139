#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <thread>
#include <utility>

#include "base/platform.h"

namespace vok::tool::platform {

namespace fs = std::filesystem;

namespace {

constexpr mode_t kEverybody = 0666;
constexpr mode_t kEverybodyEnters = 0777;
constexpr mode_t kPermissions = 07777;

std::error_code LastError() { return {errno, std::system_category()}; }

std::error_code ErrorUnlessZero(int result) { return result == 0 ? std::error_code() : LastError(); }

int Descriptor(std::intptr_t handle) { return static_cast<int>(handle); }

FileStamp StampFrom(const struct stat& status) {
  constexpr std::int64_t kNanoseconds = 1000000000;
  return {.id = {.volume = status.st_dev, .number = status.st_ino},
          .size = static_cast<u64>(status.st_size),
          .changed = status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec};
}

/// A name is on the disk once its directory is.
std::error_code FlushDirectoryOf(const fs::path& path) {
  const fs::path parent = path.has_parent_path() ? path.parent_path() : fs::path(".");
  const int directory = ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) return {};
  // Some disks cannot do it for directories, and the file is whole in any case.
  static_cast<void>(::fsync(directory));
  ::close(directory);
  return {};
}

/// For disks that cannot exchange names: for a moment there is nothing at @p b.
std::error_code ExchangeByTurns(const fs::path& a, const fs::path& b) {
  const fs::path aside = a.string() + ".old";
  if (::rename(b.c_str(), aside.c_str()) != 0) return LastError();
  if (::rename(a.c_str(), b.c_str()) != 0) {
    const std::error_code error = LastError();
    static_cast<void>(::rename(aside.c_str(), b.c_str()));
    return error;
  }
  return ErrorUnlessZero(::rename(aside.c_str(), a.c_str()));
}

bool IsUnsupported(int error) { return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP; }

/// The requests to end that somebody who started the program has not switched off.
sigset_t RequestsToEnd() {
  sigset_t requests;
  sigemptyset(&requests);
  for (const int request : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    struct sigaction action {};
    if (::sigaction(request, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) sigaddset(&requests, request);
  }
  return requests;
}

/// Ends the program as the request would have ended it.
void EndBy(int request) {
  std::signal(request, SIG_DFL);
  sigset_t one;
  sigemptyset(&one);
  sigaddset(&one, request);
  pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
  std::raise(request);
}

}  // namespace

std::vector<std::string> SetUpProgram(int argc, const char* const* argv) { return {argv, argv + argc}; }

std::optional<FileStamp> StampOf(const fs::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return StampFrom(status);
}

File File::Checked(std::intptr_t handle, std::error_code& error) {
  error = handle < 0 ? LastError() : std::error_code();
  return File(handle < 0 ? kNone : handle);
}

File File::OpenToRead(const fs::path& path, std::error_code& error) {
  return Checked(::open(path.c_str(), O_RDONLY | O_CLOEXEC), error);
}

File File::OpenToWrite(const fs::path& path, std::error_code& error) {
  return Checked(::open(path.c_str(), O_WRONLY | O_CLOEXEC), error);
}

File File::Create(const fs::path& path, std::error_code& error) {
  return Checked(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kEverybody), error);
}

File File::OpenOrCreate(const fs::path& path, std::error_code& error) {
  return Checked(::open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kEverybody), error);
}

File File::OpenOrCreateDirectory(const fs::path& path, std::error_code& error) {
  static_cast<void>(::mkdir(path.c_str(), kEverybodyEnters));
  return Checked(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC), error);
}

File::File(File&& other) noexcept : handle_(std::exchange(other.handle_, kNone)) {}

File& File::operator=(File&& other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

void File::Close() {
  if (handle_ != kNone) ::close(Descriptor(std::exchange(handle_, kNone)));
}

FileStamp File::Stamp() const {
  struct stat status {};
  static_cast<void>(::fstat(Descriptor(handle_), &status));
  return StampFrom(status);
}

bool File::IsRegular() const {
  struct stat status {};
  return ::fstat(Descriptor(handle_), &status) == 0 && S_ISREG(status.st_mode);
}

std::size_t File::Read(std::span<u8> bytes, std::error_code& error) const {
  const ssize_t count = ::read(Descriptor(handle_), bytes.data(), bytes.size());
  error = count < 0 ? LastError() : std::error_code();
  return count < 0 ? 0 : static_cast<std::size_t>(count);
}

std::error_code File::Write(std::span<const u8> bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = ::write(Descriptor(handle_), bytes.data(), bytes.size());
    if (count < 0) return LastError();
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return {};
}

std::error_code File::Empty() const { return ErrorUnlessZero(::ftruncate(Descriptor(handle_), 0)); }

std::error_code File::Flush() const { return ErrorUnlessZero(::fsync(Descriptor(handle_))); }

std::error_code File::BecomeLike(const fs::path& other) const {
  struct stat status {};
  if (::stat(other.c_str(), &status) != 0) return LastError();
  // Only the administrator may give a file away, and nobody else has to. It comes first: it takes permissions away.
  static_cast<void>(::fchown(Descriptor(handle_), status.st_uid, status.st_gid) == 0);
  return ErrorUnlessZero(::fchmod(Descriptor(handle_), status.st_mode & kPermissions));
}

bool File::Lock(LockKind kind, WhenLocked when_locked, std::error_code& error) const {
  const int operation =
      (kind == LockKind::kShared ? LOCK_SH : LOCK_EX) | (when_locked == WhenLocked::kWait ? 0 : LOCK_NB);
  error.clear();
  if (::flock(Descriptor(handle_), operation) == 0) return true;
  if (errno == EWOULDBLOCK) return false;
  if (!IsUnsupported(errno) && errno != ENOLCK) error = LastError();
  return !error;
}

bool IsWritable(const fs::path& path) {
  struct stat status {};
  // The administrator may write to everything; who took the owner's permission away means it all the same.
  return ::stat(path.c_str(), &status) == 0 && (status.st_mode & S_IWUSR) != 0 && ::access(path.c_str(), W_OK) == 0;
}

std::error_code MoveNew(const fs::path& from, const fs::path& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return FlushDirectoryOf(to);
  if (!IsUnsupported(errno)) return LastError();
  if (::link(from.c_str(), to.c_str()) != 0) return LastError();
  static_cast<void>(::unlink(from.c_str()));
  return FlushDirectoryOf(to);
}

std::error_code MoveOver(const fs::path& from, const fs::path& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) return LastError();
  return FlushDirectoryOf(to);
}

std::error_code Exchange(const fs::path& a, const fs::path& b) {
  if (::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0) return FlushDirectoryOf(b);
  if (!IsUnsupported(errno)) return LastError();
  return ExchangeByTurns(a, b);
}

void CleanUpBeforeEnd(void (*clean_up)()) {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  const sigset_t requests = RequestsToEnd();
  // Threads inherit this: a request waits for the one that asks for it.
  pthread_sigmask(SIG_BLOCK, &requests, nullptr);
  std::thread([requests, clean_up] {
    int request = 0;
    if (sigwait(&requests, &request) != 0) return;
    clean_up();
    EndBy(request);
  }).detach();
}

bool InputIsTerminal() { return ::isatty(STDIN_FILENO) == 1; }

bool OutputIsTerminal() { return ::isatty(STDOUT_FILENO) == 1; }

bool ErrorsAreTerminal() { return ::isatty(STDERR_FILENO) == 1; }

std::optional<std::size_t> TerminalWidth() {
  winsize window{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col == 0) return std::nullopt;
  return window.ws_col;
}

}  // namespace vok::tool::platform
