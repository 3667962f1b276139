#include "base/progress.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdio>

#include "base/platform.h"

namespace vok::tool {

namespace {

constexpr std::chrono::seconds kQuick{1};
constexpr std::chrono::milliseconds kBetweenTwo{100};
constexpr std::size_t kBarWidth = 24;
constexpr std::size_t kLongestLine = 79;

std::string Bar(std::size_t done, std::size_t total) {
  const std::size_t full = std::min(done, total) * kBarWidth / total;
  return '[' + std::string(full, '#') + std::string(kBarWidth - full, '.') + ']';
}

}  // namespace

Progress::Progress(std::string doing, std::size_t total, Begin begin)
    : doing_(std::move(doing)), total_(total), on_terminal_(platform::ErrorsAreTerminal()), next_(Clock::now()) {
  if (begin == Begin::kOnceItLasts) {
    next_ += kQuick;
  } else {
    Draw();
  }
}

void Progress::Advance() {
  ++done_;
  if (!on_terminal_ || Clock::now() < next_) return;
  Draw();
  next_ = Clock::now() + kBetweenTwo;
}

void Progress::Draw() {
  if (!on_terminal_) return;
  std::fputs(('\r' + Line() + "\x1b[K").c_str(), stderr);
  drawn_ = true;
}

std::string Progress::Line() const {
  std::string line = total_ == 0 ? fmt::format("{}: {}", doing_, done_)
                                 : fmt::format("{} {} {}/{}", Bar(done_, total_), doing_, done_, total_);
  if (!note_.empty()) line += ", " + note_;
  return line.substr(0, kLongestLine);
}

void Progress::Erase() {
  if (!drawn_) return;
  std::fputs("\r\x1b[K", stderr);
  drawn_ = false;
  next_ = Clock::now();
}

}  // namespace vok::tool
