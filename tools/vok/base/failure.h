#pragma once

#include <stdexcept>
#include <string>

#include "flash/codes.h"

namespace vok::tool {

/// The job at hand cannot be done: what is wrong, with the path or number concerned, and the store's code for it.
class Failure : public std::runtime_error {
 public:
  Failure(const std::string& what, u16 code) : std::runtime_error(what), code_(code) {}
  u16 code() const { return code_; }

 private:
  u16 code_;
};

/// "VOK Error #119: Item not found"
std::string ErrorText(u16 code);

/// The one line on standard error that ends a failed job.
std::string FailureLine(const std::string& what, u16 code);

}  // namespace vok::tool
