#include "flash/hooks.h"

#include <new>

namespace vok {

namespace detail {
PlatformHooks* installed_hooks = nullptr;
}

namespace {
PlatformHooks default_hooks;
}

void PlatformHooks::ReportError(u16) {}
u16 PlatformHooks::CreateLock(u32*) { return 0; }
void PlatformHooks::DeleteLock(u32*) {}
void PlatformHooks::TakeLock(u32*) {}
void PlatformHooks::GiveLock(u32*) {}
void PlatformHooks::TakeStoreLock() {}
void PlatformHooks::GiveStoreLock() {}
u16 PlatformHooks::NotifyClient(u8, u32, u32, u32, u8) { return 0; }
u16 PlatformHooks::CheckProgramOver(u8, u32, const u8*, u32) { return 0; }
void* PlatformHooks::Allocate(u16 size) { return ::operator new(size, std::nothrow); }
void PlatformHooks::Release(void* memory) { ::operator delete(memory); }

PlatformHooks* InstallPlatformHooks(PlatformHooks* hooks) {
  PlatformHooks* before = detail::installed_hooks;
  detail::installed_hooks = hooks;
  return before;
}

PlatformHooks& Hooks() { return OwnHooks() != nullptr ? *OwnHooks() : default_hooks; }

}  // namespace vok
