#include "runtime/thread_state.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <pthread.h>
#include <utility>

#include "runtime/thread_store.h"

namespace oocobol {

constinit thread_local ThreadState thread [[gnu::tls_model("initial-exec")]];
constinit ThreadStore noStore;

namespace {

// What is left below the limit belongs to the handlers of the overflow.
constexpr std::uintptr_t handlerReserve = 256 * 1024;

struct ExitHook {
    ~ExitHook() {
        if (thread.store == &noStore) return;
        returnObjects(*thread.store);
        returnBodies(*thread.store);
        std::free(std::exchange(thread.store, &noStore));
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

void makeStore() {
    auto *memory = std::aligned_alloc(alignof(ThreadStore), sizeof(ThreadStore));
    if (memory != nullptr) thread.store = new (memory) ThreadStore;
}

} // namespace

void prepareThread() noexcept {
    if (!thread.exitHookSet) {
        thread.exitHookSet = true;
        static thread_local ExitHook hook;
        static_cast<void>(&hook);
    }
    if (thread.store == &noStore) makeStore();
    if (thread.stackLimit != UINTPTR_MAX) return;
    findStack(thread.stackEnd, thread.stackBase);
    const auto size = thread.stackBase - thread.stackEnd;
    thread.stackLimit = thread.stackEnd + std::min(handlerReserve, size / 4);
}

} // namespace oocobol
