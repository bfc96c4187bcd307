// The receiver of a running method, and how its data is reached safely.
//
// Any message may run user code, and user code may finalize the receiver, exchange it for another object or move its
// storage. So a method never keeps the address of its data: it writes `self->field`, and whenever user code has run or
// an object has been released since the last look (the thread's epoch tells), the reference is resolved again. When
// the object is gone or has become something without these fields, `self->` reaches a zeroed stand-in instead: a dead
// collection reads as an empty one, and nothing that is written to it matters.
#pragma once

#include <type_traits>

#include "runtime/classes.h"
#include "runtime/objects.h"
#include "runtime/thread_state.h"
#include "runtime/types.h"

namespace oocobol {

// Which family lays out these fields: set when the class that declares them registers.
template <class Fields> inline constinit const ClassFamily *layoutOf = nullptr;
// Whether the objects of a family, or its class objects, start with these fields.
template <class Fields> bool isLaidOutAs(const ClassFamily &family) noexcept {
    return layoutOf<Fields> != nullptr && family.isKindOf(*layoutOf<Fields>);
}

class Receiver {
public:
    Receiver(Ref self, void *data) noexcept : reference(self), body(data) {
#if OOCOBOL_CHECKED
        outer = thread.active;
        thread.active = this;
#endif
    }
#if OOCOBOL_CHECKED
    ~Receiver() { thread.active = outer; }
    Receiver(const Receiver &other) noexcept : Receiver(other.reference, other.body) { seen = other.seen; }
    Receiver &operator=(const Receiver &) = delete;
    const Receiver *enclosing() const noexcept { return outer; }
#endif

    Ref ref() const noexcept { return reference; }
    bool isNull() const noexcept { return reference.isNull(); }
    // Still the live object that the message was sent to (or bare data, or null).
    bool isAlive() const noexcept { return reference.isNull() || reference.isStatic() || isLive(reference); }
    // The receiver's class; for a class object `behavior`, for the bare data of a static send the class named there.
    Ref classObject() const noexcept { return classOf(reference); }
    // The data as it was handed in; for handing on at once.
    void *data() const noexcept { return body; }

protected:
    Ref reference;
    mutable void *body;
    mutable std::uint64_t seen = thread.epoch;
#if OOCOBOL_CHECKED
    const Receiver *outer;
#endif
};

// The object's data if it still is of that layout, else the zeroed stand-in.
void *resolveData(Ref self, void *data, const ClassFamily *layout, bool classSide) noexcept;
// The same for data that once came from it: a live object with the same body still is what it was.
void *resolveAgain(Ref self, void *data, const ClassFamily *layout, bool classSide) noexcept;

namespace detail {
template <class Fields, bool classSide> class ReceiverOf : public Receiver {
public:
    using Receiver::Receiver;
    static_assert(sizeof(Fields) <= standInSize && std::is_trivially_copyable_v<Fields>);

    Fields *operator->() const noexcept {
        if (seen != thread.epoch) [[unlikely]] {
            body = resolveAgain(reference, body, layoutOf<Fields>, classSide);
            seen = thread.epoch;
        }
        return static_cast<Fields *>(body);
    }
    Fields &operator*() const noexcept { return *operator->(); }
};
} // namespace detail

// Self of an instance method, of a class that lays out Fields or one below it.
template <class Fields> using Instance = detail::ReceiverOf<Fields, false>;
// Self of a class method; Fields are the class data.
template <class Fields> using ClassSide = detail::ReceiverOf<Fields, true>;

// The fields of another object when it is of that layout, else null. Good until the next message.
template <class Fields> const Fields *fieldsOf(Ref object) noexcept {
    const auto *entry = findEntry(object);
    const auto *family = layoutOf<Fields>;
    if (entry == nullptr || family == nullptr) return nullptr;
    const auto &behaviour = behaviourAt(behaviourOf(entry->tag.load(std::memory_order_acquire)));
    // Mostly it is an object of the very class.
    const auto fits = &behaviour == family->instances || (!behaviour.classSide && behaviour.family->isKindOf(*family));
    return fits ? reinterpret_cast<const Fields *>(entry->body.load(std::memory_order_relaxed)) : nullptr;
}
// The same, for changing them.
template <class Fields> Fields *changeableFields(Ref object) noexcept {
    return const_cast<Fields *>(fieldsOf<Fields>(object));
}
// The class data of a class object when it is of that layout, else null. Good until the next message.
template <class Fields> const Fields *classDataOf(Ref classObject) noexcept {
    const auto *family = familyOfClass(classObject);
    if (family == nullptr || layoutOf<Fields> == nullptr || !family->isKindOf(*layoutOf<Fields>)) return nullptr;
    return reinterpret_cast<const Fields *>(bodyOf(classObject));
}

// To be called whenever code from outside has run. In checked builds it also moves the storage of the receivers that
// are active on this thread now and then, so that an address kept across user code shows up at once.
#if OOCOBOL_CHECKED
void afterUserCode() noexcept;
// Set by the module that knows how to move the storage of a collection.
extern void (*moveStorage)(Ref object, void *body);
#else
inline void afterUserCode() noexcept { ++thread.epoch; }
#endif

// The method that a message to this object runs; null when it does not understand it.
inline const Method *methodFor(Ref object, std::string_view message) noexcept {
    const auto *behaviour = object.isNull() ? &behaviourAt(nullBehaviour) : behaviourOfObject(object);
    const auto selector = findSelector(message);
    return behaviour != nullptr && selector != 0 ? lookUp(*behaviour, selector) : nullptr;
}

// ---- Guards -----------------------------------------------------------------------------------------------------

// Whether the messages in `needs`, sent to this object, would all run the library's own code.
inline bool nativePath(Ref object, Needs needs) noexcept {
    const auto *behaviour = object.isNull() ? &behaviourAt(nullBehaviour) : behaviourOfObject(object);
    return behaviour != nullptr && isPristine(*behaviour, needs);
}
// The same for the instances of a class, as its elements in a collection are.
inline bool nativeElements(Ref classObject, Needs needs) noexcept {
    const auto *family = familyOfClass(classObject);
    return family != nullptr && isPristine(*family->instances, needs);
}

// An object that something was found out about: what it is, and which code its messages run. That holds for as long as
// it lives, has the same class, and no class has gained a method.
class KnownObject {
public:
    // To be called before finding out. A dead reference is one that stays dead.
    void look(Ref object) noexcept {
        changes = maskChanges.load(std::memory_order_acquire);
        const auto *found = findEntry(object);
        entry = found != nullptr ? found : &objects.entries[0];
        tag = entry->tag.load(std::memory_order_acquire);
    }
    bool isSame() const noexcept {
        return entry->tag.load(std::memory_order_acquire) == tag &&
               maskChanges.load(std::memory_order_acquire) == changes;
    }
    const Behaviour &behaviour() const noexcept { return behaviourAt(behaviourOf(tag)); }
    // Its data as they lie now; null when it was dead.
    std::byte *body() const noexcept { return entry->body.load(std::memory_order_relaxed); }

private:
    const Entry *entry = nullptr;
    std::uint64_t tag = 0;
    std::uint32_t changes = 0;
};

} // namespace oocobol
