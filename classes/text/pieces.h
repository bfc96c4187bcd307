// Texts taken apart: a list with an object for each piece.
#pragma once

#include <string_view>

#include "classes/collections/appending.h"

namespace oocobol {

// As deepfinalize does, which needs memory for it.
inline void finalizeWithPieces(Ref list) {
    for (auto i = send<Index>(SITE("size"), list); i > 0; --i) finalizeLive(send<Ref>(SITE("at"), list, i));
    send<Ref>(SITE("finalize"), list);
}

// An ordered collection of what make() makes of each piece that next() answers, up to an empty one. When memory is
// short there is no list, and what has been made is gone again.
template <class Make, class Next> Answer<Ref> listOfPieces(Index capacity, Make make, Next next) {
    const auto list = send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), capacity);
    if (!list) return null;
    Count size = 0;
    for (std::string_view piece = next(); !piece.empty(); piece = next()) {
        const Answer<Ref> made = make(piece);
        ++size;
        if (made.value && appendReference(list, made.value)) continue;
        if (made.value) send(SITE("add"), list, made.value);
        if (made.value && send<Count>(SITE("size"), list) == size) continue;
        if (made.value) send<Ref>(SITE("finalize"), made.value);
        finalizeWithPieces(list);
        if (made.failure) return made.failure;
        return null; // whoever could not do it has raised it
    }
    return list;
}

} // namespace oocobol
