// What the collection modules share: the fields, the storage behind them, and how elements are reached.
//
// Slot i (from 1) is the bytes (i - 1) x element size of the storage. What holds at every moment when code from
// outside may look: the storage has at least storage length bytes, storage length is slot count x element size, and
// without storage there are no slots. Nothing here keeps an address inside storage across a message.
#pragma once

#include <optional>

#include "classes/callbacks/native_invoke.h"
#include "classes/collections/elements.h"
#include "runtime/module.h"

namespace oocobol {

struct [[gnu::packed]] CollectionFields {
    std::byte *storage;
    Count elementSize;
    Ref elementTemplate; // null: the elements are references
    Count slotCount;
    Count storageLength;
    Flag quit; // 1: the running iteration ends before its next element
};
inline constexpr std::uint32_t collectionSize = 49; // as registered

// A sequenced collection's elements are its slots, or for a dynamic one those between two of them.
struct [[gnu::packed]] SequencedFields : CollectionFields {};
struct [[gnu::packed]] DynamicFields : SequencedFields {
    Count first; // slot of element 1; 0 until `initialize`
    Count last;  // slot of the last element; first - 1 when there is none
};
inline constexpr std::uint32_t dynamicSize = 68; // as registered

inline bool holdsReferences(const CollectionFields &fields) { return fields.elementTemplate.isNull(); }

// Where slot `number` starts; the number must be in 1 .. slot count.
inline std::byte *slotOf(const CollectionFields &fields, Count number) {
    return fields.storage + std::size_t{number - 1} * fields.elementSize;
}

// ---- Storage ------------------------------------------------------------------------------------------------------

inline constexpr std::uint64_t largestStorage = UINT32_MAX - 1; // one byte more is allocated
inline constexpr Index sizeLimit = 0x20202020;                  // four spaces: a size that was never set

// An area of `bytes` and the spare byte, or null; and its release. Subclasses may redefine `malloc` and `dealloc`.
std::byte *allocateStorage(const Receiver &self, Count bytes) noexcept;
void releaseStorage(const Receiver &self, std::byte *storage) noexcept;

// Moves the elements to an area that is known to have `bytes`: how long the one is that a redefined `basicgrow` leaves
// behind, nobody knows. False when there is no memory.
bool renewStorage(const Instance<SequencedFields> &self, Count bytes) noexcept;

// What `basicgrow` does, for a length that is not negative, where it, `malloc` and `dealloc` are the library's own: a
// block of many pages is stretched without being copied.
bool stretchStorage(CollectionFields &fields, Count bytes) noexcept;

// `basiccopy` for a method that gives the copy storage of its own at once. Until then the copy has none, but tells its
// lengths. Null when there is no memory.
Ref copyForOwnStorage(const Receiver &self, oops_super_site &basicCopy) noexcept;

// A number of slots as a size argument; one that no collection can have becomes -1, which every creation refuses.
inline Index asSize(std::int64_t slots) { return slots < 0 || slots > INT32_MAX ? -1 : static_cast<Index>(slots); }

// ---- Reading elements ---------------------------------------------------------------------------------------------

// Wide enough for an element of the collection, whoever writes it, and for the 8-byte answer of a handler.
std::size_t areaWidth(Ref collection) noexcept;

// The areas of the library in which elements travel on this thread. A message that one of them was meant for may reach
// another collection, because the receiver has become one of wider elements in the meantime: whoever takes an element
// asks first whether all of it is there. Narrow elements always fit a work area.
class Travelling {
public:
    explicit Travelling(WorkArea &area) noexcept : start(area.bytes()), width(area.size()), outer(innermost) {
        innermost = this;
    }
    ~Travelling() { innermost = outer; }
    Travelling(const Travelling &) = delete;
    Travelling &operator=(const Travelling &) = delete;

    static constexpr std::size_t narrow = 256;
    static bool holds(const std::byte *address, std::size_t wanted) noexcept;

private:
    static constinit thread_local const Travelling *innermost [[gnu::tls_model("initial-exec")]];
    const std::byte *start;
    std::size_t width;
    const Travelling *outer;
};
inline bool isWhole(Element element, std::size_t width) noexcept {
    return width <= Travelling::narrow || Travelling::holds(element.address, width);
}

// Elements lying one after the other. Good until the next message.
struct Run {
    std::byte *start = nullptr;
    Count count = 0;
    Count width = 0;
};
inline Run runOf(const CollectionFields &fields) { return {fields.storage, fields.slotCount, fields.elementSize}; }
inline Run runOf(const DynamicFields &fields) {
    const auto last = fields.last < fields.slotCount ? fields.last : fields.slotCount;
    if (fields.first == 0 || fields.first > last) return {fields.storage, 0, fields.elementSize};
    return {slotOf(fields, fields.first), last - fields.first + 1, fields.elementSize};
}

// The elements of a sequenced collection, reached natively as long as the messages that this stands for run the
// library's own code, for that collection object and at that moment.
class NativeElements {
public:
    NativeElements(Ref wanted, Needs messages) noexcept : collection(wanted), needs(messages) { findOut(); }

    // All of them; nothing when they must be asked for by message.
    std::optional<Run> run() noexcept {
        const auto *fields = fieldsNow();
        if (fields == nullptr) return {};
        return layout == Layout::dynamic ? runOf(*static_cast<const DynamicFields *>(fields)) : runOf(*fields);
    }
    bool ofReferences() noexcept {
        const auto *fields = fieldsNow();
        return fields != nullptr && holdsReferences(*fields);
    }

private:
    enum class Layout : std::uint8_t { none, fixed, dynamic };

    const SequencedFields *fieldsNow() noexcept {
        if (!known.isSame()) [[unlikely]]
            findOut();
        return layout != Layout::none ? reinterpret_cast<const SequencedFields *>(known.body()) : nullptr;
    }
    void findOut() noexcept;

    Ref collection;
    Needs needs;
    KnownObject known;
    Layout layout = Layout::none;
};

// Reads elements of one collection into an area of its own, as `at` answers them: an index outside raises 3 and leaves
// the area as it was.
class ElementReader {
public:
    // `other`: an object whose elements the area must hold as well.
    explicit ElementReader(Ref from, Ref other = null) noexcept
        : collection(from), native(from, {"at"}), area(std::max(areaWidth(from), areaWidth(other))) {}

    // Whether there was memory for the area.
    explicit operator bool() const noexcept { return static_cast<bool>(area); }
    // False when the collection is gone, or its elements do not fit any more: then nothing can be read again.
    [[gnu::always_inline]] bool read(Index index) noexcept {
        const auto all = native.run();
        if (!all || index < 1 || static_cast<Count>(index) > all->count) [[unlikely]]
            return readByMessage(index);
        if (all->width > area.size()) return false;
        copyElement(area.bytes(), all->start + (static_cast<std::size_t>(index) - 1) * all->width, all->width);
        return true;
    }
    Element element() noexcept { return area.element(); }
    // Whether the area is enough for what that collection takes as an element.
    bool fits(Ref target) const noexcept { return areaWidth(target) <= area.size(); }
    Ref reference() noexcept {
        Ref held;
        std::memcpy(&held, area.bytes(), sizeof held);
        return held;
    }

private:
    bool readByMessage(Index index) noexcept;

    Ref collection;
    NativeElements native;
    WorkArea area;
    Travelling travelling{area};
};

// A reference as an element for that collection, even one of wider elements.
class ReferenceElement {
public:
    ReferenceElement(Ref object, Ref target) noexcept : area(areaWidth(target)) {
        if (area) std::memcpy(area.bytes(), &object, sizeof object);
    }
    bool fits(Ref target) const noexcept { return area && areaWidth(target) <= area.size(); }
    Element element() noexcept { return area.element(); }

private:
    WorkArea area;
    Travelling travelling{area};
};

// Gives a collection an element out of an area of the library. False when the area is not enough for it (any more).
template <class Source> bool addElement(Ref collection, Source &source) noexcept {
    if (!source.fits(collection)) return false;
    send(SITE("add"), collection, source.element());
    return true;
}
template <class Source> bool putElement(Ref collection, Index index, Source &source) noexcept {
    if (!source.fits(collection)) return false;
    send(SITE("atput"), collection, index, source.element());
    return true;
}

// ---- Searching ------------------------------------------------------------------------------------------------------

// Asks one collection whether an element is the one at an index, as its `isat` does. Nothing is, once the collection
// has become one of wider elements.
class ElementMatcher {
public:
    explicit ElementMatcher(Ref wanted) noexcept
        : collection(wanted), native(wanted, {"isat", "at", "atnogc"}), width(areaWidth(wanted)) {}
    bool matches(Element element, Index index) noexcept;
    // The elements, when comparing their bytes is all that asking would do.
    std::optional<Run> values() noexcept;

private:
    Ref collection;
    NativeElements native;
    std::size_t width;
};

// The first (last) index in from .. to at which the receiver has that element; 0 when there is none. From is at
// least 1; the indexes are asked for one after the other.
Index searchForward(const Receiver &self, Element element, std::int64_t from, std::int64_t to) noexcept;
Index searchBackward(const Receiver &self, Element element, std::int64_t from, std::int64_t to) noexcept;

// ---- Walking --------------------------------------------------------------------------------------------------------

// Sends `invoke` with all the arguments that it may have: one that lacks some takes a longer road. The list is as long
// as any.
inline void sendInvokeList(Ref callback, void *const *list) noexcept {
    send(callback, SITE("invoke"), list, 1 + invokeArguments + 1);
}
// What the message would do is done without it where that is the library's code.
template <class... Arguments> void sendInvoke(Ref callback, Returning answer, const Arguments &...arguments) noexcept {
    void *list[maximumArguments] = {answer.address, detail::addressOf(arguments)...};
    if (!answer || !Invoker(callback).invoke(list)) sendInvokeList(callback, list);
}

// A block: what `invoke` runs. One that is gone ends the walk that uses it, once it has been tried.
class Block {
public:
    // `width`: of the longest answer that is wanted; 8 bytes are answered by any.
    explicit Block(Ref wanted, std::size_t width = 0) noexcept
        : callback(wanted),
          answer(width < sizeof(std::uint64_t) ? sizeof(std::uint64_t) : width), list{answer.bytes()} {}
    explicit operator bool() const noexcept { return static_cast<bool>(answer); }

    // False when there is no such block: the error has been raised. To be invoked with as many arguments each time.
    template <class... Arguments> bool invoke(const Arguments &...arguments) noexcept {
        clear();
        std::size_t count = 0;
        ((list[++count] = detail::addressOf(arguments)), ...);
        if (callback.invoke(list)) return true;
        const auto alive = callback.isLive();
        sendInvokeList(callback.ref(), list);
        return alive;
    }
    bool answered(Flag flag) noexcept { return std::to_integer<Flag>(*answer.bytes()) == flag; }
    Element element() noexcept { return answer.element(); }
    bool fits(Ref target) const noexcept { return areaWidth(target) <= answer.size(); }

private:
    void clear() noexcept { // a call for the few answers that are wider than usual
        constexpr auto usual = sizeof(std::uint64_t);
        std::memset(answer.bytes(), 0, usual);
        if (answer.size() > usual) [[unlikely]]
            std::memset(answer.bytes() + usual, 0, answer.size() - usual);
    }
    Invoker callback;
    WorkArea answer;
    Travelling travelling{answer};
    void *list[maximumArguments];
};

// Clears the quit flag of the receiver now and when the iteration ends.
template <class Self> class Iteration {
public:
    explicit Iteration(const Self &walked) noexcept : self(walked) {
        self->quit = 0;
        known.look(self.ref());
        hasFields = known.body() == reinterpret_cast<const std::byte *>(&*self);
    }
    ~Iteration() { self->quit = 0; }
    Iteration(const Iteration &) = delete;
    Iteration &operator=(const Iteration &) = delete;
    bool isOver() const noexcept {
        if (hasFields && known.isSame()) [[likely]]
            return reinterpret_cast<const Fields *>(known.body())->quit == 1;
        return self->quit == 1;
    }

private:
    using Fields = std::remove_reference_t<decltype(*std::declval<Self>())>;
    const Self &self;
    KnownObject known;
    bool hasFields; // the receiver's, and not what stands in for them
};

// A callback on an object's own method, with what it is to get in front of the element: 8-byte values. The caller
// finalizes it. Null when memory is short.
template <class... Parameters> Ref perElement(Ref receiver, const char *method, const Parameters &...parameters) {
    static_assert(((sizeof(Parameters) == 8) && ...));
    return send<Ref>(SITE("new"), CLASS("callback"), receiver, Bytes{method}, parameters...);
}

// Whether the object's method of that name is the one of the given class program: how code that writes natively makes
// sure of more than that the library's code would run.
bool runsMethodOf(Ref object, std::string_view message, std::string_view program) noexcept;

} // namespace oocobol
