// Nil object: the class object itself stands for no object, and answers the common messages harmlessly.
//
// It has no instances. A message to the null reference that `base` does not answer comes here, too.
#include "classes/exceptions/message_text.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "nil";

using ClassSelf = Receiver;

// equal (object) -> flag. Whether the argument is null.
bool equal(ClassSelf, Ref other) { return other.isNull(); }

// display (). Message 12 of set 2; nothing when it cannot be had, which would be null again.
void display(ClassSelf self) {
    const Temporary messages(sendSelf<Ref>(SITE("registerbasemessagefile"), self));
    const Temporary text(baseMessage(messages.ref(), 12));
    if (text) send(SITE("display"), text.ref());
}

// deepcopy, shallowcopy, copy, finalize () -> null.
Ref nothing(ClassSelf) { return null; }

// new () -> object. Raises 18.
Answer<Ref> newInstance(ClassSelf) { return raise(Error::nilInstance); }

// getaddress () -> null address. asparameter () -> 0. storingobjects () -> false.
Address getAddress(ClassSelf) { return nullptr; }
Count asParameter(ClassSelf) { return 0; }
bool storingObjects(ClassSelf) { return false; }

constexpr std::array methods{
    onClass<equal>("equal"),
    onClass<display>("display"),
    onClass<nothing>("deepcopy"),
    onClass<nothing>("shallowcopy"),
    onClass<nothing>("copy"),
    onClass<nothing>("finalize"),
    onClass<newInstance>("new"),
    onClass<getAddress>("getaddress"),
    onClass<asParameter>("asparameter"),
    onClass<storingObjects>("storingobjects"),
};

constexpr ClassDef definition{.program = program, .name = "nilobject", .super = "base", .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
