// What the tests of components share: a class whose objects note what reaches them.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/support.h"

namespace oocobol::test {

using Refs = std::vector<Ref>;

// What a receiver was told: who, by which of its methods, with which first argument.
struct Told {
    Ref object;
    std::string method;
    std::int64_t argument;
    friend bool operator==(const Told &, const Told &) = default;
};

// The record of a test, and what a receiver is to do when it is told something.
struct Log {
    std::vector<Told> told;
    std::vector<std::int64_t> arguments; // that the method `all` got last, up to nine
    std::int64_t *first = nullptr;       // of them
    std::function<void(const Told &)> action;
    Refs receivers() const {
        Refs found;
        for (const auto &entry : told) found.push_back(entry.object);
        return found;
    }
};
inline Log *log = nullptr;

inline void note(const oops_ref *self, const char *method, void *returning, const std::int64_t *argument) {
    if (log == nullptr) return;
    log->told.push_back({Ref{*self}, method, argument != nullptr ? *argument : 0});
    const auto entry = log->told.back();
    if (log->action) log->action(entry);
    constexpr std::int64_t answer = 77;
    if (returning != nullptr) std::memcpy(returning, &answer, sizeof answer);
}
inline constexpr const char *listened[] = {"note", "other", "changed", "deleted"};
template <int which> void on(const oops_ref *self, void *, void *returning, const std::int64_t *argument) {
    note(self, listened[which], returning, argument);
}
using Item = std::int64_t *;
inline void onAll(const oops_ref *self, void *, void *returning, Item a, Item b, Item c, Item d, Item e, Item f, Item g,
                  Item h, Item i) {
    log->arguments.clear();
    for (const auto *item : {a, b, c, d, e, f, g, h, i})
        if (item != nullptr) log->arguments.push_back(*item);
    log->first = a;
    note(self, "all", returning, a);
}

// Those that have been made while there is a log.
inline Refs listeners;
inline Ref newListener() {
    static const auto listenerClass = OutsideClass("cmlisten", "listener", classForProgram("base"))
                                          .method(listened[0], on<0>)
                                          .method(listened[1], on<1>)
                                          .method(listened[2], on<2>)
                                          .method(listened[3], on<3>)
                                          .method("all", onAll)
                                          .registerIt();
    const auto made = send<Ref>(SITE("new"), listenerClass);
    if (log != nullptr) listeners.push_back(made);
    return made;
}

// Makes a component with one output signal "go", and with an input signal "go" on the socket "in" that runs the method.
inline Ref component(Ref object, const char *method = "note") {
    send(SITE("makecomponent"), object);
    send(SITE("defineoutsignal"), object, Bytes{"go"});
    send(SITE("defineinsocket"), object, Bytes{"in"});
    send(SITE("defineinsignal"), object, Bytes{"go"}, Bytes{"in"}, Bytes{method});
    return object;
}
inline Ref newComponent(const char *method = "note") { return component(newListener(), method); }
inline void connect(Ref source, Ref target) { send(SITE("connectto"), source, target, Bytes{"in"}); }
// So many new ones, which receive what the source sends.
inline Refs receiversOf(Ref source, std::size_t count) {
    Refs made(count);
    for (auto &receiver : made) connect(source, receiver = newComponent());
    return made;
}
inline Count connections(Ref source, const char *signal = "go") {
    const auto list = send<Ref>(SITE("getoutputsignalcallbacks"), source, Bytes{signal});
    return list ? send<Count>(SITE("size"), list) : 0;
}
inline void tell(Ref source, std::int64_t argument) { send(SITE("signal"), source, Bytes{"go"}, argument); }

// A test that notes what is told. The listeners that it leaves are finalized; nothing else may be left.
class Listening : public ::testing::Test {
protected:
    Listening() { log = &told; }
    ~Listening() override {
        log = nullptr;
        for (const auto listener : std::exchange(listeners, {})) {
            if (isLive(listener)) finalize(listener);
        }
    }
    static void SetUpTestSuite() { // what lives as long as the process is made now
        const RaisedErrors errors;
        finalize(newComponent());
    }
    Log told;
};

} // namespace oocobol::test
