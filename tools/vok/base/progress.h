#pragma once

#include <chrono>
#include <string>

namespace vok::tool {

/// Shows on standard error how far a job is, if that is a terminal: one line, which is gone in the end.
class Progress {
 public:
  enum class Begin {
    kAtOnce,
    kOnceItLasts,  ///< after a second, so that quick jobs show nothing
  };

  /// @param doing  what is being done: "reading items"
  /// @param total  steps to the end; 0 = nobody knows
  Progress(std::string doing, std::size_t total, Begin begin = Begin::kOnceItLasts);
  ~Progress() { Erase(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// One step is done.
  void Advance();
  /// What goes on with the line from now on.
  void Note(std::string note) { note_ = std::move(note); }
  /// Makes room for other output; the next step draws the line again.
  void Erase();

 private:
  using Clock = std::chrono::steady_clock;

  void Draw();
  std::string Line() const;

  std::string doing_;
  std::string note_;
  std::size_t total_;
  std::size_t done_ = 0;
  bool on_terminal_;
  bool drawn_ = false;
  Clock::time_point next_;  ///< when the line is to be drawn again
};

}  // namespace vok::tool
