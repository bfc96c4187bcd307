// Threads: started detached, named by numbers that never come again, and able to clean up after themselves. Nothing
// here is undone at the end of the process, when threads may still run.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <memory>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "host/gnucobol.h"
#include "host/host.h"

namespace oocobol::host {
namespace {

std::atomic<std::uint64_t> threadsSeen{0};

struct ThreadStart {
    void (*entry)(void *block);
    std::unique_ptr<std::byte[]> block;
};

void *runThread(void *argument) {
    const std::unique_ptr<ThreadStart> start(static_cast<ThreadStart *>(argument));
    try {
        start->entry(start->block.get());
    } catch (abi::__forced_unwind &) {
        throw; // the thread is ending itself
    } catch (...) {
        report("oocobol: a C++ exception ended a thread\n");
    }
    return nullptr;
}

bool startDetached(ThreadStart *start) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    const bool started = pthread_create(&thread, &attributes, runThread, start) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

// Latest first, like destructors; an action may ask for further ones.
class ExitActions {
public:
    ~ExitActions() {
        while (!actions.empty()) {
            const auto [action, argument] = actions.back();
            actions.pop_back();
            action(argument);
        }
    }
    void add(void (*action)(void *), void *argument) { actions.emplace_back(action, argument); }

private:
    std::vector<std::pair<void (*)(void *), void *>> actions;
};

thread_local ExitActions exitActions;

} // namespace

constinit thread_local std::uint64_t detail::threadNumber [[gnu::tls_model("initial-exec")]] = 0;

std::uint64_t detail::numberThread() noexcept {
    return threadNumber = threadsSeen.fetch_add(1, std::memory_order_relaxed) + 1;
}

bool onMainThread() noexcept { return syscall(SYS_gettid) == getpid(); }

bool createThread(void (*entry)(void *block), const void *block, std::size_t length) noexcept try {
    gnucobol::adoptMainThread();
    auto start = std::make_unique<ThreadStart>(ThreadStart{entry, std::make_unique<std::byte[]>(length)});
    if (length > 0) std::memcpy(start->block.get(), block, length);
    if (!startDetached(start.get())) return false;
    static_cast<void>(start.release()); // it is the thread's now
    return true;
} catch (...) {
    return false;
}

void atThreadExit(void (*action)(void *argument), void *argument) noexcept try {
    exitActions.add(action, argument);
} catch (...) {
    report("oocobol: memory is short, a thread will not clean up when it ends\n");
}

} // namespace oocobol::host
