// Calls code at an address with a list of addresses whose length is known only at run time.
//
// The call is made as a variadic one: on the platforms we run on that serves functions with fixed and with variable
// parameter lists alike, and addresses behind the last parameter do no harm. Longer lists go through the stack, so
// short ones have a call of their own.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>

namespace oocobol::host {

inline constexpr std::size_t invokeLimit = 18;

template <class Result, std::size_t... Index>
Result invokeWith(void *entry, void *const *arguments, std::size_t count, std::index_sequence<Index...>) {
    const auto code = reinterpret_cast<Result (*)(void *, ...)>(entry);
    return code((Index < count ? arguments[Index] : nullptr)...);
}

// Null addresses follow the `count` given ones, up to one of three fixed lengths; `full` makes it the longest.
template <class Result> Result invoke(void *entry, void *const *arguments, std::size_t count, bool full = false) {
    count = std::min(count, invokeLimit);
    if (full || count > 10) return invokeWith<Result>(entry, arguments, count, std::make_index_sequence<invokeLimit>());
    if (count > 6) return invokeWith<Result>(entry, arguments, count, std::make_index_sequence<10>());
    return invokeWith<Result>(entry, arguments, count, std::make_index_sequence<6>());
}

} // namespace oocobol::host
