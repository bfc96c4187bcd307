// Recursive set: which objects a thread is inside of just now, so that a walk over objects notices when it comes back
// to one. Callers use the class methods.
//
// Most threads never need more than the few references of a `display`, so a thread keeps them natively. Its instance,
// with an identity set in it, is made when somebody asks for it by `getset`; from then on that holds the members.
// Threads share nothing here, and what a thread made goes when it ends.
#include <algorithm>
#include <vector>

#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "recurset";

struct [[gnu::packed]] Fields {
    Ref visited;         // an identity set, null until it is first needed
    std::uint64_t mutex; // never opened: an instance is one thread's
};

using Self = Instance<Fields>;
using ClassSelf = Receiver;

constexpr Index usualSize = 50;

struct ThreadMembers {
    std::vector<Ref> visited; // while there is no instance
    Ref instance{};
};
thread_local ThreadMembers members;

// ---- The class: this thread's set ---------------------------------------------------------------------------------

// initializeclass ().
void initializeClass(ClassSelf self) { sendSuper(SUPER("initializeclass"), self); }

void endThread(void *) {
    const auto instance = members.instance;
    members.instance = null;
    if (!isLive(instance)) return;
    if (const auto *fields = fieldsOf<Fields>(instance); fields != nullptr && isLive(fields->visited))
        send<Ref>(SITE("finalize"), Ref{fields->visited});
    send<Ref>(SITE("finalize"), instance);
}

// getset () -> this thread's instance.
Ref threadSet(ClassSelf self) {
    if (isLive(members.instance)) return members.instance;
    const auto made = sendSelf<Ref>(SITE("new"), self);
    if (!made) return null;
    keepForLibrary(made);
    host::atThreadExit(endThread, nullptr);
    members.instance = made;
    for (const auto object : members.visited) send(SITE("add"), made, object);
    members.visited.clear();
    return made;
}

// Whether this thread's members are still kept natively: for the class itself, not for one made below it.
bool isNative(const ClassSelf &self) { return !isLive(members.instance) && self.ref() == CLASS("recurset"); }

Ref setOf(const ClassSelf &self) { return sendSelf<Ref>(SITE("getset"), self); }

auto position(Ref object) { return std::find(members.visited.begin(), members.visited.end(), object); }

// add (object).
void addToThread(ClassSelf self, Ref object) {
    if (!isNative(self)) return send(SITE("add"), setOf(self), object);
    if (position(object) == members.visited.end()) members.visited.push_back(object);
}

// remove (object). Raises 12 when it is not a member.
Answer<void> removeFromThread(ClassSelf self, Ref object) {
    if (!isNative(self)) {
        send(SITE("remove"), setOf(self), object);
        return {};
    }
    const auto found = position(object);
    if (found == members.visited.end()) return raise(Error::notFound);
    members.visited.erase(found);
    return {};
}

// includes (object) -> flag.
bool includesInThread(ClassSelf self, Ref object) {
    if (!isNative(self)) return send<bool>(SITE("includes"), setOf(self), object);
    return position(object) != members.visited.end();
}

// ---- Instances ----------------------------------------------------------------------------------------------------

// getset () -> identity set.
Ref visitSet(Self self) {
    if (isLive(self->visited)) return self->visited;
    const auto made = send<Ref>(SITE("ofreferences"), CLASS("iset"), usualSize);
    keepForLibrary(made);
    self->visited = made;
    return made;
}

// add, remove (object). includes (object) -> flag.
void add(Self self, Ref object) { send(SITE("add"), sendSelf<Ref>(SITE("getset"), self), object); }
void remove(Self self, Ref object) { send(SITE("remove"), sendSelf<Ref>(SITE("getset"), self), object); }
bool includes(Self self, Ref object) {
    return send<bool>(SITE("includes"), sendSelf<Ref>(SITE("getset"), self), object);
}

constexpr std::array methods{
    onClass<initializeClass>("initializeclass"),
    onClass<threadSet>("getset"),
    onClass<addToThread>("add"),
    onClass<removeFromThread>("remove"),
    onClass<includesInThread>("includes"),
    instance<visitSet>("getset"),
    instance<add>("add"),
    instance<remove>("remove"),
    instance<includes>("includes"),
};

constexpr ClassDef definition{.program = program,
                              .name = "recursiveset",
                              .super = "base",
                              .classData = inheritedFields(16),
                              .instanceData = fields<Fields, 16>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
