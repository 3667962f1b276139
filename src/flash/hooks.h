#pragma once

#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>

#include "flash/types.h"
#include "vok/platform.h"

/// The installed platform hooks, and the owners of what they hand out: locks and memory.

namespace vok {

namespace detail {
extern PlatformHooks* installed_hooks;
}

PlatformHooks& Hooks();

/// Null while the default hooks are in force. Their locks and reports do nothing, so the paths that every read takes
/// leave them out.
inline PlatformHooks* OwnHooks() { return detail::installed_hooks; }

/// Reports @p code to the error hook and returns it: the one way out of every failing path that found the failure.
inline u16 Fail(u16 code) {
  if (PlatformHooks* const hooks = OwnHooks()) hooks->ReportError(code);
  return code;
}

/// Holds the store-wide lock.
class StoreLock {
 public:
  StoreLock() {
    if (PlatformHooks* const hooks = OwnHooks()) hooks->TakeStoreLock();
  }
  ~StoreLock() {
    if (PlatformHooks* const hooks = OwnHooks()) hooks->GiveStoreLock();
  }
  StoreLock(const StoreLock&) = delete;
  StoreLock& operator=(const StoreLock&) = delete;
};

/// Holds one partition lock, or none (a read-only partition has none). It may be given back and taken again early.
class LockGuard {
 public:
  explicit LockGuard(u32* lock) : lock_(lock) { Take(); }
  ~LockGuard() { Give(); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

  void Take() {
    if (lock_ == nullptr || held_) return;
    if (PlatformHooks* const hooks = OwnHooks()) hooks->TakeLock(lock_);
    held_ = true;
  }
  void Give() {
    if (!held_) return;
    held_ = false;
    if (PlatformHooks* const hooks = OwnHooks()) hooks->GiveLock(lock_);
  }

 private:
  u32* lock_;
  bool held_ = false;
};

struct HookDeleter {
  void operator()(void* memory) const { Hooks().Release(memory); }
};

/// A table from the allocation hook.
template <typename T>
using HookArray = std::unique_ptr<T[], HookDeleter>;

/// @return @p count zeroed objects, or null when the hook has no memory or the table does not fit its 16-bit size.
template <typename T>
HookArray<T> AllocateArray(std::size_t count) {
  static_assert(std::is_trivial_v<T>);
  if (count > std::numeric_limits<u16>::max() / sizeof(T)) return nullptr;
  void* memory = Hooks().Allocate(static_cast<u16>(count * sizeof(T)));
  if (memory != nullptr) std::memset(memory, 0, count * sizeof(T));
  return HookArray<T>(static_cast<T*>(memory));
}

}  // namespace vok
