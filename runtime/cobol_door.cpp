// The door for COBOL programs: everything BY REFERENCE, results through arguments, the name of a message first.
//
// A COBOL program says CALL "oosend" USING "add" list OMITTED item. The name is a literal or an item; its length comes
// from the calling program's argument list, and the lookup is remembered by its address, so the program declares
// nothing. Item i of a send reaches item i of a COBOL method: name and self, receiver and data, then the returning item
// and the arguments. That order is what lets the lengths of the caller's items reach ANY LENGTH parameters.
#include <cstdarg>
#include <cstring>

#include "host/gnucobol.h"
#include "host/host.h"
#include "oocobol/oocobol.h"
#include "runtime/dispatch.h"
#include "runtime/objects.h"

using namespace oocobol;

namespace {

// What stands in front of a send's argument addresses: the name and the receiver.
constexpr int leadingItems = 2;

std::string_view nameItem(const char *name, std::size_t index) {
    const auto size = host::gnucobol::callerArgumentSize(index);
    return nameView(name, size != 0 ? size : maximumArguments * 10);
}

// The addresses behind the receiver, as many as the program passed: at least the returning item's, if only as a null.
struct ItemList {
    void *addresses[maximumArguments] = {};
    std::uint32_t count = 1;

    ItemList(int passed, va_list rest) {
        const auto items = passed - leadingItems;
        if (items > 1)
            count = items > static_cast<int>(maximumArguments) ? maximumArguments : static_cast<std::uint32_t>(items);
        for (int i = 0; i < items && i < static_cast<int>(maximumArguments); ++i) addresses[i] = va_arg(rest, void *);
    }
};

Ref item(const void *reference) {
    Ref value;
    if (reference != nullptr) std::memcpy(&value, reference, sizeof value);
    return value;
}

void put(void *where, const void *value, std::size_t size) {
    if (where != nullptr) std::memcpy(where, value, size);
}

// In the order of the copybook's slots; new ones only at the end.
constexpr const char *copybookClasses[] = {
    "array",    "associtn", "bag",      "base",     "behavior", "bytearry", "callback", "chararry", "comp5",
    "compasoc", "compx",    "delegate", "dictinry", "entrycll", "event",    "exptnmgr", "filename", "idictnry",
    "iset",     "mcallbck", "msgfh",    "nil",      "ordrdcll", "picx",     "picx32",   "picxtoob", "recurset",
    "scomp5",   "srtdclln", "symbtab",  "systemd",  "valueset", "dbcsarry", "dbcspicx"};

} // namespace

extern "C" {

int liboocobol(void) {
    oops(2);
    return 0;
}

int ooclass(const char *class_program, void *class_object) {
    const auto found = classForProgram(nameItem(class_program, 0));
    put(class_object, &found, sizeof found);
    return 0;
}

int ooclasses(void *slots) {
    constexpr std::size_t all = sizeof copybookClasses / sizeof *copybookClasses;
    const auto size = host::gnucobol::callerArgumentSize(0) / sizeof(Ref);
    const auto count = size != 0 && size < all ? size : all;
    for (std::size_t i = 0; i < count; ++i) {
        const auto found = classForProgram(copybookClasses[i]);
        put(static_cast<std::byte *>(slots) + i * sizeof found, &found, sizeof found);
    }
    return 0;
}

int oosend(const char *name, const void *receiver, ...) {
    const auto passed = host::gnucobol::callerArgumentCount();
    const auto length = host::gnucobol::callerArgumentSize(0);
    const host::gnucobol::SenderScope scope(passed);
    va_list rest;
    va_start(rest, receiver);
    const ItemList list(passed, rest);
    va_end(rest);
    sendByLiteral(item(receiver), name, length, list.addresses, list.count);
    return 0;
}

int oofinalize(void *reference) {
    const host::gnucobol::SenderScope scope;
    static constinit oops_site site = OOPS_SITE("finalize");
    Ref answer;
    void *arguments[] = {&answer};
    send(item(reference), site, arguments, 1);
    put(reference, &answer, sizeof answer);
    return 0;
}

int oolive(const void *reference, void *flag) {
    const unsigned char live = isLive(item(reference)) ? 1 : 0;
    put(flag, &live, sizeof live);
    return 0;
}

int oocount(const void *class_object, void *count) {
    ensureStarted();
    const auto found = countInstances(item(class_object));
    put(count, &found, sizeof found);
    return 0;
}

int ooattach(const void *return_code) {
    host::attachReturnCode(static_cast<const std::int32_t *>(return_code));
    return 0;
}

} // extern "C"
