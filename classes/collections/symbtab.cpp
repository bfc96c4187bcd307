// Symbol table: a dictionary from names of 32 characters to objects, which also takes names that end at a null byte.
// The null byte is part of the key then.
#include <atomic>

#include "classes/collections/dictionary.h"
#include "classes/collections/names.h"

namespace oocobol {
namespace {

constexpr char program[] = "symbtab";

using Self = Instance<DictionaryFields>;
using ClassSelf = Receiver;

// One class for the associations of all tables, made on first use; of two threads, the first one's.
Ref associationClass() {
    static std::atomic<std::uint64_t> remembered{0};
    if (const auto known = Ref{remembered.load(std::memory_order_acquire)}) return known;
    const auto key = send<Ref>(SITE("newclass"), CLASS("picx"), Index{NameKey::width});
    const auto made = key ? send<Ref>(SITE("newclass"), CLASS("associtn"), key, null) : null;
    std::uint64_t first = 0;
    if (made && !remembered.compare_exchange_strong(first, made.bits)) return Ref{first};
    return made;
}

// new () -> symbol table.
Ref create(ClassSelf self) {
    constexpr Index capacity = 5;
    const auto ofClass = associationClass();
    return ofClass ? sendSelf<Ref>(SITE("ofvalues"), self, ofClass, capacity) : null;
}

// atput (name, object). atornil (name) -> object, null when the name is unknown.
void atPut(Self self, Bytes name, Ref object) {
    sendSuper(SUPER("atput"), self, NameKey(name, true).element(), object);
}
Ref atOrNil(Self self, Bytes name) { return sendSuper<Ref>(SUPER("atornil"), self, NameKey(name, true).element()); }

constexpr std::array methods{
    onClass<create>("new"),
    instance<atPut>("atput"),
    instance<atOrNil>("atornil"),
};

constexpr ClassDef definition{.program = program, .name = "symboltable", .super = "dictinry", .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
