#pragma once

#include <stdexcept>
#include <string>

#include "flash/codes.h"

namespace vok::tool {

/// The job at hand cannot be done: what is wrong, with the path or number concerned. Where the store refused, its code
/// says why; a file, an answer or an argument that is to blame has none.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& what, u16 code = code::kOk) : std::runtime_error(what), code_(code) {}

  /// The store's code, 0 = the store has no part in it.
  u16 code() const { return code_; }

 private:
  u16 code_;
};

/// "VOK Error #119: Item not found"
std::string ErrorText(u16 code);

/// The one line on standard error that ends a failed job, with the text of @p code unless that is 0.
std::string FailureLine(const std::string& what, u16 code = code::kOk);

}  // namespace vok::tool
