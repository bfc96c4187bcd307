// What the library's own `hash` makes of an element's bytes, for tables of values that would otherwise run the
// template's method over the bytes of each.
//
// Elements of one such template are equal exactly when their bytes are.
#pragma once

#include <cstddef>

#include "classes/intrinsics/numbers.h"
#include "classes/text/text_algorithms.h"

namespace oocobol {

enum class ElementHash : Flag { none, text, number, bigEndianNumber };

// What `hash` of the library makes of this template's items; none for a template whose items say themselves.
ElementHash elementHashOf(Ref elementTemplate) noexcept;

// Whether items of this behaviour still hash and compare by the library's methods.
inline bool areNativeElements(const Behaviour &items) noexcept {
    return isPristine(items, {"hash", "equalbylengthvalue", "sizeinbytes"});
}

inline Count hashElement(ElementHash how, const std::byte *bytes, std::size_t width) noexcept {
    switch (how) {
    case ElementHash::text:
        return hashText({reinterpret_cast<const char *>(bytes), width});
    case ElementHash::number:
        return hashNumber(nativeNumber(bytes, width));
    case ElementHash::bigEndianNumber:
        return hashNumber(bigEndianNumber(bytes, width));
    case ElementHash::none:
        break;
    }
    return 0;
}

// How many bytes the template's items have now; 0 for what is no class of items. An area that its methods run over
// must not be shorter.
inline std::size_t itemWidth(Ref elementTemplate) noexcept {
    const auto *data = classDataOf<IntrinsicClassData>(elementTemplate);
    return data != nullptr ? data->length : 0;
}

// An element for the methods of its template: the caller's, or a copy that is as long as they take an element to be.
class ElementBytes {
public:
    ElementBytes(const std::byte *given, std::size_t size, Ref elementTemplate) noexcept
        : address(given), longer(itemWidth(elementTemplate) > size ? itemWidth(elementTemplate) : 0) {
        if (longer.size() == 0 || !longer) return;
        std::memcpy(longer.bytes(), given, size);
        address = longer.bytes();
    }
    explicit operator bool() const { return static_cast<bool>(longer); }
    const std::byte *bytes() const { return address; }

private:
    const std::byte *address;
    WorkArea longer;
};

// Runs the template's `display` over an element's bytes.
Answer<void> displayItem(Ref itemTemplate, const std::byte *bytes, std::size_t size) noexcept;

} // namespace oocobol
