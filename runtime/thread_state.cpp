#include "runtime/thread_state.h"

#include <algorithm>
#include <pthread.h>

#include "runtime/memory.h"
#include "runtime/object_table.h"

namespace oocobol {

constinit thread_local ThreadState thread [[gnu::tls_model("initial-exec")]];

namespace {

// What is left below the limit belongs to the handlers of the overflow.
constexpr std::uintptr_t handlerReserve = 256 * 1024;

struct ExitHook {
    ~ExitHook() {
        returnBodies();
        returnIndexes();
    }
};

void findStack(std::uintptr_t &lowest, std::uintptr_t &above) {
    pthread_attr_t attributes;
    void *address = nullptr;
    std::size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
    if (pthread_attr_getstack(&attributes, &address, &size) == 0) {
        lowest = reinterpret_cast<std::uintptr_t>(address);
        above = lowest + size;
    }
    pthread_attr_destroy(&attributes);
}

} // namespace

void prepareThread() noexcept {
    if (!thread.exitHookSet) {
        thread.exitHookSet = true;
        static thread_local ExitHook hook;
        static_cast<void>(&hook);
    }
    if (thread.stackLimit != UINTPTR_MAX) return;
    findStack(thread.stackEnd, thread.stackBase);
    const auto size = thread.stackBase - thread.stackEnd;
    thread.stackLimit = thread.stackEnd + std::min(handlerReserve, size / 4);
}

} // namespace oocobol
