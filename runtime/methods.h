// From a typed C++ function to the entry that the runtime calls.
//
// Parameter count, returning item and conversions come from the signature: `Answer<Ref> ofValues(ClassSelf self,
// Ref elementTemplate, Index size)` is a method of three parameters, the returning item included. A function whose
// second parameter is a Returning takes the returning item as an area. Self is taken by value, or by constant reference
// by functions that stand in another module than the table: there a copy would be made through memory.
#pragma once

#include <new>
#include <type_traits>
#include <utility>

#include "runtime/answers.h"
#include "runtime/classes.h"
#include "runtime/receiver.h"
#include "runtime/values.h"

namespace oocobol {

namespace detail {

template <class T> struct Answered {
    using Type = T;
    static constexpr bool mayFail = false;
};
template <class T> struct Answered<Answer<T>> {
    using Type = T;
    static constexpr bool mayFail = true;
};

template <class First = void, class...> struct FirstOf { using Type = First; };

void refuseOmitted(Ref self, void *body, void *returning, std::size_t width) noexcept;
void refuseForMemory(Ref self, void *body, void *returning, std::size_t width) noexcept;

template <auto function, class Function = decltype(function)> struct Thunk;

template <auto function, class Result, class Self, class... Parameters>
struct Thunk<function, Result (*)(Self, Parameters...)> {
    using Value = typename Answered<Result>::Type;
    static constexpr bool hasArea = std::is_same_v<typename FirstOf<Parameters...>::Type, Returning>;
    static constexpr std::size_t shift = hasArea ? 0 : 1; // where the parameters start among the addresses
    static constexpr std::size_t parameters = (argumentsOf<Parameters>() + ... + shift);
    static_assert(parameters <= maximumArguments);
    static_assert(!hasArea || std::is_void_v<Value>, "an area or a value, not both");

    static constexpr std::size_t width() {
        if constexpr (std::is_void_v<Value>)
            return 0;
        else
            return std::is_same_v<Value, bool> ? 1 : sizeof(Value);
    }

    static void entry(Ref self, void *body, void *const *arguments, const Cell *) noexcept {
        try {
            run(self, body, arguments, std::index_sequence_for<Parameters...>{});
        } catch (const std::bad_alloc &) {
            refuseForMemory(self, body, arguments[0], width());
        }
    }

    template <std::size_t... at>
    static void run(Ref self, void *body, void *const *arguments, std::index_sequence<at...>) {
        if (((isRequired<Parameters> && arguments[at + shift] == nullptr) || ...)) [[unlikely]]
            return refuseOmitted(self, body, arguments[0], width());
        if constexpr (Answered<Result>::mayFail) {
            const auto answer =
                function(std::remove_cvref_t<Self>(self, body), loadFrom<Parameters>(arguments + at + shift)...);
            if (answer.failure) [[unlikely]]
                return deliver(answer.failure, self, body, arguments[0],
                               std::is_void_v<Value> ? answer.failure.width() : width());
            if constexpr (!std::is_void_v<Value>) store(arguments[0], answer.value);
        } else if constexpr (std::is_void_v<Value>) {
            function(std::remove_cvref_t<Self>(self, body), loadFrom<Parameters>(arguments + at + shift)...);
        } else {
            store(arguments[0],
                  function(std::remove_cvref_t<Self>(self, body), loadFrom<Parameters>(arguments + at + shift)...));
        }
    }

    template <class T> static void store(void *returning, const T &value) {
        static_assert(std::is_trivially_copyable_v<T>);
        if (returning == nullptr) return;
        if constexpr (std::is_same_v<T, bool>)
            *static_cast<Flag *>(returning) = value ? 1 : 0;
        else
            std::memcpy(returning, &value, sizeof value);
    }
};

} // namespace detail

// The rows of a class's table.
template <auto function> constexpr MethodDef instance(std::string_view name) {
    using Thunk = detail::Thunk<function>;
    return {name, Thunk::entry, static_cast<std::uint8_t>(Thunk::parameters), false};
}
template <auto function> constexpr MethodDef onClass(std::string_view name) {
    using Thunk = detail::Thunk<function>;
    return {name, Thunk::entry, static_cast<std::uint8_t>(Thunk::parameters), true};
}

// A class's data: the struct that lays it out and its registered size, which must hold the struct.
template <class Fields, std::uint32_t size> constexpr DataDef fields() {
    static_assert(sizeof(Fields) <= size, "the fields do not fit the registered size");
    return {size, &layoutOf<Fields>};
}
// A class that adds no fields to its superclass's.
constexpr DataDef inheritedFields(std::uint32_t size) { return {size, nullptr}; }

} // namespace oocobol
