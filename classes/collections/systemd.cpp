// System dictionary: the process's registry of named objects, kept by the class object. It has no instances.
//
// Any thread may use it: one lock is held around each look and each change. The objects are never its own.
#include "classes/collections/names.h"
#include "host/host.h"

namespace oocobol {
namespace {

constexpr char program[] = "systemd";

struct [[gnu::packed]] ClassData {
    Ref registry; // identity dictionary
};
using ClassSelf = ClassSide<ClassData>;

// The lock for the whole class. Acquiring it lets other threads run COBOL code meanwhile.
class Hold {
public:
    Hold() { host::acquireMutex(mutex()); }
    ~Hold() { host::releaseMutex(mutex()); }
    Hold(const Hold &) = delete;
    Hold &operator=(const Hold &) = delete;

private:
    static host::MutexHandle mutex() {
        static const auto handle = host::openMutex(host::MutexKind::names);
        return handle;
    }
};

// initializeclass (). Once: the registry stays.
void initializeClass(ClassSelf self) {
    constexpr Index capacity = 20;
    sendSuper(SUPER("initializeclass"), self);
    if (self->registry) return;
    const auto ofClass = send<Ref>(SITE("newclass"), CLASS("associtn"), CLASS("picx32"), null);
    const auto made = send<Ref>(SITE("ofvalues"), CLASS("idictnry"), ofClass, capacity);
    keepForLibrary(made);
    self->registry = made;
}

// new (). Not for this class.
Answer<Ref> create(ClassSelf) { return pass(SITE("shouldnotimplement")); }

// atput (key, object). at (key) -> object, null when the key is unknown. removekey (key). Nothing happens when the key
// is unknown.
void atPut(ClassSelf self, Element key, Ref object) {
    const Hold hold;
    send(SITE("atput"), self->registry, key, object);
}
Ref at(ClassSelf self, Element key) {
    const Hold hold;
    return send<Ref>(SITE("atornil"), self->registry, key);
}
void removeKey(ClassSelf self, Element key) {
    const Hold hold;
    if (send<bool>(SITE("includeskey"), self->registry, key)) send(SITE("removekey"), self->registry, key);
}

// The same with names that end at a null byte, which is no part of the key.
Ref atZ(ClassSelf self, Bytes name) { return sendSelf<Ref>(SITE("at"), self, NameKey(name, false).element()); }
void atZPut(ClassSelf self, Bytes name, Ref object) {
    sendSelf(SITE("atput"), self, NameKey(name, false).element(), object);
}
void removeKeyZ(ClassSelf self, Bytes name) { sendSelf(SITE("removekey"), self, NameKey(name, false).element()); }

constexpr std::array methods{
    onClass<initializeClass>("initializeclass"),
    onClass<create>("new"),
    onClass<atPut>("atput"),
    onClass<at>("at"),
    onClass<removeKey>("removekey"),
    onClass<atZ>("atz"),
    onClass<atZPut>("atzput"),
    onClass<removeKeyZ>("removekeyz"),
};

constexpr ClassDef definition{.program = program,
                              .name = "systemdictionary",
                              .super = "base",
                              .classData = fields<ClassData, 8>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
