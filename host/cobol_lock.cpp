// The lock that admits one thread at a time to COBOL code, and what changes hands with it: the run time's current
// frame and argument count, and our own notes on copied frames. A thread that comes to COBOL code for the first time
// starts with no frame at all, as a C program's main function does.
//
// The lock is made of plain POSIX objects because those need no destructor: the end of the run must not wait for a
// thread that still waits here.
#include <ctime>
#include <pthread.h>

#include "host/gnucobol.h"

namespace oocobol::host::gnucobol {
namespace {

class RunTimeLock {
public:
    bool heldBy(std::uint64_t thread) const { return owner.load(std::memory_order_relaxed) == thread; }
    bool isFree() const { return owner.load(std::memory_order_relaxed) == 0; }
    bool isResident() const { return resident; }

    void take(std::uint64_t thread, bool asResident) {
        pthread_mutex_lock(&guard);
        while (!available()) waitAWhile();
        become(thread, asResident);
        pthread_mutex_unlock(&guard);
    }

    // Which program is active may be read only while no thread that holds the lock can change it.
    void takeIfProgramIsActive(std::uint64_t thread) {
        pthread_mutex_lock(&guard);
        if (isFree() && programIsActive()) become(thread, true);
        pthread_mutex_unlock(&guard);
    }

    void give() {
        pthread_mutex_lock(&guard);
        owner.store(0, std::memory_order_relaxed);
        resident = false;
        pthread_cond_signal(&freed);
        pthread_mutex_unlock(&guard);
    }

private:
    void become(std::uint64_t thread, bool asResident) {
        owner.store(thread, std::memory_order_relaxed);
        resident = asResident;
        bridge.residentKnown.store(asResident, std::memory_order_relaxed);
    }

    // A resident thread gives no sign when its last COBOL program returns to a C program: then there is no frame.
    bool available() const {
        if (isFree()) return true;
        return resident && !programIsActive();
    }

    static bool programIsActive() {
        return __atomic_load_n(&bridge.global.load(std::memory_order_relaxed)->current, __ATOMIC_RELAXED) != nullptr;
    }

    void waitAWhile() {
        timespec until;
        clock_gettime(CLOCK_REALTIME, &until);
        constexpr long second = 1'000'000'000, pause = 10'000'000;
        until.tv_nsec += pause;
        if (until.tv_nsec >= second) {
            until.tv_nsec -= second;
            ++until.tv_sec;
        }
        pthread_cond_timedwait(&freed, &guard, &until);
    }

    pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t freed = PTHREAD_COND_INITIALIZER;
    std::atomic<std::uint64_t> owner{0};
    bool resident = false;
};

constinit RunTimeLock runTimeLock;

RunState saveState() {
    const auto &global = *bridge.global.load(std::memory_order_relaxed);
    auto state = bridge.state;
    state.current = global.current;
    state.callParameters = global.callParameters;
    return state;
}

void loadState(const RunState &state) {
    auto &global = *bridge.global.load(std::memory_order_relaxed);
    bridge.state = state;
    global.current = state.current;
    if (bridge.countKnown.load(std::memory_order_relaxed)) global.callParameters = state.callParameters;
}

} // namespace

void adoptThread() noexcept {
    const auto self = threadSelf();
    if (!runTimeLock.heldBy(self)) runTimeLock.take(self, true);
}

void adoptMainThread() noexcept {
    if (findRunTime(false) && runTimeLock.isFree() && onMainThread()) runTimeLock.takeIfProgramIsActive(threadSelf());
}

RunTimeHold::RunTimeHold() noexcept {
    const auto self = threadSelf();
    if (runTimeLock.heldBy(self)) return;
    adoptMainThread();
    if (runTimeLock.heldBy(self)) return;
    runTimeLock.take(self, false);
    taken = true;
    outside = saveState();
    loadState({});
}

RunTimeHold::~RunTimeHold() {
    if (!taken) return;
    loadState(outside);
    runTimeLock.give();
}

BlockingSection::BlockingSection() noexcept {
    adoptMainThread();
    if (!runTimeLock.heldBy(threadSelf())) return;
    released = true;
    resident = runTimeLock.isResident();
    inside = saveState();
    // A program that is active on this thread may be entered on another one meanwhile.
    if (bridge.framesKnown.load(std::memory_order_relaxed)) frameCount = noteFrames(frames, liveFrameLimit);
    loadState({});
    runTimeLock.give();
}

BlockingSection::~BlockingSection() {
    if (!released) return;
    runTimeLock.take(threadSelf(), resident);
    loadState(inside);
    restoreFrames(frames, frameCount);
}

} // namespace oocobol::host::gnucobol
