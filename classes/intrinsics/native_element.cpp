#include "classes/intrinsics/native_element.h"

namespace oocobol {

ElementHash elementHashOf(Ref elementTemplate) noexcept {
    const auto *family = familyOfClass(elementTemplate);
    if (family == nullptr || !isPlainItemFamily(*family)) return ElementHash::none;
    if (isLaidOutAs<PicXClassData>(*family)) return ElementHash::text;
    return isLaidOutAs<CompXClassData>(*family) ? ElementHash::bigEndianNumber : ElementHash::number;
}

} // namespace oocobol
