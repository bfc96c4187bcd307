// Event: an object and a number, on the way from the one that raises the event to the one that handles it.
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "event";

struct [[gnu::packed]] Fields {
    Ref object; // not owned
    Count id;
};
using Self = Instance<Fields>;
using ClassSelf = Receiver;

// withobjecteventid (object, id) -> event.
Ref withObjectEventId(ClassSelf self, Ref object, Count id) {
    const auto made = sendSuper<Ref>(SUPER("new"), self);
    if (made) send(SITE("initialize"), made, object, id);
    return made;
}

// initialize (object, id).
void initialize(Self self, Ref object, Count id) {
    self->object = object;
    self->id = id;
}

// setobject (object). getobject () -> object. setid (id). getid () -> id.
void setObject(Self self, Ref object) { self->object = object; }
Ref getObject(Self self) { return self->object; }
void setId(Self self, Count id) { self->id = id; }
Count getId(Self self) { return self->id; }

constexpr std::array methods{
    onClass<withObjectEventId>("withobjecteventid"),
    instance<initialize>("initialize"),
    instance<setObject>("setobject"),
    instance<getObject>("getobject"),
    instance<setId>("setid"),
    instance<getId>("getid"),
};

constexpr ClassDef definition{
    .program = program, .name = "event", .super = "base", .instanceData = fields<Fields, 12>(), .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
