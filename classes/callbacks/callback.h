// What the callback classes share: the fields, and how an invocation's argument list is built.
#pragma once

#include "runtime/module.h"

namespace oocobol {

inline constexpr std::size_t callbackNameWidth = 81;
inline constexpr Count storedArguments = 6; // at most, at creation
inline constexpr Count invokeArguments = 9; // at most, at each invocation
// What `invoke` takes: one more than it may have, which is refused.
using Brought = Areas<invokeArguments + 1>;
inline constexpr std::size_t listLength = 15; // of an invocation's argument list

struct [[gnu::packed]] EntryCallbackFields {
    std::uint64_t lock; // handle of the mutex; 0 until the first invocation
    Flag finalizePending;
    char name[callbackNameWidth];
    std::uint64_t parameters[storedArguments];
    Count parameterCount;
    bool entryIsCobol, entryIsWide; // see `entry`; here they align what follows
    Count active;                   // invocations in progress, see use.h
    // Where the entry was found the last time, for as long as no entry has been registered or withdrawn since.
    host_entry entry;
    std::uint64_t entryVersion;
    Flag owned; // made by the library for the component that holds it
};

struct [[gnu::packed]] CallbackFields : EntryCallbackFields {
    Ref receiver; // null when the first argument of each invocation is the receiver
    std::uint32_t methodCache;
    std::uint32_t methodCacheRest;
    std::uint32_t secondCacheWord;
};

// The name fields take names of up to 79 characters; a longer one is replaced by a text that nothing is named.
inline constexpr std::size_t longestCallbackName = 79;

// What of the bytes there is the name: up to a space, of either width, or a null byte, and `callbackNameWidth` at most.
std::string_view upToSpaceOrNull(Name name) noexcept;

// Stores the 8-byte values behind the addresses, up to the first one left out.
inline void storeParameters(EntryCallbackFields &fields, std::initializer_list<Optional<std::uint64_t>> given) {
    fields.parameterCount = 0;
    for (const auto &value : given) {
        if (!value || fields.parameterCount == storedArguments) break;
        fields.parameters[fields.parameterCount++] = *value;
    }
}

// The argument list of one invocation: the stored values first, then what the invocation brought, in order. The
// stored values travel as copies, so that no address inside the callback leaves it; what the invoked code changes in
// them is stored back.
class ArgumentList {
public:
    explicit ArgumentList(const EntryCallbackFields &fields) : stored(fields.parameterCount) {
        detail::clearSteps(reinterpret_cast<std::byte *>(addresses), sizeof addresses / detail::bodyStep);
        if (stored > storedArguments) stored = storedArguments;
        for (Count i = 0; i < stored; ++i) {
            values[i] = before[i] = fields.parameters[i];
            addresses[count++] = &values[i];
        }
    }

    void append(Area argument) {
        if (argument) addresses[count++] = argument.address;
    }
    // Those from `first` on. Most invocations bring one or two.
    void appendFrom(std::size_t first, const Brought &brought) {
        auto last = std::size_t{invokeArguments};
        while (last > first && !brought[last - 1]) --last;
        for (auto i = first; i < last; ++i) append(brought[i]);
    }
    // The list with the returning item's address in front: what a send takes.
    void *const *forSend(void *returning) {
        addresses[0] = returning;
        return addresses;
    }
    void *const *forEntry() const { return addresses + 1; }

    template <class Self> void storeBack(const Self &self) const {
        for (Count i = 0; i < stored; ++i) {
            if (values[i] != before[i]) self->parameters[i] = values[i];
        }
    }

private:
    static_assert(storedArguments + invokeArguments <= listLength);
    alignas(16) void *addresses[1 + listLength];
    Count stored;
    Count count = 1;                       // the returning item's stands in front
    std::uint64_t values[storedArguments]; // as many as are stored
    std::uint64_t before[storedArguments];
};

} // namespace oocobol
