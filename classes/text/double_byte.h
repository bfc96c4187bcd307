// The road to the class for text with double-byte characters. Until the environment is known to have single bytes
// only, text that arrives is looked at, and text that has such characters is handed over.
#pragma once

#include "host/host.h"
#include "runtime/module.h"

namespace oocobol::doubleByte {

// The process-wide byte that `readyforapplicationstart` sets: 0 not known yet, 1 single-byte, 2 double-byte.
inline bool isSingleByteEnvironment() noexcept {
    static const auto *const status = host::externalByte("DBCSENVIRONMENTSTATUS");
    return status != nullptr && __atomic_load_n(status, __ATOMIC_RELAXED) == 1;
}

inline Ref textClass() noexcept { return CLASS("dbcsarry"); }

// Whether that class can tell what double-byte characters are.
inline bool areKnown() noexcept {
    static const bool known = [] {
        const auto *family = familyOfClass(textClass());
        const auto selector = findSelector("isdbcsstringlengthvalue");
        return family != nullptr && selector != 0 && family->methods(true).find(selector) != nullptr;
    }();
    return known;
}

// Whether text has to be looked at.
inline bool mayOccur() noexcept { return !isSingleByteEnvironment() && areKnown(); }

// Whether such characters are among the first `count` characters; within `length` bytes.
inline bool amongCharacters(Index count, Bytes value) {
    return mayOccur() && send<bool>(SITE("isdbcsstringlengthvalue"), textClass(), count, value);
}
inline bool amongBytes(Index length, Bytes value) {
    return mayOccur() && send<bool>(SITE("isdbcsstringbytelengthvalue"), textClass(), length, value);
}
// Whether an object says that it holds some.
inline bool areIn(Ref object) { return mayOccur() && send<bool>(SITE("containsdbcscharacters"), object); }

// The bytes that the first `count` characters take; the bytes of the character at the start.
inline Index lengthInBytes(Bytes value, Index count) {
    return mayOccur() ? send<Index>(SITE("stringlengthinbytes"), textClass(), value, count) : count;
}
inline Count characterLength(Bytes character) {
    return mayOccur() ? send<Count>(SITE("charlengthinbytes"), textClass(), character) : 1;
}

} // namespace oocobol::doubleByte

namespace oocobol {

// Self turns into the replacement, whose reference is finalized with what self was before.
inline void turnInto(const Receiver &self, Ref replacement) {
    const Temporary former(replacement);
    if (replacement) sendSelf(SITE("becomes"), self, replacement);
}

} // namespace oocobol
