// Objects: making, copying, exchanging and releasing them.
#pragma once

#include "runtime/classes.h"
#include "runtime/memory.h"
#include "runtime/object_table.h"
#include "runtime/types.h"

namespace oocobol {

// A new instance of a class object, zero-filled and initialised. Null when memory is short or this is no class.
Ref createInstance(Ref classObject) noexcept;
// The same with `count` bytes of indexed data behind its fields.
Ref createIndexedInstance(Ref classObject, std::uint64_t count) noexcept;

// A byte copy of an object, of the same class; of a class object, a class of the same family. What its fields point to
// is the original's: the caller replaces that at once.
Ref shallowCopy(Ref object) noexcept;
// The same for everybody else: areas behind the fields belong to both.
Ref sharingCopy(Ref object) noexcept;

// Copies the data over that of an object of the same class and size, as sharingCopy does. False, and nothing changed,
// otherwise.
bool copyContents(Ref to, Ref from) noexcept;

// Set by the module whose classes have areas behind their fields: the area of this object gets one more owner (false
// when that cannot be noted); this object gives its area up, because its fields are about to be overwritten.
extern bool (*contentsShared)(Ref original);
extern void (*contentsReplaced)(Ref object);
// Set by the module whose classes keep in their fields what is one object's alone: this one has been made, or
// overwritten, by copying another.
extern void (*contentsCopied)(Ref copy);

// The two exchange bodies and classes. False, and nothing changed, for class objects and dead references.
bool exchangeIdentities(Ref one, Ref other) noexcept;

// Releases an object. False when the reference was not live or is a class registered for good.
bool cancelObject(Ref object) noexcept;

// The class of an object: `behavior` for class objects, `nilobject` for null, the class named by a static self; null
// for a dead reference.
Ref classOfSlowly(Ref object) noexcept;
inline Ref classOf(Ref object) noexcept {
    auto *body = bodyOf(object);
    if (body == nullptr || isMarked(*headerOf(body), markClass | markTied)) [[unlikely]]
        return classOfSlowly(object);
    return referenceAt(headerOf(body)->classIndex);
}

// The same for the library's own use: a class that it made for one item does not count as handed out, and goes with its
// last instance all the same. The answer must not reach user code.
Ref peekClass(Ref object) noexcept;

// The superclass of a class object; null above the root and for what is no class.
Ref superclassOf(Ref classObject) noexcept;

// Resizes the indexed data. False, and nothing changed, when it cannot be done.
bool resizeIndexed(Ref object, std::uint64_t count) noexcept;

// Ties a class object, fresh from shallowCopy, to the only instance that has been made of it: nobody else knows it. It
// goes with that instance and its copies, unless its reference has been answered by then (by classOf). With a null
// instance it goes at once.
void tieClass(Ref classObject, Ref instance) noexcept;

// Leaves the object out of the counts of what the program owns: a singleton that the library keeps for the run.
void keepForLibrary(Ref object) noexcept;

// Notes that a registry has an entry for the object, so that it is told when the object is finalized: `finalize` of
// `base` asks isWatched, and before that whether anybody, component or registry, may know of the object.
void watchObject(Ref object) noexcept;
bool isWatched(Ref object) noexcept;
inline bool isKnownToOthers(Ref object) noexcept {
    auto *body = bodyOf(object);
    return body != nullptr && isMarked(*headerOf(body), markWatched | markComponent);
}

// Calls visit(reference, class index, marks) for each live object, class objects included, in the order of indexes.
template <class Visit> void forEachObject(Visit visit) {
    const auto limit = objects.limit.load(std::memory_order_acquire);
    for (std::uint32_t index = 1; index < limit; ++index) {
        const auto ref = referenceAt(index);
        if (!ref) continue;
        const auto *body = bodyOf(ref);
        if (body == nullptr) continue;
        const auto *header = headerOf(const_cast<std::byte *>(body));
        visit(ref, header->classIndex, marksOf(*header));
    }
}

// Calls visit(reference) for each live direct instance of a class, in the order of indexes. Nothing but an object's
// entry is looked at before its behaviour has told that it can be one. What visit makes may be visited as well.
template <class Visit> void forEachInstance(Ref classObject, Visit visit) {
    const auto *family = familyOfClass(classObject);
    if (family == nullptr) return;
    const auto wanted = family->instances->id;
    const auto limit = objects.limit.load(std::memory_order_acquire);
    for (std::uint32_t index = 1; index < limit; ++index) {
        const auto tag = objects.entries[index].tag.load(std::memory_order_acquire);
        if (behaviourOf(tag) != wanted || (tag & 1) == 0) continue;
        auto *body = objects.entries[index].body.load(std::memory_order_relaxed);
        if (body == nullptr || headerOf(body)->classIndex != classObject.index()) continue;
        visit(Ref{index | std::uint64_t{static_cast<std::uint32_t>(tag)} << 32});
    }
}

// Live direct instances of a class; for null, the live objects that the program owns.
Count countInstances(Ref classObject) noexcept;

// What OOCOBOL_LEAKS=1 prints at the end of the run: the objects that the program still owns, by class.
void reportLeaks() noexcept;

} // namespace oocobol
