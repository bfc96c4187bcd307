// How the items of a COBOL program's CALL are read: all of them by reference, any of them omitted.
#pragma once

#include <cstdarg>
#include <cstring>

#include "host/gnucobol.h"
#include "runtime/selectors.h"
#include "runtime/types.h"

namespace oocobol {

// What stands in front of a send's argument addresses: the name and the receiver.
inline constexpr int leadingItems = 2;

inline constexpr std::size_t longestNameItem = 160;

// The value of an item; zero when it is omitted.
template <class Value> Value item(const void *address) {
    Value value{};
    if (address != nullptr) std::memcpy(&value, address, sizeof value);
    return value;
}

inline void put(void *where, const void *value, std::size_t size) {
    if (where != nullptr) std::memcpy(where, value, size);
}

// A name or a literal, as far as the calling program says that it goes.
inline std::string_view nameItem(const char *name, int index) {
    const auto size = host::gnucobol::CallerArguments().size(index);
    return nameView(name, size != 0 ? size : longestNameItem);
}

// The addresses behind the receiver, as many as the program passed: at least the returning item's, if only as a null.
struct ItemList {
    void *addresses[maximumArguments];
    std::uint32_t count;

    ItemList(int passed, va_list rest) {
        const auto items = passed - leadingItems;
        count = items > static_cast<int>(maximumArguments) ? maximumArguments : static_cast<std::uint32_t>(items);
        if (items < 1) {
            addresses[0] = nullptr;
            count = 1;
            return;
        }
        for (std::uint32_t i = 0; i < count; ++i) addresses[i] = va_arg(rest, void *);
    }
};

} // namespace oocobol
