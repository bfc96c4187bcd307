// Sorted collection: its elements stand in the order of a comparison that the user chooses.
//
// The comparison is a method sent to some object (at first the collection's own `defaultsortmethod`) or an entry
// called by name. It is user code: it gets copies of the elements, and sorting goes on in a private copy that is
// written back when the collection still holds what it held.
#include "classes/collections/appending.h"
#include "classes/collections/collection.h"
#include "classes/collections/sorting.h"
#include "classes/intrinsics/native_element.h"
#include "classes/text/mixed_text.h"
#include "host/host.h"

namespace oocobol {
namespace {

constexpr char program[] = "srtdclln";

constexpr std::size_t nameWidth = 80;

struct [[gnu::packed]] SortedFields : DynamicFields {
    Ref sortTarget;           // null in entry mode
    char sortName[nameWidth]; // method mode: in lower case, ended by a null byte; entry mode: padded with spaces
    std::uint64_t sortCache;
    std::uint64_t secondSortCache;
    Flag byEntry;
    Flag bySelf; // the sort target is the collection itself, so that a copy sorts by its own method
};

using Self = Instance<SortedFields>;
using ClassSelf = Receiver;

Index sizeOf(const Self &self) { return sendSelf<Index>(SITE("size"), self); }

// ---- Comparing --------------------------------------------------------------------------------------------------

// The order that `defaultsortmethod` gives elements of this template, when nobody can see it ask.
Order knownOrder(Ref elementTemplate, std::size_t width) {
    constexpr Needs needs{"lessthanorequalbylengthvalue", "lessthanbylengthvalue", "equalbylengthvalue", "sizeinbytes"};
    const auto *family = familyOfClass(elementTemplate);
    if (family == nullptr || !isPristine(*family->instances, needs) || !isPlainItemFamily(*family)) return Order::none;
    if (classDataOf<IntrinsicClassData>(elementTemplate)->length != width) return Order::none;
    if (isLaidOutAs<PicXClassData>(*family)) return Order::bytes;
    if (width > sizeof(std::uint64_t)) return Order::none;
    if (isLaidOutAs<CompXClassData>(*family)) return Order::bytes;
    const auto *signedItems = familyOfClass(CLASS("scomp5"));
    if (signedItems == nullptr) return Order::none; // there is no memory for the class
    if (!family->isKindOf(*signedItems)) return Order::littleUnsigned;
    // Signed items compare by their low four bytes, shorter ones as never negative.
    if (width == 1 || width == 2) return Order::littleUnsigned;
    return width == 4 ? Order::littleSigned : Order::none;
}

constexpr char defaultMethod[] = "defaultsortmethod";

bool sortsByDefault(const SortedFields &fields) {
    return fields.byEntry == 0 && fields.bySelf != 0 &&
           std::memcmp(fields.sortName, defaultMethod, sizeof defaultMethod) == 0;
}

// The comparison of one collection as it is now. What it calls may do anything: it works on copies of the name and of
// the elements. After an error that every further comparison would only repeat it has failed.
class Comparison {
public:
    explicit Comparison(const Self &sorted)
        : self(sorted), width(sorted->elementSize), areas(2 * areaWidth(sorted.ref())),
          target(sorted->bySelf != 0 ? sorted.ref() : Ref{sorted->sortTarget}), cache(sorted->sortCache),
          secondCache(sorted->secondSortCache), byEntry(sorted->byEntry != 0) {
        std::memcpy(name, sorted->sortName, nameWidth);
        const auto isNative = sortsByDefault(*sorted) && nativePath(sorted.ref(), {"defaultsortmethod"});
        if (isNative) order = knownOrder(sorted->elementTemplate, width);
    }
    ~Comparison() {
        if (order != Order::none || std::memcmp(self->sortName, name, nameWidth) != 0) return;
        self->sortCache = cache;
        self->secondSortCache = secondCache;
    }
    Comparison(const Comparison &) = delete;
    Comparison &operator=(const Comparison &) = delete;

    // Whether there was memory for the copies.
    explicit operator bool() const { return static_cast<bool>(areas); }
    bool hasFailed() const { return failed; }
    Order knownOrderOfElements() const { return order; }

    // Whether a may stand in front of b.
    bool operator()(const std::byte *a, const std::byte *b) {
        if (order != Order::none) return compareInOrder(a, b, width, order) <= 0;
        if (failed) return false;
        auto *first = areas.bytes();
        auto *second = first + areas.size() / 2;
        copyElement(first, a, width);
        copyElement(second, b, width);
        return (byEntry ? callEntry(first, second) : sendMethod(first, second)) == 1;
    }

private:
    static constexpr std::uint64_t unanswered = UINT64_MAX;

    Flag sendMethod(std::byte *a, std::byte *b) {
        // A message that is not understood would not be the next time either, unless a delegate answers it.
        const auto *behaviour = target ? behaviourOfObject(target) : &behaviourAt(nullBehaviour);
        if (behaviour == nullptr) failed = true;
        const auto isKnown = behaviour != nullptr && understands(*behaviour);
        std::uint64_t answer = isKnown ? 0 : unanswered;
        void *arguments[] = {&answer, a, b};
        sendByName(target, name, &secondCache, &cache, arguments, std::size(arguments));
        if (answer == unanswered) failed = true;
        return static_cast<Flag>(answer);
    }

    bool understands(const Behaviour &behaviour) {
        if (knownFor != &behaviour && lookUp(behaviour, findSelector(nameView(name, nameWidth))) != nullptr)
            knownFor = &behaviour;
        return knownFor == &behaviour;
    }

    Flag callEntry(std::byte *a, std::byte *b) {
        const auto version = host::programsVersion();
        if (!entry || entryVersion != version) {
            entry = host::findProgram(entryName());
            entryVersion = version;
        }
        if (!entry) return fail(Error::noEntry);
        void *arguments[host::entryArguments] = {a, b};
        bool threw = false;
        const auto answer = host::call(entry, arguments, &threw);
        afterUserCode();
        return threw ? fail(Error::exceptionEscaped) : static_cast<Flag>(answer);
    }

    std::string_view entryName() const {
        const std::string_view all(name, nameWidth);
        return all.substr(0, all.find_last_not_of(' ') + 1);
    }

    Flag fail(Error error) {
        failed = true;
        raiseOn(self.ref(), static_cast<Count>(error), entryName());
        return 0;
    }

    const Self &self;
    std::size_t width;
    WorkArea areas;
    Ref target;
    std::uint64_t cache;
    std::uint64_t secondCache;
    char name[nameWidth + 1] = {};
    bool byEntry;
    bool failed = false;
    Order order = Order::none;
    const Behaviour *knownFor = nullptr;
    host::Program entry{};
    std::uint64_t entryVersion = 0;
};

// ---- Creation ---------------------------------------------------------------------------------------------------

// withallandsortmethod (source, sort target, method name) -> sorted collection.
Ref withAllAndSortMethod(ClassSelf self, Ref source, Ref target, Name method) {
    const auto elementTemplate = send<Ref>(SITE("template"), source);
    if (!isLive(source)) return null;
    const auto size = send<Index>(SITE("size"), source);
    const auto made = sendSelf<Ref>(SITE("ofvalues"), self, elementTemplate, size);
    if (!made) return null;
    send(SITE("setsortmethod"), made, target, method);
    send(SITE("addall"), made, source);
    return made;
}

// initialize (slot count, template, element size). Sorts by its own default method.
void initialize(Self self, Count slots, Ref elementTemplate, Count width) {
    sendSuper(SUPER("initialize"), self, slots, elementTemplate, width);
    sendSelf(SITE("setsortmethod"), self, self.ref(), Bytes{"defaultSortMethod"});
}

// ---- Choosing the comparison ------------------------------------------------------------------------------------

// setsortmethod (sort target, method name). A name of 80 characters and more is replaced, so that the first comparison
// is not understood.
void setSortMethod(Self self, Ref target, Name method) {
    const auto given = method.view(nameWidth);
    const auto fits = given.size() < nameWidth;
    const auto name = fits ? given : std::string_view("callbackmethodnametoolong", 26); // its null byte is part of it
    std::memset(self->sortName, fits ? '\0' : ' ', nameWidth);
    std::memcpy(self->sortName, name.data(), name.size());
    if (fits) host::toLower(self->sortName, name.size());
    self->byEntry = 0;
    self->bySelf = target == self.ref() ? 1 : 0;
    self->sortTarget = target;
    self->sortCache = 0;
    self->secondSortCache = 0;
    sendSelf(SITE("resort"), self);
}

// setsortentry (entry name). A name of more than 80 characters raises 33 and changes nothing.
Answer<void> setSortEntry(Self self, Name entry) {
    const auto name = entry.view(nameWidth + 1);
    if (name.size() > nameWidth) return raise(Error::invalidParameter);
    std::memset(self->sortName, ' ', nameWidth);
    std::memcpy(self->sortName, name.data(), name.size());
    self->byEntry = 1;
    self->bySelf = 0;
    self->sortTarget = null;
    self->sortCache = 0;
    self->secondSortCache = 0;
    sendSelf(SITE("resort"), self);
    return {};
}

// defaultsortmethod (element, element) -> flag. Whether the first is less than or equal to the second.
Answer<bool> defaultSortMethod(Self self, Element a, Element b) {
    if (!holdsReferences(*self)) {
        const auto ofElements = Ref{self->elementTemplate};
        const auto length = comparedLength(ofElements, self->elementSize);
        const ElementBytes first(a.address, self->elementSize, ofElements);
        if (!first) return raise(Error::noWorkArea);
        if (ofElements == mixedTextClass()) // which says it the other way round only
            return !sendOver<bool>(SITE("greaterthanbylengthvalue"), ofElements, first.bytes(), length, b);
        return sendOver<bool>(SITE("lessthanorequalbylengthvalue"), ofElements, first.bytes(), length, b);
    }
    Ref first, second;
    std::memcpy(&first, a.address, sizeof first);
    std::memcpy(&second, b.address, sizeof second);
    return send<bool>(SITE("lessthanorequal"), first, second);
}

// ---- Adding -----------------------------------------------------------------------------------------------------

// add (element). Behind those that may stand in front of it.
void add(Self self, Element element) {
    const auto index = sendSelf<Index>(SITE("indexforinserting"), self, element);
    sendSuper(SUPER("insertbeforeindex"), self, element, index);
}

// addnosort (element). At the end; `resort` is the caller's affair.
void addNoSort(Self self, Element element) { sendSuper(SUPER("add"), self, element); }

// A per-element method's name as this class hands it out: padded to 80 bytes.
constexpr char addingUnsorted[] = "addNoSort                                                                       ";
static_assert(sizeof addingUnsorted == nameWidth + 1);

// addall (source). Sorts once. An incompatible source ends in compatibilityerror (10).
Answer<void> addAll(Self self, Ref source) {
    if (!sendSelf<bool>(SITE("iscompatible"), self, source)) return pass(SITE("compatibilityerror"));
    if (!appendNatively(self, source)) {
        const Temporary adder(perElement(self.ref(), addingUnsorted));
        send(SITE("do"), source, adder.ref());
    }
    sendSelf(SITE("resort"), self);
    return {};
}

// Where a binary search ended, from 0: everything before `low` compared 1, `last` was looked at last or next.
struct Found {
    std::int64_t low;
    std::int64_t last;
};

// Among the elements low .. high, from 0, by comparing each with the given one.
Found search(const Self &self, Comparison &compare, const std::byte *element, std::int64_t low, std::int64_t high) {
    while (low <= high && !compare.hasFailed()) {
        const auto middle = (low + high) >> 1;
        const auto all = runOf(*self);
        if (middle >= all.count) break; // the comparison has removed elements
        if (compare(all.start + static_cast<std::size_t>(middle) * all.width, element))
            low = middle + 1;
        else
            high = middle - 1;
    }
    return {low, (low + high) >> 1};
}

// indexforinserting (element) -> index behind all that may stand in front of it.
Answer<Index> indexForInserting(Self self, Element element) {
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    Comparison compare(self);
    if (!compare) return raise(Error::noWorkArea);
    const auto found = search(self, compare, element.address, 0, std::int64_t{runOf(*self).count} - 1);
    return static_cast<Index>(std::min<std::int64_t>(found.low, runOf(*self).count) + 1);
}

// ---- Sorting ----------------------------------------------------------------------------------------------------

// Elements of a collection, taken out to be sorted and put back if they are still all there is in their place.
class PrivateCopy {
public:
    PrivateCopy(const Self &owner, std::size_t from, std::size_t length)
        : self(owner), first(from), count(length), width(owner->elementSize), size(runOf(*owner).count),
          bytes(2 * length * owner->elementSize + 2 * std::size_t{owner->elementSize}) {
        if (!bytes) return;
        std::memcpy(records(), source(runOf(*self)), count * width);
        std::memcpy(original(), records(), count * width);
    }
    explicit operator bool() const { return static_cast<bool>(bytes); }
    std::byte *records() { return bytes.bytes(); }
    std::byte *pivot() { return bytes.bytes() + 2 * count * width; }
    std::byte *swapped() { return pivot() + width; }

    void putBack() {
        const auto all = runOf(*self);
        if (!self.isAlive() || all.count != size || all.width != width) return;
        if (std::memcmp(source(all), original(), count * width) != 0) return;
        std::memcpy(source(all), records(), count * width);
    }

private:
    std::byte *original() { return bytes.bytes() + count * width; }
    std::byte *source(const Run &all) const { return all.start + first * width; }

    const Self &self;
    std::size_t first;
    std::size_t count;
    std::size_t width;
    Count size;
    WorkArea bytes;
};

// Sorts `count` elements from `first` on, from 0.
Answer<void> sortRange(const Self &self, std::size_t first, std::size_t count) {
    Comparison compare(self);
    if (!compare) return raise(Error::noWorkArea);
    const std::size_t width = self->elementSize;
    if (const auto order = compare.knownOrderOfElements(); order != Order::none) {
        sortInOrder(runOf(*self).start + first * width, count, width, order);
        return {};
    }
    PrivateCopy sorted(self, first, count);
    if (!sorted) return raise(Error::noWorkArea);
    PrescribedSort(sorted.records(), width, sorted.pivot(), sorted.swapped(), compare)
        .sort(0, static_cast<std::ptrdiff_t>(count) - 1);
    if (!compare.hasFailed()) sorted.putBack();
    return {};
}

// One step of the sort of low .. high, from 0; answers where the pivot went.
Answer<Index> partitionRange(const Self &self, std::int64_t low, std::int64_t high) {
    Comparison compare(self);
    const auto count = static_cast<std::size_t>(high - low + 1);
    PrivateCopy sorted(self, static_cast<std::size_t>(low), count);
    if (!compare || !sorted) return raise(Error::noWorkArea);
    const auto store = PrescribedSort(sorted.records(), self->elementSize, sorted.pivot(), sorted.swapped(), compare)
                           .partition(0, high - low);
    if (compare.hasFailed()) return -1;
    sorted.putBack();
    return static_cast<Index>(low + store);
}

// The offset in the storage, from 1, of element `position`, from 0.
Count offsetOf(const SortedFields &fields, std::int64_t position) {
    return static_cast<Count>((fields.first - 1 + position) * fields.elementSize + 1);
}

// resort (). All of it.
Answer<void> resort(Self self) {
    const auto count = runOf(*self).count;
    if (nativePath(self.ref(), {"sort"})) return count < 2 ? Answer<void>{} : sortRange(self, 0, count);
    WorkArea pivot(areaWidth(self.ref())), swapped(areaWidth(self.ref()));
    if (!pivot || !swapped) return raise(Error::noWorkArea);
    sendSelf(SITE("sort"), self, offsetOf(*self, 0), offsetOf(*self, std::int64_t{count} - 1), pivot.element(),
             swapped.element());
    return {};
}

// Sends `sort` for each part, as a subclass that redefines it expects.
Answer<void> sortByMessages(const Self &self, std::int64_t low, std::int64_t high, Area pivot, Area swapped) {
    const auto sortPart = [&](std::int64_t from, std::int64_t to) {
        sendSelf(SITE("sort"), self, offsetOf(*self, from), offsetOf(*self, to), pivot, swapped);
    };
    while (high - low > 1 && high < runOf(*self).count) {
        const auto middle = (low + high) / 2;
        const auto store = partitionRange(self, low, high);
        if (store.failure) return store.failure;
        if (store.value < 0) return {};
        if (middle < store.value) {
            sortPart(std::int64_t{store.value} + 1, high);
            high = std::int64_t{store.value} - 1;
        } else {
            sortPart(low, std::int64_t{store.value} - 1);
            low = std::int64_t{store.value} + 1;
        }
    }
    if (high - low == 1 && high < runOf(*self).count) return sortRange(self, static_cast<std::size_t>(low), 2);
    return {};
}

// sort (low offset, high offset, pivot area, swap area). The elements whose storage offsets, from 1, lie from low to
// high; the areas are not needed any more. Raises 3 when the offsets are not those of elements.
Answer<void> sort(Self self, Count low, Count high, Area pivot, Area swapped) {
    const auto &fields = *self;
    const std::int64_t width = fields.elementSize;
    const std::int64_t count = runOf(fields).count;
    if (count == 0 || width == 0) return {};
    if (high + fields.elementSize == low) return {}; // an empty part ends right before it starts
    const auto position = [&](Count offset) { return (std::int64_t{offset} - 1) / width - (fields.first - 1); };
    const auto from = position(low), to = position(high);
    const auto areElements = offsetOf(fields, from) == low && offsetOf(fields, to) == high;
    if (!areElements || from < 0 || to < from || to >= count) return pass(SITE("errorinbounds"));
    if (!nativePath(self.ref(), {"sort"})) return sortByMessages(self, from, to, pivot, swapped);
    return sortRange(self, static_cast<std::size_t>(from), static_cast<std::size_t>(to - from + 1));
}

// ---- Searching --------------------------------------------------------------------------------------------------

// Whether the searched element is the one at that position, from 0.
bool isElement(const Self &self, std::int64_t position, Element element) {
    const auto all = runOf(*self);
    if (position >= all.count || !isWhole(element, all.width)) return false;
    const auto *stored = all.start + static_cast<std::size_t>(position) * all.width;
    if (!holdsReferences(*self)) return equalElements(stored, element.address, all.width);
    Ref held{}, wanted;
    std::memcpy(&held, stored, std::min(sizeof held, std::size_t{all.width}));
    std::memcpy(&wanted, element.address, sizeof wanted);
    return send<bool>(SITE("equal"), wanted, held);
}

// firstindexof (element, from, to) -> index, 0 when absent. By binary search, then backwards through those that are
// equal. A from index below 1 raises 3.
Answer<Index> firstIndexOf(Self self, Element element, Index from, Index to) {
    if (from < 1) return pass(SITE("errorinbounds"));
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    const std::int64_t count = runOf(*self).count;
    const std::int64_t low = std::int64_t{from} - 1;
    const std::int64_t high = std::min(std::int64_t{to}, count) - 1;
    if (low >= count || from > to) return 0;
    Comparison compare(self);
    if (!compare) return raise(Error::noWorkArea);
    const auto found = search(self, compare, element.address, low, high);
    if (compare.hasFailed() || found.last < low || found.last > high) return 0;
    if (!isElement(self, found.last, element)) return 0;
    ElementMatcher matcher(self.ref());
    auto index = found.last + 1;
    while (index > from && self.isAlive() && matcher.matches(element, static_cast<Index>(index - 1))) --index;
    return static_cast<Index>(index);
}

// ---- What is refused, and what is done another way ----------------------------------------------------------------

// atput (index, element), insertallafter (index, collection). End in shouldnotimplement (16).
Answer<void> atPut(Self, Area, Area) { return pass(SITE("shouldnotimplement")); }
Answer<void> insertAllAfter(Self, Area, Area) { return pass(SITE("shouldnotimplement")); }

// atallput (element).
void atAllPut(Self self, Element element) {
    const auto count = sizeOf(self);
    sendSelf(SITE("removefirst"), self, count);
    for (Index i = 0; i < count && self.isAlive(); ++i) sendSelf(SITE("add"), self, element);
}

// replaceall (old element, new element, from, to). A from index below 1 raises 3.
Answer<void> replaceAll(Self self, Element old, Element replacement, Index from, Index to) {
    if (from < 1) return pass(SITE("errorinbounds"));
    WorkArea removed(areaWidth(self.ref()));
    if (!removed) return raise(Error::noWorkArea);
    std::int64_t start = from;
    while (start <= to && self.isAlive()) {
        const auto found = sendSelf<Index>(SITE("firstindexof"), self, old, static_cast<Index>(start), to);
        if (found < start || areaWidth(self.ref()) > removed.size()) break;
        sendSelf(SITE("removeatindex"), self, removed.returning(), found);
        storeRemoved(old.address, removed.bytes(), self->elementSize);
        sendSelf(SITE("add"), self, replacement);
        start = std::int64_t{found} + 1;
    }
    return {};
}

// species () -> class of ordered collections.
Ref species(Self) { return CLASS("ordrdcll"); }

// resetcache (). There is nothing to release: the word names a cell.
void resetCache(Self self) { self->sortCache = 0; }

// finalize () -> null.
Ref finalize(Self self) {
    self->sortCache = 0;
    return sendSuper<Ref>(SUPER("finalize"), self);
}

constexpr std::array methods{
    onClass<withAllAndSortMethod>("withallandsortmethod"),
    instance<initialize>("initialize"),
    instance<setSortMethod>("setsortmethod"),
    instance<setSortEntry>("setsortentry"),
    instance<defaultSortMethod>("defaultsortmethod"),
    instance<add>("add"),
    instance<addNoSort>("addnosort"),
    instance<addAll>("addall"),
    instance<indexForInserting>("indexforinserting"),
    instance<resort>("resort"),
    instance<sort>("sort"),
    instance<firstIndexOf>("firstindexof"),
    instance<atPut>("atput"),
    instance<insertAllAfter>("insertallafter"),
    instance<atAllPut>("atallput"),
    instance<replaceAll>("replaceall"),
    instance<species>("species"),
    instance<resetCache>("resetcache"),
    instance<finalize>("finalize"),
};

constexpr ClassDef definition{.program = program,
                              .name = "sortedcollection",
                              .super = "dynarray",
                              .instanceData = fields<SortedFields, 177>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
