// Delegate manager: which object stands in for another when that one does not understand a message.
//
// One registry for the process, keyed by identity. A delegate of an object that has been finalized since can not be
// met by a new object: references are never used again.
#include <mutex>

#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "delegate";

struct [[gnu::packed]] ClassData {
    Ref registry; // identity dictionary; null until the first delegate
};
using ClassSelf = ClassSide<ClassData>;

std::recursive_mutex registryLock;

// adddelegatefor (object, delegate). Replaces an earlier one.
void addDelegateFor(ClassSelf self, Ref object, Ref delegate) {
    constexpr Index capacity = 100;
    const std::lock_guard guard(registryLock);
    if (!self->registry) {
        const auto made = send<Ref>(SITE("ofvalues"), CLASS("idictnry"), CLASS("associtn"), capacity);
        keepForLibrary(made);
        self->registry = made;
    }
    send(SITE("atput"), self->registry, object, delegate);
}

// remove (object). Nothing happens when it has none.
void removeDelegate(ClassSelf self, Ref object) {
    const std::lock_guard guard(registryLock);
    if (!self->registry) return;
    if (send<Ref>(SITE("atornil"), self->registry, object)) send(SITE("removekey"), self->registry, object);
}

// getdelegatefor (object) -> object, null when it has none.
Ref getDelegateFor(ClassSelf self, Ref object) {
    const std::lock_guard guard(registryLock);
    return self->registry ? send<Ref>(SITE("atornil"), self->registry, object) : null;
}

constexpr std::array methods{
    onClass<addDelegateFor>("adddelegatefor"),
    onClass<removeDelegate>("remove"),
    onClass<getDelegateFor>("getdelegatefor"),
};

constexpr ClassDef definition{.program = program,
                              .name = "delegatemanager",
                              .super = "base",
                              .classData = fields<ClassData, 8>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
