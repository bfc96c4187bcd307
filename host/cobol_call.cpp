// Calls from the library into COBOL code.
//
// A program's prologue looks at three things of its caller: how many arguments are passed (it takes the rest for
// omitted), the caller's frame (the same program further up is a forbidden recursion, unless it is declared
// RECURSIVE), and in that frame the arguments' lengths. So each call sets the count and puts copies of the callers'
// frames in front of the real ones. A method may then be entered again while it is active: its frame does not stand in
// the chain itself, traces of the run time still show every level, and what the second entry overwrites in the real
// frame is put back. This costs a few nanoseconds where RECURSIVE costs some two hundred.
#include <algorithm>
#include <cstring>
#include <utility>

#include "host/gnucobol.h"
#include "host/invoke.h"

namespace oocobol::host::gnucobol {
namespace {

// A plain program walks all frames when it is entered: deep recursion would take quadratic time over one long chain.
constexpr unsigned chainLength = 64;

// The lengths for ANY LENGTH parameters. Length 0 is safe where the true one is not known; with no entry at all a
// parameter would keep the length of an earlier call.
class ParameterTable {
public:
    ParameterTable(const Module *caller, void *const *arguments, std::size_t count) {
        const bool fromSender = caller && caller == bridge.state.sender && caller->parameters;
        for (std::size_t i = 0; i < count; ++i)
            table[i] = !arguments[i] ? nullptr : fromSender ? lengthGiven(*caller, arguments[i], i) : &unknown;
    }
    Field **entries() { return table; }

private:
    // The caller's list is often the callee's, shifted or not.
    static Field *lengthGiven(const Module &caller, const void *address, std::size_t likely) {
        const auto given = static_cast<std::size_t>(std::max(bridge.state.senderArguments, 0));
        const auto matches = [&](std::size_t i) {
            const auto *field = caller.parameters[i];
            return field && field->data == address;
        };
        if (likely < given && matches(likely)) return caller.parameters[likely];
        for (std::size_t i = 0; i < given; ++i)
            if (matches(i)) return caller.parameters[i];
        return &unknown;
    }

    static constexpr FieldAttributes alphanumeric{0x21, 0, 0, 0, nullptr};
    static inline constinit Field unknown{0, nullptr, &alphanumeric};
    Field *table[invokeLimit]; // a program looks at no more of it than the call passes
};

// Stands for the caller where that is no COBOL program.
constexpr Module hostFrame{.next = nullptr,
                           .parameters = nullptr,
                           .names = {"oocobol", "", "oocobol"},
                           .counters = {},
                           .parameterCount = 0,
                           .settings = {},
                           .statement = 0,
                           .rest = {}};

// Compilers copy a structure of this size with a string instruction that takes longer to start than this takes.
template <std::size_t... Index> void copyFrame(Module &to, const Module &from, std::index_sequence<Index...>) {
    constexpr std::size_t piece = 16;
    static_assert(sizeof...(Index) * piece == sizeof(Module));
    auto *target = reinterpret_cast<std::byte *>(&to);
    const auto *source = reinterpret_cast<const std::byte *>(&from);
    (std::memcpy(target + Index * piece, source + Index * piece, piece), ...);
}

void copyFrame(Module &to, const Module &from) { copyFrame(to, from, std::make_index_sequence<sizeof(Module) / 16>()); }

// Copies of the frames that no copy stands in front of yet.
template <std::size_t Capacity> class ShadowFrames {
public:
    ShadowFrames() : count(noteFrames(links, Capacity)) {
        if (count == 0) copyFrame(copies[0], hostFrame);
        for (std::size_t i = 0; i < count; ++i) {
            copyFrame(copies[i], *links[i].frame);
            if (i + 1 < count) copies[i].next = &copies[i + 1];
        }
    }
    ~ShadowFrames() { restoreFrames(links, count); }
    ShadowFrames(const ShadowFrames &) = delete;
    ShadowFrames &operator=(const ShadowFrames &) = delete;

    Module *top() { return copies; }
    void cutBelow() { copies[std::max<std::size_t>(count, 1) - 1].next = nullptr; }

private:
    FrameLinks links[Capacity];
    Module copies[Capacity];
    std::size_t count;
};

// Puts back what a call changes in the globals, also when a C++ exception comes out of it.
class CallScope {
public:
    CallScope(Global &runTimeGlobal, std::size_t count)
        : global(runTimeGlobal), current(global.current), callParameters(global.callParameters),
          shadow(bridge.state.shadow) {
        ++bridge.state.depth;
        if (bridge.countKnown.load(std::memory_order_relaxed)) global.callParameters = static_cast<int>(count);
    }
    ~CallScope() {
        --bridge.state.depth;
        bridge.state.shadow = shadow;
        global.current = current;
        if (bridge.countKnown.load(std::memory_order_relaxed)) global.callParameters = callParameters;
    }
    CallScope(const CallScope &) = delete;
    CallScope &operator=(const CallScope &) = delete;

private:
    Global &global;
    Module *current;
    int callParameters;
    Module *shadow;
};

template <std::size_t Capacity>
std::int64_t callOverShadows(Global &global, void *entry, void *const *arguments, std::size_t count) {
    ParameterTable parameters(global.current, arguments, count);
    ShadowFrames<Capacity> frames;
    const CallScope scope(global, count);
    if (bridge.state.depth % chainLength == 0) frames.cutBelow();
    frames.top()->parameters = parameters.entries();
    bridge.state.shadow = global.current = frames.top();
    return invoke<std::int64_t>(entry, arguments, count);
}

// Mostly nothing has changed, and a store that can be left out does not hold up the next copy of the frame.
template <class Value> void restore(Value &member, Value before) {
    if (member != before) member = before;
}

// With frames that we do not know. A program without a COBOL caller takes all its parameters for given.
std::int64_t callPlainly(Global &global, void *entry, void *const *arguments, std::size_t count) {
    const CallScope scope(global, count);
    return invoke<std::int64_t>(entry, arguments, count, true);
}

} // namespace

std::size_t noteFrames(FrameLinks *links, std::size_t capacity) noexcept {
    std::size_t count = 0;
    auto *frame = bridge.global.load(std::memory_order_relaxed)->current;
    while (frame && count < capacity) {
        links[count++] = {frame, frame->next, frame->parameters, frame->parameterCount};
        frame = frame->next;
        if (frame == bridge.state.shadow) break;
    }
    return count;
}

void restoreFrames(const FrameLinks *links, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        auto &frame = *links[i].frame;
        restore(frame.next, links[i].next);
        restore(frame.parameters, links[i].parameters);
        restore(frame.parameterCount, links[i].parameterCount);
    }
}

std::int64_t callProgram(void *entry, void *const *arguments, std::size_t count) {
    auto *global = findRunTime(true);
    if (!global) return invoke<std::int64_t>(entry, arguments, count, true);
    const RunTimeHold hold;
    if (!bridge.framesKnown.load(std::memory_order_relaxed)) return callPlainly(*global, entry, arguments, count);
    // Where methods send to methods, just one frame is new; ordinary subprograms in between add theirs.
    const auto *caller = global->current;
    const auto *shadow = bridge.state.shadow;
    const bool single = !caller || caller == shadow || !caller->next || caller->next == shadow;
    return single ? callOverShadows<1>(*global, entry, arguments, count)
                  : callOverShadows<liveFrameLimit>(*global, entry, arguments, count);
}

} // namespace oocobol::host::gnucobol
