// The bridge to a GnuCOBOL run time in the process. It is found at run time and never linked: without one, or before
// one is loaded, everything here answers "nothing". Frames and globals of release 3.1 are mirrored below, because the
// calls we make depend on them (see cobol_call.cpp); with any other release only what has been seen to agree is used.
//
// The run time keeps no thread apart from another, so one lock admits one thread at a time to COBOL code. A thread
// whose COBOL program called the library holds it all along, except inside a BlockingSection; any other thread holds
// it for as long as a COBOL program that the library called for it runs.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "host/host.h"

namespace oocobol::host::gnucobol {

// ---- The run time's structures (release 3.1) ---------------------------------------------------------------------

struct FieldAttributes {
    std::uint16_t type, digits;
    std::int16_t scale;
    std::uint16_t flags;
    const void *picture;
};

struct Field {
    std::size_t size;
    unsigned char *data;
    const FieldAttributes *attributes;
};

// A program's frame; `next` is its caller's.
struct Module {
    Module *next;
    Field **parameters; // what the program passes in the call it is making
    const void *names[10];
    unsigned counters[6];
    int parameterCount; // how many the program itself was given
    unsigned char settings[16];
    unsigned statement;
    const void *rest[12];
};

struct Global {
    void *errorFile;
    Module *current;
    const void *names[13];
    int exceptionCode;
    int callParameters; // how many the call under way passes
};

// ---- What the bridge knows ---------------------------------------------------------------------------------------

// What a thread leaves and finds again when the lock changes hands.
struct RunState {
    Module *current = nullptr;
    int callParameters = 0;
    Module *shadow = nullptr;       // the latest copied frame
    unsigned depth = 0;             // how many calls are copied
    const Module *sender = nullptr; // the program whose call came in through a SenderScope, and its argument count
    int senderArguments = 0;
};

struct Bridge {
    std::atomic<Global *> global{nullptr};  // null until a run time has been found and has been started
    std::atomic<bool> framesKnown{false};   // release 3.1: frames may be read and copied
    std::atomic<bool> countKnown{false};    // callParameters is where we think it is
    std::atomic<bool> residentKnown{false}; // see adoptThread
    RunState state;                         // of the thread that holds the lock; two members are kept in *global
};
extern Bridge bridge;

// Finds the run time; with `start` it is started when its program has not done so. Null when there is none.
Global *findRunTime(bool start) noexcept;

inline Global *runTime() noexcept {
    auto *global = bridge.global.load(std::memory_order_acquire);
    return global ? global : findRunTime(false);
}

// ---- The calling COBOL program -----------------------------------------------------------------------------------

// Takes the lock for the calling thread, whose COBOL program has just called the library.
void adoptThread() noexcept;

// What the COBOL program passes in its call of the C function that asks: to be read first of all there.
class CallerArguments {
public:
    CallerArguments() noexcept {
        const auto *global = runTime();
        if (!global || !global->current) return;
        program = global->current;
        if (bridge.countKnown.load(std::memory_order_relaxed)) passed = global->callParameters;
    }
    // 0 when unknown.
    int count() const noexcept { return passed; }
    // The length of the argument with this index (from 0); 0 when unknown.
    std::size_t size(int index) const noexcept {
        if (index >= passed || !bridge.framesKnown.load(std::memory_order_relaxed)) return 0;
        auto *const *parameters = program->parameters;
        return parameters && parameters[index] ? parameters[index]->size : 0;
    }

protected:
    const Module *program = nullptr;

private:
    int passed = 0;
};

// Stands in each function that COBOL programs call to send a message. While it stands, a COBOL method that is given an
// address out of the program's argument list is also told the length that the program gave it: this is what makes
// ANY LENGTH parameters work. A method whose arguments come from elsewhere sees length 0 there.
class SenderScope : public CallerArguments {
public:
    SenderScope() noexcept {
        if (!program) return;
        if (!bridge.residentKnown.load(std::memory_order_relaxed)) adoptThread();
        outer = bridge.state.sender;
        outerArguments = bridge.state.senderArguments;
        bridge.state.sender = program;
        bridge.state.senderArguments = count();
    }
    ~SenderScope() {
        if (!program) return;
        bridge.state.sender = outer;
        bridge.state.senderArguments = outerArguments;
    }
    SenderScope(const SenderScope &) = delete;
    SenderScope &operator=(const SenderScope &) = delete;

private:
    const Module *outer = nullptr;
    int outerArguments = 0;
};

// ---- The lock ----------------------------------------------------------------------------------------------------

// Held while COBOL code, or the run time itself, is called. A thread that has it already goes straight on.
class RunTimeHold {
public:
    RunTimeHold() noexcept;
    ~RunTimeHold();
    RunTimeHold(const RunTimeHold &) = delete;
    RunTimeHold &operator=(const RunTimeHold &) = delete;

private:
    bool taken = false;
    RunState outside;
};

// A program's frame, with what entering that program a second time overwrites in it.
struct FrameLinks {
    Module *frame;
    Module *next;
    Field **parameters;
    int parameterCount;
};

// Notes the frames that stand above the latest copied frame and answers how many there are; more than fit are let be.
inline constexpr std::size_t liveFrameLimit = 16;
std::size_t noteFrames(FrameLinks *links, std::size_t capacity) noexcept;
void restoreFrames(const FrameLinks *links, std::size_t count) noexcept;

// Stands around whatever in the library may wait for another thread or for a person: other threads may run COBOL
// code meanwhile.
class BlockingSection {
public:
    BlockingSection() noexcept;
    ~BlockingSection();
    BlockingSection(const BlockingSection &) = delete;
    BlockingSection &operator=(const BlockingSection &) = delete;

private:
    bool released = false;
    bool resident = false;
    RunState inside;
    std::size_t frameCount = 0;
    FrameLinks frames[liveFrameLimit];
};

// Before a thread is started: makes sure that the lock is with the thread whose COBOL program is running.
void adoptMainThread() noexcept;

// ---- Services ----------------------------------------------------------------------------------------------------

// Calls COBOL code with `count` addresses (at most 18). The code may be a program that is active already. A program
// answers its return code in the low 4 bytes of the result, the others mean nothing then.
std::int64_t callProgram(void *entry, void *const *arguments, std::size_t count);

// The entry address of a program, which may be loaded for it; null when there is none. Case matters.
void *resolve(const char *name) noexcept;

// The one-byte EXTERNAL item of that name (as the run time spells it), null without a run time.
std::uint8_t *externalByte(const char *name) noexcept;

// Ends the run unit when there is a run time that has been started; returns otherwise.
void stopRun(int returnCode) noexcept;

} // namespace oocobol::host::gnucobol
