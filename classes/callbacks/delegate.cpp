// Delegate manager: which object stands in for another when that one does not understand a message.
//
// One registry for the process, keyed by identity. It lets go of an object that is finalized, and of a delegate that
// has been; a new object can meet neither, because references are never used again. Its mutex is held while the
// registry is looked at or changed, and given up like a component's.
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "delegate";

struct [[gnu::packed]] ClassData {
    Ref registry; // identity dictionary; null until the first delegate
};
using ClassSelf = ClassSide<ClassData>;

class Hold {
public:
    Hold() noexcept : hold(mutex()) {}

private:
    static host::MutexHandle mutex() {
        static const auto handle = host::openMutex(host::MutexKind::component);
        return handle;
    }
    host::YieldingHold hold;
};

// adddelegatefor (object, delegate). Replaces an earlier one. Dead references raise 106.
Answer<void> addDelegateFor(ClassSelf self, Ref object, Ref delegate) {
    constexpr Index capacity = 100;
    if ((object && !isLive(object)) || (delegate && !isLive(delegate))) return raise(Error::staleReference);
    const auto dictionaryClass = CLASS("idictnry"), associationClass = CLASS("associtn");
    const Hold hold;
    if (!self->registry) {
        const auto made = send<Ref>(SITE("ofvalues"), dictionaryClass, associationClass, capacity);
        keepForLibrary(made);
        self->registry = made;
    }
    send(SITE("atput"), self->registry, object, delegate);
    watchObject(object);
    return {};
}

void removeEntry(Ref registry, Ref object) {
    if (send<Ref>(SITE("atornil"), registry, object)) send(SITE("removekey"), registry, object);
}

// remove (object). Nothing happens when it has none.
void removeDelegate(ClassSelf self, Ref object) {
    const Hold hold;
    if (self->registry) removeEntry(self->registry, object);
}

// getdelegatefor (object) -> object, null when it has none (any more).
Ref getDelegateFor(ClassSelf self, Ref object) {
    const Hold hold;
    if (!self->registry) return null;
    const auto delegate = send<Ref>(SITE("atornil"), self->registry, object);
    if (!delegate || isLive(delegate)) return delegate;
    removeEntry(self->registry, object);
    return null;
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
