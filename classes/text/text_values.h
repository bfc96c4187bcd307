// Texts between objects and C++: for modules that make or read a text object now and then.
#pragma once

#include <string>
#include <string_view>

#include "runtime/module.h"

namespace oocobol {

// A new character array of these bytes, the caller's to finalize; null when memory is short.
inline Ref newText(std::string_view text) {
    const Bytes bytes{text.empty() ? "" : text.data()}; // an empty one may have no address
    return send<Ref>(SITE("withbytelengthvalue"), CLASS("chararry"), static_cast<Index>(text.size()), bytes);
}

// The bytes of any object that answers `sizeinbytes` and `getvalue`; what claims more than `limit` bytes, and what is
// null, counts as empty.
inline std::string textOf(Ref object, std::size_t limit = std::size_t{1} << 20) {
    if (object.isNull()) return {};
    const auto size = send<Count>(SITE("sizeinbytes"), object);
    if (size == 0 || size > limit) return {};
    std::string value(size, '\0');
    send(SITE("getvalue"), object, Returning{{reinterpret_cast<std::byte *>(value.data())}});
    return value;
}

} // namespace oocobol
