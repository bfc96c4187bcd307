// What a method answers: a value, or the wish to raise.
//
// Errors do not unwind: the handler runs, and the failing method goes on. Here a method that fails returns at once,
// `return raise(Error::notFound)`, and the error is raised when its locals are gone: nothing that it held can be
// pulled from under it. The handler's answer then reaches the method's returning item, never wider than that item is.
#pragma once

#include <string_view>
#include <type_traits>

#include "oocobol/oocobol.h"
#include "runtime/errors.h"
#include "runtime/types.h"

namespace oocobol {

// 0, or what to do after the method: raise a number, or send self one of the error messages (`invalidparameter` and
// its like) that subclasses may redefine. One word, so that an answer travels in two registers.
class Failure {
public:
    constexpr Failure() = default;
    static constexpr Failure ofError(Error error) { return Failure(std::uint64_t{static_cast<Count>(error)} << 1 | 1); }
    static Failure ofMessage(oops_site &site) { return Failure(reinterpret_cast<std::uint64_t>(&site)); }

    // For a method whose returning item is an area: how many bytes of it the handler may answer. 8 at most count: an
    // area wider than a reference is left as it is, because the 8 bytes of an answer are no element.
    constexpr Failure answering(std::size_t width) const {
        return Failure(bits | std::uint64_t{width <= 8 ? width : 0} << widthShift);
    }

    constexpr explicit operator bool() const { return bits != 0; }
    constexpr bool isError() const { return (bits & 1) != 0; }
    constexpr Count error() const { return static_cast<Count>((bits & withoutWidth) >> 1); }
    oops_site &message() const { return *reinterpret_cast<oops_site *>(bits & withoutWidth); }
    constexpr std::size_t width() const { return static_cast<std::size_t>(bits >> widthShift); }

private:
    static constexpr unsigned widthShift = 56; // addresses and error numbers stay below
    static constexpr std::uint64_t withoutWidth = (std::uint64_t{1} << widthShift) - 1;
    constexpr explicit Failure(std::uint64_t word) : bits(word) {}
    std::uint64_t bits = 0;
};

constexpr Failure raise(Error error) { return Failure::ofError(error); }
// Sends self the error message of the site, passing the returning item along: pass(SITE("invalidparameter")).
inline Failure pass(oops_site &site) { return Failure::ofMessage(site); }

template <class T> class Answer {
public:
    Answer(T answered) : value(answered) {}
    Answer(Failure why) : failure(why) {}
    T value{};
    Failure failure;
};
template <> class Answer<void> {
public:
    Answer() = default;
    Answer(Failure why) : failure(why) {}
    Failure failure;
};

// Carries out a failure on behalf of a method: `width` bytes of the returning item may take the handler's answer.
void deliver(Failure failure, Ref self, void *body, void *returning, std::size_t width) noexcept;

} // namespace oocobol
