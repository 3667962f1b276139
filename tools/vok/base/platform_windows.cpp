#define NOMINMAX
#include <windows.h>
// What needs the types of the one before.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>
#include <utility>

#include "base/platform.h"

/// Windows. Every file is opened so that others may rename and remove it meanwhile, as they may elsewhere; only locks
/// keep others out.

namespace vok::tool::platform {

namespace fs = std::filesystem;

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
/// Directories are opened like files, and links are not followed.
constexpr DWORD kItself = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;

/// A lock keeps others from reading what it covers: this one covers a byte that no file has.
constexpr DWORD kLockOffsetHigh = 0x7FFFFFFF;

void (*end_handler)() = nullptr;

std::error_code LastError() { return {static_cast<int>(::GetLastError()), std::system_category()}; }

std::error_code ErrorUnless(BOOL done) { return done != 0 ? std::error_code() : LastError(); }

HANDLE HandleOf(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }  // NOLINT(performance-no-int-to-ptr)

std::intptr_t Open(const fs::path& path, DWORD access, DWORD creation, DWORD flags) {
  return reinterpret_cast<std::intptr_t>(
      ::CreateFileW(path.c_str(), access, kShareAll, nullptr, creation, flags, nullptr));
}

u64 Join(DWORD high, DWORD low) { return u64{high} << 32 | low; }

FileStamp StampFrom(std::intptr_t handle) {
  BY_HANDLE_FILE_INFORMATION information{};
  if (::GetFileInformationByHandle(HandleOf(handle), &information) == 0) return {};
  const FILETIME& time = information.ftLastWriteTime;
  return {.id = {.volume = information.dwVolumeSerialNumber,
                 .number = Join(information.nFileIndexHigh, information.nFileIndexLow)},
          .size = Join(information.nFileSizeHigh, information.nFileSizeLow),
          .changed = static_cast<std::int64_t>(Join(time.dwHighDateTime, time.dwLowDateTime))};
}

std::error_code Rename(const fs::path& from, const fs::path& to, DWORD flags) {
  return ErrorUnless(::MoveFileExW(from.c_str(), to.c_str(), flags | MOVEFILE_WRITE_THROUGH));
}

/// For names that must be free first: for a moment there is nothing at @p b. What was there gets the name @p aside.
std::error_code MoveAsideAndRename(const fs::path& a, const fs::path& b, const fs::path& aside) {
  if (const std::error_code error = Rename(b, aside, 0)) return error;
  const std::error_code error = Rename(a, b, 0);
  if (error) static_cast<void>(Rename(aside, b, 0));
  return error;
}

fs::path Aside(const fs::path& path) {
  fs::path aside = path;
  return aside += L".old";
}

BOOL WINAPI OnRequestToEnd(DWORD) {
  end_handler();
  return FALSE;  // the system's own answer, the end, comes next
}

bool IsConsole(DWORD which) {
  DWORD mode = 0;
  return ::GetConsoleMode(::GetStdHandle(which), &mode) != 0;
}

void UnderstandColours() {
  const HANDLE screen = ::GetStdHandle(STD_OUTPUT_HANDLE);
  DWORD mode = 0;
  if (::GetConsoleMode(screen, &mode) != 0) ::SetConsoleMode(screen, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

}  // namespace

std::vector<std::string> SetUpProgram(int, const char* const*) {
  for (std::FILE* const stream : {stdin, stdout, stderr}) ::_setmode(::_fileno(stream), _O_BINARY);
  ::SetConsoleCP(CP_UTF8);
  ::SetConsoleOutputCP(CP_UTF8);
  UnderstandColours();
  int count = 0;
  wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  std::vector<std::string> utf8;
  for (int i = 0; i < count; ++i) utf8.push_back(fs::path(words[i]).string());
  ::LocalFree(words);
  return utf8;
}

std::optional<FileStamp> StampOf(const fs::path& path) {
  const std::intptr_t handle = Open(path, 0, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
  if (HandleOf(handle) == INVALID_HANDLE_VALUE) return std::nullopt;
  const FileStamp stamp = StampFrom(handle);
  ::CloseHandle(HandleOf(handle));
  return stamp;
}

File File::Checked(std::intptr_t handle, std::error_code& error) {
  error = handle == kNone ? LastError() : std::error_code();
  return File(handle);
}

File File::OpenToRead(const fs::path& path, std::error_code& error) {
  return Checked(Open(path, GENERIC_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL), error);
}

File File::OpenToWrite(const fs::path& path, std::error_code& error) {
  return Checked(Open(path, GENERIC_WRITE, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL), error);
}

File File::Create(const fs::path& path, std::error_code& error) {
  return Checked(Open(path, GENERIC_WRITE, CREATE_NEW, FILE_ATTRIBUTE_NORMAL), error);
}

File File::OpenOrCreate(const fs::path& path, std::error_code& error) {
  return Checked(Open(path, GENERIC_WRITE, OPEN_ALWAYS, FILE_FLAG_OPEN_REPARSE_POINT), error);
}

File File::OpenOrCreateDirectory(const fs::path& path, std::error_code& error) {
  static_cast<void>(::CreateDirectoryW(path.c_str(), nullptr));
  return Checked(Open(path, GENERIC_READ, OPEN_EXISTING, kItself), error);
}

File::File(File&& other) noexcept : handle_(std::exchange(other.handle_, kNone)) {}

File& File::operator=(File&& other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

void File::Close() {
  if (handle_ != kNone) ::CloseHandle(HandleOf(std::exchange(handle_, kNone)));
}

FileStamp File::Stamp() const { return StampFrom(handle_); }

bool File::IsRegular() const {
  BY_HANDLE_FILE_INFORMATION information{};
  return ::GetFileType(HandleOf(handle_)) == FILE_TYPE_DISK &&
         ::GetFileInformationByHandle(HandleOf(handle_), &information) != 0 &&
         (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::size_t File::Read(std::span<u8> bytes, std::error_code& error) const {
  DWORD count = 0;
  const BOOL done = ::ReadFile(HandleOf(handle_), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
  const bool at_end = done == 0 && ::GetLastError() == ERROR_BROKEN_PIPE;
  error = at_end ? std::error_code() : ErrorUnless(done);
  return count;
}

std::error_code File::Write(std::span<const u8> bytes) const {
  while (!bytes.empty()) {
    DWORD count = 0;
    if (::WriteFile(HandleOf(handle_), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) == 0)
      return LastError();
    bytes = bytes.subspan(count);
  }
  return {};
}

std::error_code File::Empty() const {
  ::SetFilePointer(HandleOf(handle_), 0, nullptr, FILE_BEGIN);
  return ErrorUnless(::SetEndOfFile(HandleOf(handle_)));
}

std::error_code File::Flush() const { return ErrorUnless(::FlushFileBuffers(HandleOf(handle_))); }

/// A new file has the rights of its directory.
std::error_code File::BecomeLike(const fs::path&) const { return {}; }

bool File::Lock(LockKind kind, WhenLocked when_locked, std::error_code& error) const {
  OVERLAPPED place{};
  place.OffsetHigh = kLockOffsetHigh;
  const DWORD flags = (kind == LockKind::kExclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0) |
                      (when_locked == WhenLocked::kGiveUp ? LOCKFILE_FAIL_IMMEDIATELY : 0);
  error.clear();
  if (::LockFileEx(HandleOf(handle_), flags, 0, 1, 0, &place) != 0) return true;
  const DWORD reason = ::GetLastError();
  return reason != ERROR_LOCK_VIOLATION && reason != ERROR_IO_PENDING;
}

bool IsWritable(const fs::path& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_READONLY) != 0) return false;
  std::error_code error;
  const File file = File::OpenToWrite(path, error);
  return !error;
}

std::error_code MoveNew(const fs::path& from, const fs::path& to) { return Rename(from, to, 0); }

/// What is open cannot be replaced, but it can be renamed.
std::error_code MoveOver(const fs::path& from, const fs::path& to) {
  if (!Rename(from, to, MOVEFILE_REPLACE_EXISTING)) return {};
  const fs::path aside = Aside(to);
  if (const std::error_code error = MoveAsideAndRename(from, to, aside)) return error;
  ::DeleteFileW(aside.c_str());
  return {};
}

std::error_code Exchange(const fs::path& a, const fs::path& b) {
  const fs::path aside = Aside(a);
  if (const std::error_code error = MoveAsideAndRename(a, b, aside)) return error;
  return Rename(aside, a, 0);
}

void CleanUpBeforeEnd(void (*clean_up)()) {
  end_handler = clean_up;
  ::SetConsoleCtrlHandler(OnRequestToEnd, TRUE);
}

bool InputIsTerminal() { return IsConsole(STD_INPUT_HANDLE); }

bool OutputIsTerminal() { return IsConsole(STD_OUTPUT_HANDLE); }

bool ErrorsAreTerminal() { return IsConsole(STD_ERROR_HANDLE); }

std::optional<std::size_t> TerminalWidth() {
  CONSOLE_SCREEN_BUFFER_INFO screen{};
  if (::GetConsoleScreenBufferInfo(::GetStdHandle(STD_OUTPUT_HANDLE), &screen) == 0) return std::nullopt;
  return static_cast<std::size_t>(screen.srWindow.Right - screen.srWindow.Left + 1);
}

}  // namespace vok::tool::platform
