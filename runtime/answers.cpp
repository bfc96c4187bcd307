#include "runtime/answers.h"

#include <cstring>

#include "runtime/dispatch.h"

namespace oocobol {

void deliver(Failure failure, Ref self, void *body, void *returning, std::size_t width) noexcept {
    // A handler answers 8 bytes: a narrower item takes its part of a stand-in, which starts as the item is, so that a
    // handler that answers nothing changes nothing.
    alignas(8) std::byte standIn[8] = {};
    const auto narrow = returning == nullptr || width < sizeof standIn;
    if (narrow && returning != nullptr) std::memcpy(standIn, returning, width);
    void *answer = narrow ? standIn : returning;
    if (failure.isError()) {
        static constinit oops_site site = OOPS_SITE("raiseexception");
        Count number = failure.error();
        void *arguments[] = {answer, &number};
        sendToSelf(site, self, body, arguments, 2);
    } else {
        void *arguments[] = {answer};
        sendToSelf(failure.message(), self, body, arguments, 1);
    }
    if (narrow && returning != nullptr) std::memcpy(returning, standIn, width);
}

} // namespace oocobol
