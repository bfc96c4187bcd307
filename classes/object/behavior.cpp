// Behavior: what every class object can be asked. Its methods are instance methods that class objects understand
// after the class methods of their own chain.
//
// Self is always the class object that received the message.
#include "classes/exceptions/message_text.h"
#include "classes/text/text_values.h"
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "behavior";

using Self = Receiver;

// ---- Instances --------------------------------------------------------------------------------------------------

// new, basicnew, privatenew () -> object. Raises 23 when there is no memory.
Answer<Ref> newInstance(Self self) {
    const auto made = createInstance(self.ref());
    if (!made) return raise(Error::noInstance);
    return made;
}

// newindexedinstance (count) -> object. Raises 23 when there is no memory, or the count is negative.
Answer<Ref> newIndexedInstance(Self self, Index count) {
    const auto made = count < 0 ? null : createIndexedInstance(self.ref(), static_cast<std::uint64_t>(count));
    if (!made) return raise(Error::noInstance);
    return made;
}

// ---- Names ------------------------------------------------------------------------------------------------------

constexpr std::size_t nameWidth = 30;

Ref asText(std::string_view name) {
    char field[nameWidth + 1];
    std::memset(field, ' ', sizeof field);
    std::memcpy(field, name.data(), name.size() < nameWidth ? name.size() : nameWidth);
    return send<Ref>(SITE("withspaceterminator"), CLASS("chararry"), Bytes{field});
}

// name () -> character array. getfilename () -> character array, the class program's name.
Ref name(Self self) {
    const auto *family = familyOfClass(self.ref());
    return asText(family != nullptr ? std::string_view(family->name) : "");
}
Ref getFileName(Self self) {
    const auto *family = familyOfClass(self.ref());
    return asText(family != nullptr ? std::string_view(family->program) : "");
}

// description () -> character array. Message 4 of set 2 with the name.
Ref description(Self self) {
    const Temporary messages(sendSelf<Ref>(SITE("registerbasemessagefile"), self));
    const Temporary own(sendSelf<Ref>(SITE("name"), self));
    return baseMessage(messages.ref(), 4, own.ref());
}

// ---- The class tree ---------------------------------------------------------------------------------------------

// superclass () -> class, null for base. baseclass () -> class.
Ref superclass(Self self) { return superclassOf(self.ref()); }
Ref baseClass(Self self) { return self.ref(); }

bool yes(Self) { return true; }

// isimmediatesubclass (class) -> flag.
bool isImmediateSubclass(Self self, Ref other) { return sendSelf<Ref>(SITE("superclass"), self) == other; }

// issubclass (class) -> flag. Not of itself.
bool isSubclass(Self self, Ref other) {
    auto current = sendSelf<Ref>(SITE("superclass"), self);
    while (current && current != other) current = send<Ref>(SITE("superclass"), current);
    return current == other;
}

// A new ordered collection of references; null when there is no memory.
Ref newList(std::size_t count) { return send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), static_cast<Index>(count)); }

// immediatesubclasses () -> collection, in the order of registration.
Ref immediateSubclasses(Self self) {
    const Temporary all(sendSelf<Ref>(SITE("allclasses"), self));
    char method[80];
    std::memset(method, ' ', sizeof method);
    std::memcpy(method, "isImmediateSubclass", 19);
    const Temporary isOurs(send<Ref>(SITE("new"), CLASS("callback"), null, Bytes{method}, self.ref()));
    return send<Ref>(SITE("select"), all.ref(), isOurs.ref());
}

// allclasses () -> collection of the registered classes, in that order. allinstances () -> collection.
Ref allRegisteredClasses(Self) {
    const auto classes = allClasses();
    const auto list = newList(classes.size());
    for (const auto object : classes) send(SITE("add"), list, object);
    return list;
}

// Walks twice, which costs less than memory for a list of its own.
Ref allInstances(Self self) {
    const auto list = newList(countInstances(self.ref()));
    forEachInstance(self.ref(), [&](Ref object) {
        if (object != list) send(SITE("add"), list, object);
    });
    return list;
}

// getnumberofobjects () -> count of live direct instances.
Count getNumberOfObjects(Self self) { return countInstances(self.ref()); }

// ---- Methods ----------------------------------------------------------------------------------------------------

// allmethods () -> collection of character arrays: class methods, then instance methods, in registered order.
Ref allMethods(Self self) {
    const auto *family = familyOfClass(self.ref());
    if (family == nullptr) return newList(0);
    const auto onClass = family->methods(true).inOrder();
    const auto onInstances = family->methods(false).inOrder();
    const auto list = newList(onClass.size() + onInstances.size());
    for (const auto methods : {onClass, onInstances}) {
        for (const auto &method : methods) {
            const auto *text = selectorOf(method.selector).name;
            send(SITE("add"), list, send<Ref>(SITE("withvalue"), CLASS("chararry"), Bytes{text}));
        }
    }
    return list;
}

// The eight bytes where an argument lies that may be a reference or a shorter name.
[[gnu::no_sanitize_address]] Ref asReference(Name item) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof bits; ++i)
        bits |= std::uint64_t{static_cast<unsigned char>(item.address[i])} << 8 * i;
    return Ref{bits};
}

// Which message an argument of the two below names: a text object, or the name itself as messages carry it. No name
// reads as a live reference, the bytes of which are no text; what lies behind a name in another page is not touched.
SelectorId namedSelector(Name wanted) {
    constexpr std::uintptr_t pageSize = 4096;
    const auto name = wanted.view(sizeof(Ref));
    const auto room = pageSize - reinterpret_cast<std::uintptr_t>(wanted.address) % pageSize;
    const auto isElsewhere = room < sizeof(Ref) && name.size() < room;
    if (name.size() == sizeof(Ref) || isElsewhere) return findSelector(wanted.view());
    const auto object = asReference(wanted);
    if (!isLive(object)) return findSelector(wanted.view());
    auto text = textOf(object, longestName);
    text.erase(text.find_last_not_of(' ') + 1);
    return findSelector(text);
}

// implements (name) -> flag. Whether the class's own methods include it.
bool implements(Self self, Name wanted) {
    const auto selector = namedSelector(wanted);
    const auto *family = familyOfClass(self.ref());
    if (family == nullptr || selector == 0) return false;
    return family->methods(true).find(selector) != nullptr || family->methods(false).find(selector) != nullptr;
}

// respondsto (name) -> flag. Whether the class or one above it implements it.
bool respondsTo(Self self, Name wanted) {
    auto current = self.ref();
    while (current) {
        if (send<bool>(SITE("implements"), current, wanted)) return true;
        current = send<Ref>(SITE("superclass"), current);
    }
    return false;
}

// ---- Finding classes --------------------------------------------------------------------------------------------

constexpr std::size_t longestFileName = 256;

// handlefromfilename (program) -> class. Runs the program first, which registers the class. Null when there is none.
Ref handleFromFileName(Self, Name file) {
    const auto wanted = file.view(longestFileName);
    return callProgram(wanted) ? registeredClass(wanted) : null;
}
// handlefromfilenameandclassname (program, class name) -> class. Without running it first.
Ref handleFromFileNameAndClassName(Self, Name file) { return classForProgram(file.view(longestFileName)); }

// ---- The class's life -------------------------------------------------------------------------------------------

void nothing(Self) {}

// readyforapplicationstart (). Fixes the environment byte: 1 single-byte, 2 with double-byte characters.
void readyForApplicationStart(Self self) {
    const auto isDoubleByte = sendSelf<bool>(SITE("isdbcsenvironment"), self);
    if (auto *status = host::externalByte("DBCSENVIRONMENTSTATUS")) *status = isDoubleByte ? 2 : 1;
}

// finalize () -> object. Raises 104. getdomainobject () -> object. Raises 105.
Answer<Ref> finalize(Self) { return raise(Error::classNotFinalized); }
Answer<Ref> getDomainObject(Self) { return raise(Error::noDomainObject); }

constexpr std::array methods{
    instance<newInstance>("new"),
    instance<newInstance>("basicnew"),
    instance<newInstance>("privatenew"),
    instance<newIndexedInstance>("newindexedinstance"),
    instance<name>("name"),
    instance<description>("description"),
    instance<getFileName>("getfilename"),
    instance<superclass>("superclass"),
    instance<baseClass>("baseclass"),
    instance<yes>("isclass"),
    instance<yes>("ismetaclass"),
    instance<isImmediateSubclass>("isimmediatesubclass"),
    instance<isSubclass>("issubclass"),
    instance<immediateSubclasses>("immediatesubclasses"),
    instance<allRegisteredClasses>("allclasses"),
    instance<allInstances>("allinstances"),
    instance<getNumberOfObjects>("getnumberofobjects"),
    instance<allMethods>("allmethods"),
    instance<implements>("implements"),
    instance<respondsTo>("respondsto"),
    instance<handleFromFileName>("handlefromfilename"),
    instance<handleFromFileNameAndClassName>("handlefromfilenameandclassname"),
    instance<nothing>("initializeclass"),
    instance<nothing>("initializeclassextension"),
    instance<readyForApplicationStart>("readyforapplicationstart"),
    instance<finalize>("finalize"),
    instance<getDomainObject>("getdomainobject"),
};

constexpr ClassDef definition{.program = program, .name = "behavior", .super = "base", .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
