#include "classes/callbacks/use.h"

#include <atomic>
#include <cstddef>
#include <sys/single_threaded.h>

namespace oocobol {

namespace {

// The fields are packed, but this one is aligned all the same: several threads may count in it.
std::atomic_ref<Count> activeOf(EntryCallbackFields &fields) noexcept {
    constexpr auto offset = offsetof(EntryCallbackFields, active);
    static_assert(offset % std::atomic_ref<Count>::required_alignment == 0);
    return std::atomic_ref(*reinterpret_cast<Count *>(reinterpret_cast<std::byte *>(&fields) + offset));
}
std::atomic_ref<Flag> pendingOf(EntryCallbackFields &fields) noexcept {
    return std::atomic_ref(fields.finalizePending);
}

void add(std::atomic_ref<Count> count, Count change) noexcept {
    if (__libc_single_threaded != 0)
        count.store(count.load(std::memory_order_relaxed) + change, std::memory_order_relaxed);
    else
        count += change;
}

// Whose body that is now, when the callback has changed places with another object.
Ref ownerOf(const std::byte *body) noexcept {
    Ref owner{};
    forEachObject([&](Ref object, std::uint32_t, std::uint32_t) {
        if (bodyOf(object) == body) owner = object;
    });
    return owner;
}

} // namespace

Use::Use(Ref used, EntryCallbackFields *fields) noexcept
    : callback(fields != nullptr ? used : null), body(reinterpret_cast<std::byte *>(fields)) {
    if (fields != nullptr) add(activeOf(*fields), 1);
}

EntryCallbackFields *Use::fieldsNow() noexcept {
    const auto *now = bodyOf(callback);
    if (now == nullptr || now == body) return reinterpret_cast<EntryCallbackFields *>(const_cast<std::byte *>(now));
    callback = ownerOf(body);
    return changeableFields<EntryCallbackFields>(callback);
}

Ref Use::end() noexcept {
    auto *fields = fieldsNow();
    if (fields == nullptr) return null;
    const auto active = activeOf(*fields);
    if (active == 0) return null; // it was initialized anew
    add(active, static_cast<Count>(-1));
    if (active != 0 || fields->finalizePending == 0) return null;
    return pendingOf(*fields).exchange(0) != 0 ? callback : null;
}

bool isInUse(const EntryCallbackFields &fields) noexcept {
    return activeOf(const_cast<EntryCallbackFields &>(fields)) != 0;
}

// A use on another thread may end in between: one of the two sees what the other did.
bool mayEnd(EntryCallbackFields &fields) noexcept {
    if (!isInUse(fields)) return true;
    pendingOf(fields) = 1;
    return !isInUse(fields) && pendingOf(fields).exchange(0) != 0;
}

} // namespace oocobol
