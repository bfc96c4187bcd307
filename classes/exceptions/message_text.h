// Messages of the library's own file, as objects.
#pragma once

#include "runtime/module.h"

namespace oocobol {

// The text of message `number` of set 2 from a base message file handler, with up to three inserts; a new character
// array, the caller's to finalize. Null inserts end the list.
inline Ref baseMessage(Ref handler, Index number, Ref first = null, Ref second = null, Ref third = null) {
    constexpr Index set = 2;
    auto &site = SITE("getmessage");
    if (!first) return send<Ref>(site, handler, set, number);
    if (!second) return send<Ref>(site, handler, set, number, first);
    if (!third) return send<Ref>(site, handler, set, number, first, second);
    return send<Ref>(site, handler, set, number, first, second, third);
}

} // namespace oocobol
