#include "command/image_outcome.h"

#include <array>
#include <string_view>

#include "base/json_text.h"
#include "base/terminal.h"

namespace vok::tool {

namespace {

constexpr std::string_view kOwnName = "vok: ";

/// Gives all that a process wrote to @p use, piece by piece.
template <typename Use>
void ForPieces(std::FILE* file, Use use) {
  std::array<char, 0x10000> piece{};
  while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), file))
    use(std::string_view(piece.data(), count));
}

/// The lines of standard error, without the program's name.
std::vector<std::string> MessagesOf(const EndedProcess& process) {
  std::vector<std::string> messages;
  if (process.errors == nullptr) return messages;
  std::string text;
  ForPieces(process.errors.get(), [&text](std::string_view piece) { text += piece; });
  while (!text.empty()) {
    std::string line = text.substr(0, text.find('\n'));
    text.erase(0, line.size() + 1);
    messages.push_back(line.starts_with(kOwnName) ? line.substr(kOwnName.size()) : line);
  }
  return messages;
}

/// Whether there is an answer, which then lacks only its first character. A dead process may have written half of one.
bool HasAnswer(const EndedProcess& process) { return process.death.empty() && std::fgetc(process.output.get()) == '{'; }

/// Takes what JsonText() writes to one line: the line's ends and the indentation behind them, which are in no text of
/// its own.
class OneLine {
 public:
  void Print(std::string_view piece) {
    std::string joined;
    for (const char c : piece) {
      indents_ = c == '\n' || (indents_ && c == ' ');
      if (!indents_) joined += c;
    }
    tool::Print(joined);
  }

 private:
  bool indents_ = false;
};

void PrintJson(const std::string& image, const EndedProcess& process) {
  Json json = {{"image", image}, {"status", process.status}};
  if (!process.death.empty()) json["died"] = process.death;
  const std::vector<std::string> messages = MessagesOf(process);
  if (!messages.empty()) json["messages"] = messages;
  const bool has_answer = HasAnswer(process);
  if (!has_answer) json["format"] = "vok/1";
  std::string head = JsonText(json);
  if (has_answer) head[head.rfind('}')] = ',';
  OneLine line;
  line.Print(head);
  if (has_answer) ForPieces(process.output.get(), [&line](std::string_view piece) { line.Print(piece); });
  Print("\n");
}

void PrintText(const std::string& image, const EndedProcess& process) {
  Print("==> " + image + " <==\n");
  if (process.output != nullptr)
    ForPieces(process.output.get(), [](std::string_view piece) { Print(std::string(piece)); });
  const std::string head = image + ": ";
  for (const std::string& message : MessagesOf(process)) Warn(std::string(head).append(message));
  if (!process.death.empty()) Warn(head + process.death);
  Print("\n");
}

}  // namespace

void PrintOutcome(const std::string& image, const EndedProcess& process, bool as_json) {
  as_json ? PrintJson(image, process) : PrintText(image, process);
  // Who reads a long run wants to see what is done so far.
  std::fflush(stdout);
}

}  // namespace vok::tool
