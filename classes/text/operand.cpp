#include "classes/text/operand.h"

#include <algorithm>

namespace oocobol {

namespace {

// Nothing that the library holds is longer.
constexpr Count longestValue = 0x7FFFFFFF;

bool understands(Ref object, std::string_view message) noexcept {
    const auto *behaviour = behaviourOfObject(object);
    const auto selector = findSelector(message);
    return behaviour != nullptr && selector != 0 && lookUp(*behaviour, selector) != nullptr;
}

} // namespace

std::size_t valueCapacity(Ref object, Count claimed) noexcept {
    std::size_t held = 0;
    if (const auto *fields = fieldsOf<CollectionFields>(object))
        held = fields->storageLength;
    else if (auto *body = bodyOf(object))
        held = headerOf(body)->size;
    return std::max<std::size_t>(held, claimed);
}

Operand::Operand(Ref argument, Access access) : object(argument), seen(thread.epoch) {
    value = nativeValue(object);
    if (value.data() == nullptr) {
        take();
        return;
    }
    if (access == Access::borrowed) return;
    copy.emplace(value.size() + 1); // for the second half of a character at the end
    if (!*copy) {
        problem = raise(Error::noWorkArea);
        return;
    }
    if (!value.empty()) std::memcpy(copy->bytes(), value.data(), value.size());
    value = {copy->text().address, value.size()};
}

void Operand::take() {
    auto length = send<Count>(SITE("sizeinbytes"), object);
    if (length > longestValue) {
        problem = raise(Error::badAnswer);
        return;
    }
    copy.emplace(valueCapacity(object, length) + 1);
    if (!*copy) {
        problem = raise(Error::noWorkArea);
        return;
    }
    if (understands(object, "getvalue")) {
        send(SITE("getvalue"), object, copy->returning());
    } else if (understands(object, "getaddress")) { // it shows its bytes and does not give them
        const auto *address = send<Address>(SITE("getaddress"), object);
        if (address == nullptr) length = 0;
        if (length != 0) std::memcpy(copy->bytes(), address, length);
    } else {
        length = 0;
        send(SITE("getvalue"), object, copy->returning()); // raises what the object deserves
    }
    value = {copy->text().address, length};
}

void Operand::lookUpAgain() const noexcept {
    seen = thread.epoch;
    if (!copy && !problem) value = nativeValue(object);
}

} // namespace oocobol
