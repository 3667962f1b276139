#define NOMINMAX
#include <windows.h>
// What needs the types of the one before.
#include <fcntl.h>
#include <io.h>

#include <fmt/core.h>

#include <array>
#include <filesystem>
#include <system_error>

#include "base/failure.h"
#include "base/process.h"

namespace vok::tool {

namespace {

constexpr DWORD kLongestPath = 0x8000;
/// Exit statuses from here on are the system's: the process died of an exception.
constexpr DWORD kFirstException = 0xC0000000;

[[noreturn]] void ThrowNotStarted() {
  const std::error_code error(static_cast<int>(::GetLastError()), std::system_category());
  throw Failure(fmt::format("cannot start a process: {}", error.message()));
}

HANDLE HandleOf(int number) {
  return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(number));  // NOLINT(performance-no-int-to-ptr)
}

TemporaryFile MakeTemporaryFile() {
  std::array<wchar_t, MAX_PATH + 1> folder{};
  std::array<wchar_t, MAX_PATH + 1> name{};
  ::GetTempPathW(MAX_PATH, folder.data());
  if (::GetTempFileNameW(folder.data(), L"vok", 0, name.data()) == 0) ThrowNotStarted();
  const HANDLE handle = ::CreateFileW(name.data(), GENERIC_READ | GENERIC_WRITE | DELETE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (handle == INVALID_HANDLE_VALUE) ThrowNotStarted();
  return TemporaryFile(::_fdopen(::_open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY), "w+b"));
}

/// A handle that the next process inherits, and no later one.
class Inherited {
 public:
  explicit Inherited(HANDLE handle) {
    const HANDLE self = ::GetCurrentProcess();
    if (::DuplicateHandle(self, handle, self, &copy_, 0, TRUE, DUPLICATE_SAME_ACCESS) == 0) ThrowNotStarted();
  }
  explicit Inherited(std::FILE* file) : Inherited(reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(file)))) {}
  ~Inherited() { ::CloseHandle(copy_); }
  Inherited(const Inherited&) = delete;
  Inherited& operator=(const Inherited&) = delete;

  HANDLE get() const { return copy_; }

 private:
  HANDLE copy_ = nullptr;
};

/// As the started program takes it apart again: a quotation mark, and backslashes before one, have one more before
/// them.
std::wstring Quoted(const std::wstring& word) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : word) {
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, L'\\') + L'"';
}

std::wstring CommandLineOf(const std::vector<std::string>& arguments) {
  std::wstring line = L"vok";
  for (const std::string& word : arguments) line.append(L" ").append(Quoted(std::filesystem::path(word).native()));
  return line;
}

int Spawn(const std::vector<std::string>& arguments, std::FILE* output, std::FILE* errors) {
  std::array<wchar_t, kLongestPath> program{};
  ::GetModuleFileNameW(nullptr, program.data(), kLongestPath);
  const HANDLE nothing = ::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  const Inherited input(nothing);
  ::CloseHandle(nothing);
  const Inherited out(output);
  const Inherited err(errors);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = input.get();
  start.hStdOutput = out.get();
  start.hStdError = err.get();
  PROCESS_INFORMATION process{};
  std::wstring line = CommandLineOf(arguments);
  if (::CreateProcessW(program.data(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process) == 0)
    ThrowNotStarted();
  ::CloseHandle(process.hThread);
  // Handles have 32 significant bits.
  return static_cast<int>(reinterpret_cast<std::intptr_t>(process.hProcess));
}

std::string DeathOf(DWORD status) { return status < kFirstException ? "" : fmt::format("exception 0x{:08X}", status); }

}  // namespace

OwnProcesses::~OwnProcesses() {
  for (const auto& [process, running] : running_) {
    ::WaitForSingleObject(HandleOf(process), INFINITE);
    ::CloseHandle(HandleOf(process));
  }
}

void OwnProcesses::Start(std::size_t number, const std::vector<std::string>& arguments) {
  Running running{.number = number, .output = MakeTemporaryFile(), .errors = MakeTemporaryFile()};
  const int process = Spawn(arguments, running.output.get(), running.errors.get());
  running_.emplace(process, std::move(running));
}

EndedProcess OwnProcesses::WaitForOne() {
  std::vector<HANDLE> handles;
  for (const auto& [process, running] : running_)
    if (handles.size() < MAXIMUM_WAIT_OBJECTS) handles.push_back(HandleOf(process));
  const DWORD which = ::WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, INFINITE);
  const HANDLE process = handles.at(which - WAIT_OBJECT_0);
  DWORD status = 0;
  ::GetExitCodeProcess(process, &status);
  ::CloseHandle(process);
  Running ended = std::move(running_.extract(static_cast<int>(reinterpret_cast<std::intptr_t>(process))).mapped());
  std::rewind(ended.output.get());
  std::rewind(ended.errors.get());
  return {.number = ended.number,
          .status = static_cast<int>(status),
          .death = DeathOf(status),
          .output = std::move(ended.output),
          .errors = std::move(ended.errors)};
}

}  // namespace vok::tool
