// What the tests share: elements and templates, recorded errors, leak checks, and classes written outside the library.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "oocobol/oocobol.h"
#include "runtime/memory.h"
#include "runtime/module.h"

namespace oocobol::test {

// ---- Values -----------------------------------------------------------------------------------------------------

// The intrinsic class of PIC X(n) items, made once per length and kept for the run; of 4-byte COMP-5 items.
Ref picX(Index length);
Ref comp5();

// A text padded with spaces to `length` bytes; an element area of it.
std::string padded(std::string_view text, std::size_t length);
inline Element area(const std::string &bytes) { return {reinterpret_cast<const std::byte *>(bytes.data())}; }
template <class T> Element area(const T &value) { return {reinterpret_cast<const std::byte *>(&value)}; }
template <class T> std::string bytesOf(const T &value) {
    return {reinterpret_cast<const char *>(&value), sizeof value};
}
template <class T> T valueIn(const void *bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}
// What a message answers into.
template <class T> Returning into(T &item) { return Returning{{reinterpret_cast<std::byte *>(&item)}}; }
inline Returning into(std::string &bytes) { return Returning{{reinterpret_cast<std::byte *>(bytes.data())}}; }
// The bytes that a message about an index or slot answers; '?' where it wrote nothing.
inline std::string answered(oops_site &message, Ref object, std::size_t width, Index index) {
    std::string bytes(width, '?');
    send(message, object, into(bytes), index);
    return bytes;
}
// Sends a message over areas, the one for its answer first; an empty one is left out.
void sendAreas(Ref receiver, std::string_view message, std::vector<std::string> &areas);

// A new character array; what a text object holds.
Ref text(std::string_view value);
std::string valueOf(Ref textObject);

// The values of the objects in a sequence that a message has answered; all end.
std::vector<std::string> valuesOfMade(Ref collection);

// Sends finalize.
void finalize(Ref object);

// The environment's byte, set while it lives: 1 single bytes only, 2 with double-byte characters.
class InEnvironment {
public:
    explicit InEnvironment(std::uint8_t status);
    ~InEnvironment();
    InEnvironment(const InEnvironment &) = delete;
    InEnvironment &operator=(const InEnvironment &) = delete;

private:
    std::uint8_t before;
};
inline constexpr std::uint8_t singleByte = 1, doubleByte = 2;

// A buffer of exactly these bytes, so that reading behind them shows.
class ExactBytes {
public:
    explicit ExactBytes(std::string_view value) : bytes(std::make_unique<char[]>(value.size())) {
        if (!value.empty()) std::memcpy(bytes.get(), value.data(), value.size());
    }
    operator Bytes() const { return {bytes.get()}; }
    operator Element() const { return {reinterpret_cast<const std::byte *>(bytes.get())}; }

private:
    std::unique_ptr<char[]> bytes;
};

// Texts whose last byte is the last one that may be read.
class GuardedText {
public:
    GuardedText() { mprotect(end, page, PROT_NONE); }
    ~GuardedText() { munmap(end - page, 2 * page); }
    std::string_view hold(const std::string &text) const {
        std::copy(text.begin(), text.end(), end - text.size());
        return {end - text.size(), text.size()};
    }

private:
    static constexpr std::size_t page = 4096;
    char *end =
        page + static_cast<char *>(mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
};

// ---- Errors -----------------------------------------------------------------------------------------------------

// Records what is raised on this thread while it lives, and answers nothing unless told to. Nests.
class RaisedErrors {
public:
    RaisedErrors();
    ~RaisedErrors();
    RaisedErrors(const RaisedErrors &) = delete;
    RaisedErrors &operator=(const RaisedErrors &) = delete;

    struct Raised {
        Ref object;
        Count number;
    };
    std::vector<Raised> all;
    // Runs in the handler, after the error has been recorded.
    std::function<void(Ref object, Count number)> action;
    // What the handler answers, when it is to answer.
    bool answers = false;
    std::uint64_t answer = 0;

    // The numbers raised so far; clears the record.
    std::vector<Count> numbers();
    RaisedErrors *outer;
};

// ---- Leaks: no test may end with more or fewer live objects than it began with
// ---------------------------------------

// But one that says so.
extern bool mayLeaveObjects;

// Finalizes what has been made while it lives and is still there, but for classes.
class Sweep {
public:
    ~Sweep();

private:
    static std::set<std::uint64_t> objects();
    const std::set<std::uint64_t> before = objects();
};

// ---- Memory that fails --------------------------------------------------------------------------------------------

// Does something while the allocation of this number fails, and perhaps all behind it; answers whether it got that far.
template <class Deed> bool fails(std::uint64_t at, bool andAllBehind, Deed deed) {
    AllocationFaults::failAt(at, andAllBehind);
    deed();
    const auto reached = AllocationFaults::count() >= at;
    AllocationFaults::failAt(0, false);
    return reached;
}

// Does something to a receiver, and makes perhaps something, over and over, each time with another allocation that
// fails
// - that one only, or all behind it too - until none does. Whatever failed, the receiver is shown as it was or as it is
// in the end, what is not done or not whole is raised, and nothing but what was made is left. Tries both when not told.
void allOrNothing(bool andAllBehind, Ref receiver, const std::function<std::string(Ref)> &show,
                  const std::function<Ref()> &deed);
void allOrNothing(Ref receiver, const std::function<std::string(Ref)> &show, const std::function<Ref()> &deed);

// ---- Roads ---------------------------------------------------------------------------------------------------------

// Native paths are taken while it lives, or nothing but messages are sent.
class Road {
public:
    explicit Road(bool isNative) { allowNativePaths(isNative); }
    ~Road() { allowNativePaths(true); }
    Road(const Road &) = delete;
    Road &operator=(const Road &) = delete;
};
// Does something natively, then by messages.
template <class Deed> void onBothRoads(Deed deed) {
    deed();
    const Road sent(false);
    deed();
}

// ---- Code from outside -------------------------------------------------------------------------------------------

// Registers an entry, under a name of its own when none is given, and answers the name; the function is kept for the
// run.
std::string entryNamed(std::function<std::int64_t(void **arguments)> function, std::string name = {});
// A callback on such an entry: what blocks are in most tests. The caller finalizes it.
Ref block(std::function<std::int64_t(void **arguments)> function);

// Function pointers of methods have their own parameters; the record takes them as one type.
template <class... Parameters> oops_method asMethod(void (*code)(Parameters...)) {
    return reinterpret_cast<oops_method>(code);
}

// A class registered through the public interface. The code of a method is a function or a lambda without captures;
// what stands behind its object and its data, the returning item first, are the method's parameters.
class OutsideClass {
public:
    OutsideClass(const char *program, const char *name, Ref superclass, std::uint32_t classData = 0,
                 std::uint32_t instanceData = 0);
    OutsideClass &classMethod(const char *name, oops_method code, int parameters) {
        return add(name, code, parameters, OOPS_CLASS_METHOD);
    }
    OutsideClass &method(const char *name, oops_method code, int parameters) { return add(name, code, parameters, 0); }
    template <class Code> OutsideClass &classMethod(const char *name, Code code) {
        return add(name, +code, OOPS_CLASS_METHOD);
    }
    template <class Code> OutsideClass &method(const char *name, Code code) { return add(name, +code, 0); }
    OutsideClass &initialiser(oops_initialiser code); // runs over the data of every new instance
    Ref registerIt();
    void extend(); // adds the methods to a class that is registered already

private:
    OutsideClass &add(const char *name, oops_method code, int parameters, int flags);
    template <class... Parameters> OutsideClass &add(const char *name, void (*code)(Parameters...), int flags) {
        return add(name, asMethod(code), int{sizeof...(Parameters)} - 2, flags);
    }
    std::vector<std::byte> record;
};
// Runs the action, which is given a number from 0 on, on so many threads at once: this one is the first of them.
template <class Action> void onThreads(int count, Action action) {
    std::vector<std::thread> others;
    for (int i = 1; i < count; ++i) others.emplace_back([&action, i] { action(i); });
    action(0);
    for (auto &running : others) running.join();
}

} // namespace oocobol::test
