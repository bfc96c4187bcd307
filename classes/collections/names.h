// Names of 32 characters, as the registries of named objects have them for keys.
#pragma once

#include "runtime/module.h"

namespace oocobol {

struct NameKey {
    static constexpr std::size_t width = 32;
    char bytes[width + 1]; // and a null byte, no part of the key

    NameKey() : bytes{} {}
    // Up to the null byte, which may count as part of the key, or 32 characters; padded with spaces.
    NameKey(Bytes name, bool withTerminator) {
        auto length = strnlen(name.address, width);
        if (withTerminator && length < width) ++length;
        std::memset(bytes, ' ', width);
        bytes[width] = '\0';
        std::memcpy(bytes, name.address, length);
    }
    // Up to the space or null byte, or 32 characters; padded with spaces.
    explicit NameKey(Name name) {
        const auto view = name.view(width);
        std::memset(bytes, ' ', width);
        bytes[width] = '\0';
        std::memcpy(bytes, view.data(), view.size());
    }
    // The characters without the padding, which a key of that kind has only at its end.
    std::string_view view() const { return nameView(bytes, width); }
    Element element() const { return {reinterpret_cast<const std::byte *>(bytes)}; }
};

} // namespace oocobol
