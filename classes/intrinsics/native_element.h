// What the library's own `hash` makes of an element's bytes, as a plain function: for tables of values that would
// otherwise run the template's method over the bytes of each.
//
// Elements of one such template are equal exactly when their bytes are.
#pragma once

#include <cstddef>

#include "classes/intrinsics/intrinsic.h"

namespace oocobol {

using ElementHash = Count (*)(const std::byte *bytes, std::size_t width) noexcept;

// For elements of `width` bytes. Null where `hash` or `equalbylengthvalue` is not the library's, or the template's
// items are not that long: then the messages must be sent.
ElementHash nativeElementHash(Ref elementTemplate, std::size_t width) noexcept;

// How many bytes the template's items have now; 0 for what is no class of items. An area that its methods run over
// must not be shorter.
inline std::size_t itemWidth(Ref elementTemplate) noexcept {
    const auto *data = classDataOf<IntrinsicClassData>(elementTemplate);
    return data != nullptr ? data->length : 0;
}

} // namespace oocobol
