#include "classes/callbacks/use.h"

namespace oocobol {

namespace {

// Whose body that is now; null when it is nobody's.
Ref ownerOf(const std::byte *body) noexcept {
    Ref owner{};
    forEachObject([&](Ref object, std::uint32_t, std::uint32_t) {
        if (bodyOf(object) == body) owner = object;
    });
    return owner;
}

} // namespace

std::byte *Use::findAgain() noexcept {
    if (!isLive(callback)) return nullptr;
    callback = ownerOf(body);
    return reinterpret_cast<std::byte *>(changeableFields<EntryCallbackFields>(callback));
}

bool Use::takePending(EntryCallbackFields &fields) noexcept { return pendingOf(fields).exchange(0) != 0; }

bool isInUse(const EntryCallbackFields &fields) noexcept {
    return Use::activeOf(const_cast<EntryCallbackFields &>(fields)) != 0;
}

// A use on another thread may end in between: one of the two sees what the other did.
bool mayEnd(EntryCallbackFields &fields) noexcept {
    if (!isInUse(fields)) return true;
    Use::pendingOf(fields) = 1;
    return !isInUse(fields) && Use::takePending(fields);
}

} // namespace oocobol
