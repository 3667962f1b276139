#include "command/conclude.h"

#include "command/options.h"
#include "section/losses_text.h"

namespace vok::tool {

int Conclude(const Losses& losses) {
  TellLosses(losses);
  return losses.empty() ? kDone : kFailed;
}

}  // namespace vok::tool
