#pragma once

#include <span>
#include <string>

#include "flash/types.h"

/// The program's output. A write that fails shows when the output is flushed at the program's end.

namespace vok::tool {

void Print(const std::string& text);

/// From here on Print() prints on standard error: standard output takes bytes.
void PrintAside();

void PrintBytes(std::span<const u8> bytes);

/// Asks a yes-or-no question on standard error. @return false at once when standard input is no terminal
bool Confirm(const std::string& question);

/// One line on standard error that the person must know.
void Warn(const std::string& line);

/// From here on Say() speaks.
void BeVerbose();

/// One line on standard error about what is being done, with --verbose.
void Say(const std::string& line);

}  // namespace vok::tool
