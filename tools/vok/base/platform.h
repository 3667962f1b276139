#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include "flash/types.h"

/// What the tool needs of the operating system beyond the standard library: the only place that calls it. An error is
/// the system's own, and empty where the call succeeded.

namespace vok::tool::platform {

/// Before anything else: makes the standard streams take bytes as they are, and the terminal UTF-8 and colours.
/// @return the words of the command line, in UTF-8
std::vector<std::string> SetUpProgram(int argc, const char* const* argv);

/// What all names of one file have in common: links, and its name in other letters where the disk takes them alike.
struct FileId {
  u64 volume = 0;
  u64 number = 0;

  bool operator==(const FileId&) const = default;
  bool operator<(const FileId& other) const {
    return volume != other.volume ? volume < other.volume : number < other.number;
  }
};

/// A file at one moment: whoever writes or replaces it changes one of these.
struct FileStamp {
  FileId id;
  u64 size = 0;
  std::int64_t changed = 0;

  bool operator==(const FileStamp&) const = default;
};

/// Links are followed. Nothing where no file lies.
std::optional<FileStamp> StampOf(const std::filesystem::path& path);

enum class LockKind {
  kShared,     ///< against those who lock it exclusively
  kExclusive,  ///< against everybody who locks it
};
enum class WhenLocked { kGiveUp, kWait };

/// An open file or directory. Its end closes it, which also gives its lock back; so does the end of the program,
/// whatever ends it.
class File {
 public:
  static File OpenToRead(const std::filesystem::path& path, std::error_code& error);
  /// What is there already: a pipe or a device, that is.
  static File OpenToWrite(const std::filesystem::path& path, std::error_code& error);
  /// A file that is not there yet.
  static File Create(const std::filesystem::path& path, std::error_code& error);
  /// A file, or a directory, that may be there already; never what a link names.
  static File OpenOrCreate(const std::filesystem::path& path, std::error_code& error);
  static File OpenOrCreateDirectory(const std::filesystem::path& path, std::error_code& error);

  File() = default;
  File(File&& other) noexcept;
  File& operator=(File&& other) noexcept;
  ~File() { Close(); }
  void Close();

  FileStamp Stamp() const;
  bool IsRegular() const;
  /// @return how much came; 0 = the end, or an error
  std::size_t Read(std::span<u8> bytes, std::error_code& error) const;
  std::error_code Write(std::span<const u8> bytes) const;
  std::error_code Empty() const;
  /// Waits until the bytes are on the disk.
  std::error_code Flush() const;
  /// Gives it the permissions and, as far as the system lets it, the owner of @p other.
  std::error_code BecomeLike(const std::filesystem::path& other) const;

  /// @return false when it is locked by another; true without a lock where the disk knows none
  bool Lock(LockKind kind, WhenLocked when_locked, std::error_code& error) const;

 private:
  static constexpr std::intptr_t kNone = -1;
  explicit File(std::intptr_t handle) : handle_(handle) {}
  static File Checked(std::intptr_t handle, std::error_code& error);

  std::intptr_t handle_ = kNone;
};

/// Whether the file may be written to: neither its permissions nor its disk keep it from that.
bool IsWritable(const std::filesystem::path& path);

/// Renames a file that is complete, on the disk too. @p to must not exist (MoveNew), or is replaced (MoveOver).
std::error_code MoveNew(const std::filesystem::path& from, const std::filesystem::path& to);
std::error_code MoveOver(const std::filesystem::path& from, const std::filesystem::path& to);

/// Gives two directories each other's names, at once where the disk can do that.
std::error_code Exchange(const std::filesystem::path& a, const std::filesystem::path& b);

/// From here on, a request to end (an interrupt, a termination, the end of the terminal) calls @p clean_up before the
/// program ends, on a thread of its own while the others go on; it does not return from that. A reader of the output
/// that goes away, or a limit for the size of files, is no end but an error of the write.
void CleanUpBeforeEnd(void (*clean_up)());

bool InputIsTerminal();
bool OutputIsTerminal();
bool ErrorsAreTerminal();
/// In characters; nothing when the output is no terminal or does not say.
std::optional<std::size_t> TerminalWidth();

}  // namespace vok::tool::platform
