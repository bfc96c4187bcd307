#include "runtime/methods.h"

#include "runtime/sends.h"

namespace oocobol::detail {

void refuseOmitted(Ref self, void *body, void *returning, std::size_t width) noexcept {
    deliver(pass(SITE("invalidparameter")), self, body, returning, width);
}

void refuseForMemory(Ref self, void *body, void *returning, std::size_t width) noexcept {
    deliver(raise(Error::noWorkArea), self, body, returning, width);
}

} // namespace oocobol::detail
