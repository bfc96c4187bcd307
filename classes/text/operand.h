// The argument of a message that takes another object's bytes: a text, a data item, or anything else that answers
// `sizeinbytes` and `getvalue`.
#pragma once

#include <algorithm>
#include <optional>
#include <string_view>

#include "classes/intrinsics/intrinsic.h"
#include "classes/text/mixed_text.h"
#include "classes/text/strings.h"

namespace oocobol {

// The bytes of a library text or data item whose value methods are the library's; good until the next message. Of
// anything else the address is null.
inline std::string_view nativeValue(Ref object) noexcept {
    const auto *entry = findEntry(object);
    if (entry == nullptr) return {};
    const auto &behaviour = behaviourAt(behaviourOf(entry->tag.load(std::memory_order_acquire)));
    if (behaviour.classSide || !isPristine(behaviour, {"sizeinbytes", "getvalue", "getaddress"})) return {};
    auto *data = entry->body.load(std::memory_order_relaxed);
    if (isLaidOutAs<MixedTextFields>(*behaviour.family)) return mixedBytesOf(object);
    if (isTextFamily(*behaviour.family)) return charactersOf(*reinterpret_cast<CollectionFields *>(data));
    if (isPlainItemFamily(*behaviour.family))
        return {reinterpret_cast<const char *>(data), std::min(headerOf(data)->size, classLengthOf(data))};
    return {};
}

// How large an area must be for what `getvalue` of the object stores when it claims that many bytes: the library's
// own getvalue stores what the object holds, whatever a subclass's `sizeinbytes` says.
std::size_t valueCapacity(Ref object, Count claimed) noexcept;

class Operand {
public:
    // Borrowed bytes stay where they are and are looked up at each use; copied ones may be shown to user code.
    enum class Access { borrowed, copied };

    explicit Operand(Ref object, Access access = Access::borrowed);

    // What is to be raised when the value could not be had.
    Failure failure() const noexcept { return problem; }
    // Empty once a borrowed object is gone.
    std::string_view bytes() const noexcept {
        if (seen != thread.epoch) [[unlikely]]
            lookUpAgain();
        return value;
    }
    Element element() noexcept { return copy ? copy->element() : Element{}; } // of a copied value

private:
    void take();
    void lookUpAgain() const noexcept;

    Ref object;
    mutable std::string_view value;
    mutable std::uint64_t seen;
    std::optional<WorkArea> copy;
    Failure problem;
};

} // namespace oocobol
