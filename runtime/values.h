// The closed list of what a message carries, and how each kind gets out of and into the data items behind its
// address. Items need not be aligned; a null address is an omitted argument.
//
//   Ref, Index, Count, Flag, bool, other numbers   an item of that size; omitted: null or 0
//   Address                                        an item that holds an address
//   Element                                        an element area of the size that only the collection knows
//   Bytes                                          a buffer whose length comes from elsewhere
//   Name                                           text that ends at a space or null byte
//   Area                                           an area to be filled; may be omitted
//   Returning                                      the returning item, where its length is not fixed by a type
//   InOut<T>                                       an item that is read and written
//   Optional<T>                                    any of these, when omitting it means something
//   Areas<n>                                       the last n arguments, each an area that may be omitted
//
// Omitting an Element, Bytes, Name or InOut that is not Optional raises 33 before the method runs.
#pragma once

#include <cstring>
#include <string_view>
#include <type_traits>

#include "runtime/selectors.h"
#include "runtime/types.h"

namespace oocobol {

using Address = void *;

struct Element {
    const std::byte *address = nullptr;
};
struct Bytes {
    const char *address = nullptr;
};
struct Name {
    const char *address = nullptr;
    // Up to the terminator, or the first `limit` bytes when there is none among them; nothing beyond is read.
    std::string_view view(std::size_t limit = longestName) const { return nameView(address, limit); }
};
struct Area {
    std::byte *address = nullptr;
    explicit operator bool() const { return address != nullptr; }
    void store(const void *from, std::size_t size) const {
        if (address != nullptr && size != 0) std::memmove(address, from, size);
    }
    template <class T> void put(const T &value) const { store(&value, sizeof value); }
};
struct Returning : Area {};

template <std::size_t number> struct Areas {
    static constexpr std::size_t count = number;
    void *const *addresses;
    Area operator[](std::size_t at) const { return {static_cast<std::byte *>(addresses[at])}; }
};

template <class T> class InOut {
public:
    explicit InOut(void *item) : address(item) {}
    T get() const {
        T value{};
        std::memcpy(&value, address, sizeof value);
        return value;
    }
    void set(const T &value) const { std::memcpy(address, &value, sizeof value); }
    void *address;
};

template <class T> struct Optional {
    T value{};
    bool given = false;
    explicit operator bool() const { return given; }
    const T &operator*() const { return value; }
    const T *operator->() const { return &value; }
};

struct Omitted {};
inline constexpr Omitted omitted{};

namespace detail {

template <class T>
inline constexpr bool byAddress = std::is_same_v<T, Element> || std::is_same_v<T, Bytes> || std::is_same_v<T, Name> ||
                                  std::is_same_v<T, Area> || std::is_same_v<T, Returning>;
template <class T> struct IsInOut : std::false_type {};
template <class T> struct IsInOut<InOut<T>> : std::true_type {};
template <class T> struct IsOptional : std::false_type {};
template <class T> struct IsOptional<Optional<T>> : std::true_type {};

template <class T> struct IsAreas : std::false_type {};
template <std::size_t number> struct IsAreas<Areas<number>> : std::true_type {};
// How many arguments a parameter stands for.
template <class T> constexpr std::size_t argumentsOf() {
    if constexpr (IsAreas<T>::value)
        return T::count;
    else
        return 1;
}

// Whether the method cannot run without this argument.
template <class T>
inline constexpr bool isRequired =
    std::is_same_v<T, Element> || std::is_same_v<T, Bytes> || std::is_same_v<T, Name> || IsInOut<T>::value;

// From the address of an argument to the value that the method takes.
template <class T> struct Load {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= 16);
    static T from(void *item) {
        if constexpr (std::is_same_v<T, bool>) {
            return item != nullptr && *static_cast<const Flag *>(item) != 0;
        } else {
            T value{};
            if (item != nullptr) std::memcpy(&value, item, sizeof value);
            return value;
        }
    }
};
template <class T>
requires byAddress<T>
struct Load<T> {
    static T from(void *item) {
        T value;
        value.address = static_cast<decltype(value.address)>(item);
        return value;
    }
};
template <class T> struct Load<InOut<T>> {
    static InOut<T> from(void *item) { return InOut<T>(item); }
};
template <class T> struct Load<Optional<T>> {
    static Optional<T> from(void *item) { return {Load<T>::from(item), item != nullptr}; }
};

// The same, from where the argument's address stands in the list.
template <class T> T loadFrom(void *const *argument) {
    if constexpr (IsAreas<T>::value)
        return {argument};
    else
        return Load<T>::from(*argument);
}

// From a value that is sent to the address that travels.
template <class T> void *addressOf(const T &value) {
    if constexpr (std::is_same_v<T, Omitted> || std::is_null_pointer_v<T>)
        return nullptr;
    else if constexpr (byAddress<T>)
        return const_cast<void *>(static_cast<const void *>(value.address));
    else if constexpr (IsInOut<T>::value)
        return value.address;
    else if constexpr (IsOptional<T>::value)
        return value.given ? addressOf(value.value) : nullptr;
    else if constexpr (std::is_array_v<T>) // a literal: text that ends with its null byte
        return const_cast<void *>(static_cast<const void *>(value));
    else
        return const_cast<void *>(static_cast<const void *>(&value));
}

} // namespace detail
} // namespace oocobol
