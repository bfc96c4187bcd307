#include "classes/intrinsics/native_element.h"

namespace oocobol {

ElementHash elementHashOf(Ref elementTemplate) noexcept {
    const auto *family = familyOfClass(elementTemplate);
    if (family == nullptr || !isPlainItemFamily(*family)) return ElementHash::none;
    if (isLaidOutAs<PicXClassData>(*family)) return ElementHash::text;
    return isLaidOutAs<CompXClassData>(*family) ? ElementHash::bigEndianNumber : ElementHash::number;
}

Answer<void> displayItem(Ref itemTemplate, const std::byte *bytes, std::size_t size) noexcept {
    const ElementBytes item(bytes, size, itemTemplate);
    if (!item) return raise(Error::noWorkArea);
    sendOver(SITE("display"), itemTemplate, item.bytes());
    return {};
}

} // namespace oocobol
