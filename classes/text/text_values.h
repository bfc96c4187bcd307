// Texts between objects and C++: for modules that make or read a text object now and then.
#pragma once

#include <string>
#include <string_view>

#include "classes/text/operand.h"
#include "runtime/module.h"

namespace oocobol {

// A new character array of these bytes, the caller's to finalize; null when memory is short.
inline Ref newText(std::string_view text) {
    if (characters::counted(text).endsInHalf) { // which the message would refuse
        if (const auto made = textOfClass(CLASS("chararry"), text); made.value) return made.value;
    }
    const Bytes bytes{text.empty() ? "" : text.data()}; // an empty one may have no address
    return send<Ref>(SITE("withbytelengthvalue"), CLASS("chararry"), static_cast<Index>(text.size()), bytes);
}

// The bytes of any object that answers `sizeinbytes` and `getvalue`; what claims more than `limit` bytes, and what is
// null or cannot be had, counts as empty.
inline std::string textOf(Ref object, std::size_t limit = std::size_t{1} << 20) {
    if (object.isNull()) return {};
    const Operand value(object);
    if (value.failure() || value.bytes().size() > limit) return {};
    return std::string(value.bytes());
}

} // namespace oocobol
