#include "support/failing_new.h"

#include <new>

namespace vok::test {

FailingNew failing_new;

namespace {

bool Fails() {
  ++failing_new.requests;
  if (failing_new.left < 0) return false;
  if (failing_new.left > 0) {
    --failing_new.left;
    return false;
  }
  if (!failing_new.for_good) failing_new.left = -1;
  return true;
}

}  // namespace
}  // namespace vok::test

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return vok::test::Fails() ? nullptr : ::operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return vok::test::Fails() ? nullptr : ::operator new[](size);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return vok::test::Fails() ? nullptr : ::operator new[](size, alignment);
}
