#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vok::tool {

struct CloseTemporary {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
/// A file without a name: nothing is left of it once this is gone.
using TemporaryFile = std::unique_ptr<std::FILE, CloseTemporary>;

/// A process at its end.
struct EndedProcess {
  std::size_t number;    ///< as it was started with
  int status;            ///< its exit status, unless it died
  std::string death;     ///< "signal 9 (Killed)"; empty = it gave a status
  TemporaryFile output;  ///< what it wrote to standard output and to standard error; read from the beginning
  TemporaryFile errors;
};

/// Runs of this program beside this one, without input. Memory that one takes is its own, and so is a crash.
class OwnProcesses {
 public:
  OwnProcesses() = default;
  /// Waits for those that are still at work.
  ~OwnProcesses();
  OwnProcesses(const OwnProcesses&) = delete;
  OwnProcesses& operator=(const OwnProcesses&) = delete;

  std::size_t size() const { return running_.size(); }

  /// @param arguments  without the program's name
  /// @throws Failure when it cannot be started
  void Start(std::size_t number, const std::vector<std::string>& arguments);

  /// Waits until one of those that were started ends; there must be one.
  EndedProcess WaitForOne();

 private:
  struct Running {
    std::size_t number;
    TemporaryFile output;
    TemporaryFile errors;
  };

  std::map<int, Running> running_;  ///< by the system's number
};

}  // namespace vok::tool
