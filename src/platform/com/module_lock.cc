// The module lock count.
#include "platform/com/module_lock.h"

#include <atomic>

namespace quillbox::com {
namespace {
std::atomic<LONG> g_lock_count{0};
}

void LockModule() { g_lock_count.fetch_add(1, std::memory_order_acq_rel); }
void UnlockModule() { g_lock_count.fetch_sub(1, std::memory_order_acq_rel); }
LONG ModuleLockCount() { return g_lock_count.load(std::memory_order_acquire); }

}  // namespace quillbox::com
