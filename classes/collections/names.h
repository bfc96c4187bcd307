// Names of 32 characters, as the registries of named objects have them for keys.
#pragma once

#include "runtime/module.h"

namespace oocobol {

struct NameKey {
    static constexpr std::size_t width = 32;
    char bytes[width];

    // Up to the null byte, which may count as part of the key, or 32 characters; padded with spaces.
    NameKey(Bytes name, bool withTerminator) {
        auto length = strnlen(name.address, width);
        if (withTerminator && length < width) ++length;
        std::memset(bytes, ' ', width);
        std::memcpy(bytes, name.address, length);
    }
    Element element() const { return {reinterpret_cast<const std::byte *>(bytes)}; }
};

} // namespace oocobol
