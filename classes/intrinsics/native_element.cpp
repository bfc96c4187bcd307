#include "classes/intrinsics/native_element.h"

#include "classes/intrinsics/numbers.h"
#include "classes/text/text_algorithms.h"

namespace oocobol {

namespace {

Count hashAsText(const std::byte *bytes, std::size_t width) noexcept {
    return hashText({reinterpret_cast<const char *>(bytes), width});
}
Count hashAsNumber(const std::byte *bytes, std::size_t width) noexcept {
    return hashNumber(nativeNumber(bytes, width));
}
Count hashAsBigEndianNumber(const std::byte *bytes, std::size_t width) noexcept {
    return hashNumber(bigEndianNumber(bytes, width));
}

} // namespace

ElementHash nativeElementHash(Ref elementTemplate, std::size_t width) noexcept {
    constexpr Needs needs{"hash", "equalbylengthvalue", "sizeinbytes"};
    const auto *family = familyOfClass(elementTemplate);
    if (family == nullptr || !isPristine(*family->instances, needs) || !isPlainItemFamily(*family)) return nullptr;
    if (classDataOf<IntrinsicClassData>(elementTemplate)->length != width) return nullptr;
    if (isLaidOutAs<PicXClassData>(*family)) return hashAsText;
    return isLaidOutAs<CompXClassData>(*family) ? hashAsBigEndianNumber : hashAsNumber;
}

} // namespace oocobol
