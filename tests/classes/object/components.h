// What the tests of components share: a class whose objects note what reaches them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/support.h"

namespace oocobol::test {

// What a receiver was told: who, by which of its methods, with which first argument.
struct Told {
    Ref object;
    std::string method;
    std::int64_t argument;
    friend bool operator==(const Told &, const Told &) = default;
};

// The record of the calling thread, and what a receiver is to do when it is told something.
struct Log {
    std::vector<Told> told;
    std::function<void(const Told &)> action;
    std::vector<Ref> receivers() const {
        std::vector<Ref> found;
        for (const auto &entry : told) found.push_back(entry.object);
        return found;
    }
};
inline thread_local Log *log = nullptr;

inline void note(const oops_ref *self, const char *method, void *returning, const std::int64_t *argument) {
    if (log == nullptr) return;
    log->told.push_back({Ref{*self}, method, argument != nullptr ? *argument : 0});
    const auto entry = log->told.back();
    if (log->action) log->action(entry);
    constexpr std::int64_t answer = 77;
    if (returning != nullptr) std::memcpy(returning, &answer, sizeof answer);
}
inline void onNote(const oops_ref *self, void *, void *returning, const std::int64_t *argument) {
    note(self, "note", returning, argument);
}
inline void onOther(const oops_ref *self, void *, void *returning, const std::int64_t *argument) {
    note(self, "other", returning, argument);
}
inline void onChanged(const oops_ref *self, void *, void *returning, const std::int64_t *argument) {
    note(self, "changed", returning, argument);
}
inline void onDeleted(const oops_ref *self, void *, void *returning, const std::int64_t *argument) {
    note(self, "deleted", returning, argument);
}

inline Ref listenerClass() {
    static const auto made = OutsideClass("cmlisten", "listener", classForProgram("base"))
                                 .method("note", asMethod(onNote), 2)
                                 .method("other", asMethod(onOther), 2)
                                 .method("changed", asMethod(onChanged), 2)
                                 .method("deleted", asMethod(onDeleted), 2)
                                 .registerIt();
    return made;
}
inline Ref newListener() { return send<Ref>(SITE("new"), listenerClass()); }

// A component with one output signal "go".
inline Ref newSource(const char *signal = "go") {
    const auto made = newListener();
    send(SITE("makecomponent"), made);
    send(SITE("defineoutsignal"), made, Bytes{signal});
    return made;
}
// A component whose input signal "go" on the socket "in" runs `note`.
inline Ref newReceiver(const char *signal = "go", const char *method = "note") {
    const auto made = newListener();
    send(SITE("makecomponent"), made);
    send(SITE("defineinsocket"), made, Bytes{"in"});
    send(SITE("defineinsignal"), made, Bytes{signal}, Bytes{"in"}, Bytes{method});
    return made;
}
inline void connect(Ref source, Ref target) { send(SITE("connectto"), source, target, Bytes{"in"}); }
inline Count connections(Ref source, const char *signal = "go") {
    const auto list = send<Ref>(SITE("getoutputsignalcallbacks"), source, Bytes{signal});
    return list ? send<Count>(SITE("size"), list) : 0;
}
inline std::int64_t tell(Ref source, std::int64_t argument, const char *signal = "go") {
    return send<std::int64_t>(SITE("signal"), source, Bytes{signal}, argument);
}

} // namespace oocobol::test
