#pragma once

namespace vok::test {

/// Memory that is asked for without exceptions: the library's scratch buffers and what it keeps to be fast.
struct FailingNew {
  int left = -1;          ///< requests that still succeed; -1 = all
  bool for_good = false;  ///< whether those after the one that fails fail, too
  int requests = 0;       ///< made so far
};
extern FailingNew failing_new;

}  // namespace vok::test
