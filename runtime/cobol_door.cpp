// The door for COBOL programs: everything BY REFERENCE, results through arguments, the name of a message first.
//
// A COBOL program says CALL "oosend" USING "add" list OMITTED item. The name is a literal or an item; its length comes
// from the calling program's argument list, and the lookup is remembered by its address, so the program declares
// nothing. Item i of a send reaches item i of a COBOL method: name and self, receiver and data, then the returning item
// and the arguments. That order is what lets the lengths of the caller's items reach ANY LENGTH parameters.
#include <cstdarg>
#include <cstring>

#include "host/host.h"
#include "oocobol/oocobol.h"
#include "runtime/cobol_items.h"
#include "runtime/dispatch.h"
#include "runtime/objects.h"

using namespace oocobol;

namespace {

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
    const auto size = host::gnucobol::CallerArguments().size(0) / sizeof(Ref);
    const auto count = size != 0 && size < all ? size : all;
    for (std::size_t i = 0; i < count; ++i) {
        const auto found = classForProgram(copybookClasses[i]);
        put(static_cast<std::byte *>(slots) + i * sizeof found, &found, sizeof found);
    }
    return 0;
}

int oosend(const char *name, const void *receiver, ...) {
    const host::gnucobol::SenderScope caller;
    va_list rest;
    va_start(rest, receiver);
    const ItemList list(caller.count(), rest);
    va_end(rest);
    sendByLiteral(item<Ref>(receiver), name, caller.size(0), list.addresses, list.count);
    return 0;
}

int oofinalize(void *reference) {
    const host::gnucobol::SenderScope scope;
    static constinit oops_site site = OOPS_SITE("finalize");
    Ref answer;
    void *arguments[] = {&answer};
    send(item<Ref>(reference), site, arguments, 1);
    put(reference, &answer, sizeof answer);
    return 0;
}

int oolive(const void *reference, void *flag) {
    const unsigned char live = isLive(item<Ref>(reference)) ? 1 : 0;
    put(flag, &live, sizeof live);
    return 0;
}

int oocount(const void *class_object, void *count) {
    ensureStarted();
    const auto found = countInstances(item<Ref>(class_object));
    put(count, &found, sizeof found);
    return 0;
}

int ooattach(const void *return_code) {
    host::attachReturnCode(static_cast<const std::int32_t *>(return_code));
    return 0;
}

} // extern "C"
