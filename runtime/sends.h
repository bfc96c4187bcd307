// Sends as the class modules write them. The four kinds look alike and say which they are:
//
//   send<Ref>(SITE("copy"), object)                      to another object
//   sendSelf<bool>(SITE("isat"), self, element, index)   to self: what a subclass may redefine
//   sendSuper<Ref>(SUPER("finalize"), self)              to the superclass of the module's class
//   sendOver<bool>(SITE("hash"), classObject, data)      static: over bare bytes, as if they were an instance's
//
// The type in front is what is answered; the returning item may also be an area, passed as a Returning in the first
// place. SITE makes the site's own static storage; SUPER takes the module's `program`.
#pragma once

#include <algorithm>
#include <atomic>

#include "runtime/dispatch.h"
#include "runtime/receiver.h"
#include "runtime/values.h"

#define SITE(name)                                            \
    ([]() -> oops_site & {                                    \
        static constinit oops_site ownSite = OOPS_SITE(name); \
        return ownSite;                                       \
    }())
#define SUPER(name)                                                                \
    ([]() -> oops_super_site & {                                                   \
        static constinit oops_super_site ownSite = OOPS_SUPER_SITE(program, name); \
        return ownSite;                                                            \
    }())
// The class object of a class program, registered on first use.
#define CLASS(classProgram)                                       \
    ([]() -> ::oocobol::Ref {                                     \
        static constinit ::oocobol::ClassSlot slot{classProgram}; \
        return slot.get();                                        \
    }())

namespace oocobol {

class ClassSlot {
public:
    constexpr explicit ClassSlot(const char *classProgram) : program(classProgram) {}
    Ref get() noexcept {
        const auto known = held.load(std::memory_order_acquire);
        return known != 0 ? Ref{known} : find();
    }

private:
    Ref find() noexcept {
        const auto found = classForProgram(program);
        held.store(found.bits, std::memory_order_release);
        return found;
    }
    const char *program;
    std::atomic<std::uint64_t> held{0};
};

namespace detail {

// Wide enough for the 8-byte answer of an error handler, whatever is asked for.
template <class Result> struct ResultArea {
    alignas(8) std::byte bytes[std::max<std::size_t>(8, sizeof(Result))] = {};
    Result value() const {
        if constexpr (std::is_same_v<Result, bool>) return bytes[0] != std::byte{0};
        Result result{};
        std::memcpy(&result, bytes, sizeof result);
        return result;
    }
};

template <class... Sent> inline constexpr bool startsWithReturning = false;
template <class First, class... Rest>
inline constexpr bool startsWithReturning<First, Rest...> = std::is_same_v<First, Returning>;

template <class Result, class Transport, class... Sent> Result perform(Transport transport, const Sent &...sent) {
    static_assert(sizeof...(Sent) < maximumArguments);
    if constexpr (startsWithReturning<Sent...>) {
        static_assert(std::is_void_v<Result>);
        void *arguments[] = {addressOf(sent)...};
        transport(arguments, std::uint32_t{sizeof...(Sent)});
    } else if constexpr (std::is_void_v<Result>) {
        void *arguments[] = {nullptr, addressOf(sent)...};
        transport(arguments, std::uint32_t{sizeof...(Sent) + 1});
    } else {
        ResultArea<Result> result;
        void *arguments[] = {result.bytes, addressOf(sent)...};
        transport(arguments, std::uint32_t{sizeof...(Sent) + 1});
        return result.value();
    }
}

} // namespace detail

template <class Result = void, class... Sent> Result send(oops_site &site, Ref receiver, const Sent &...sent) {
    return detail::perform<Result>(
        [&](void *const *arguments, std::uint32_t count) { send(receiver, site, arguments, count); }, sent...);
}
template <class Result = void, class... Sent>
Result sendSelf(oops_site &site, const Receiver &self, const Sent &...sent) {
    return detail::perform<Result>(
        [&](void *const *arguments, std::uint32_t count) {
            sendToSelf(site, self.ref(), self.data(), arguments, count);
        },
        sent...);
}
template <class Result = void, class... Sent>
Result sendSuper(oops_super_site &site, const Receiver &self, const Sent &...sent) {
    return detail::perform<Result>(
        [&](void *const *arguments, std::uint32_t count) {
            sendToSuper(site, self.ref(), self.data(), arguments, count);
        },
        sent...);
}
template <class Result = void, class... Sent>
Result sendOver(oops_site &site, Ref classObject, const void *data, const Sent &...sent) {
    return detail::perform<Result>(
        [&](void *const *arguments, std::uint32_t count) {
            sendStatic(site, classObject, const_cast<void *>(data), arguments, count);
        },
        sent...);
}

} // namespace oocobol
