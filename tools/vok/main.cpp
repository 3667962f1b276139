#include <cstdio>
#include <exception>
#include <new>

#include "base/failure.h"
#include "base/large_pages.h"
#include "base/platform.h"
#include "base/terminal.h"
#include "command/command_line.h"

namespace {

using vok::tool::Failure;
using vok::tool::FailureLine;

int Tell(const std::string& what, vok::u16 code = vok::code::kOk) {
  std::fputs(FailureLine(what, code).c_str(), stderr);
  return vok::tool::kFailed;
}

/// A job whose answer did not reach its reader is not done.
int FlushOutput(int status) {
  const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  return written ? status : Tell("cannot write to standard output");
}

int Run(const vok::tool::Invocation& invocation) {
  if (invocation.options.verbose) vok::tool::BeVerbose();
  if (invocation.options.output == vok::tool::kStandardStream) vok::tool::PrintAside();
  try {
    return FlushOutput(invocation.command(invocation.options));
  } catch (const Failure& failure) {
    return Tell(failure.what(), failure.code());
  } catch (const std::bad_alloc&) {
    return Tell("out of memory");
  } catch (const std::exception& error) {
    return Tell(error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  vok::tool::UseLargePages();
  const std::vector<std::string> utf8 = vok::tool::platform::SetUpProgram(argc, argv);
  std::vector<const char*> words;
  words.reserve(utf8.size());
  for (const std::string& word : utf8) words.push_back(word.c_str());
  const vok::tool::Invocation invocation = vok::tool::ParseCommandLine(static_cast<int>(words.size()), words.data());
  return invocation.command != nullptr ? Run(invocation) : FlushOutput(invocation.status);
}
