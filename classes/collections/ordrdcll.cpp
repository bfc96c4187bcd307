// Ordered collection: the list for all purposes. Elements are added at both ends, beside others and in whole ranges.
#include "classes/collections/collection.h"

namespace oocobol {
namespace {

constexpr char program[] = "ordrdcll";

using Self = Instance<DynamicFields>;

Index sizeOf(const Self &self) { return sendSelf<Index>(SITE("size"), self); }
Index sizeOf(Ref collection) { return send<Index>(SITE("size"), collection); }

bool isCompatible(const Self &self, Ref other) { return sendSelf<bool>(SITE("iscompatible"), self, other); }

// ---- Single elements --------------------------------------------------------------------------------------------

void prependElement(DynamicFields &fields, Element element) {
    copyElement(slotOf(fields, --fields.first), element.address, fields.elementSize);
}

// The element may lie in storage that is about to move, so it waits elsewhere. Without room nothing is added: the
// reason has been raised.
[[gnu::noinline]] Answer<void> addFirstWithRoomMade(const Self &self, Element element) {
    WorkArea held(areaWidth(self.ref()));
    if (!held) return raise(Error::noWorkArea);
    copyElement(held.bytes(), element.address, self->elementSize);
    sendSelf(SITE("makeroomatstart"), self);
    auto &fields = *self;
    if (fields.first > 1 && fields.elementSize <= held.size()) prependElement(fields, held.element());
    return {};
}

// addfirst (element).
Answer<void> addFirst(Self self, Element element) {
    auto &fields = *self;
    if (!isWhole(element, fields.elementSize)) return pass(SITE("invalidparameter"));
    if (fields.first <= 1) return addFirstWithRoomMade(self, element);
    prependElement(fields, element);
    return {};
}

// addlast (element).
void addLast(Self self, Element element) { sendSelf(SITE("add"), self, element); }

// Inserts at `offset` behind the first occurrence of the other element.
Answer<void> addBeside(const Self &self, Element element, Element existing, Index offset) {
    const auto found = sendSelf<Index>(SITE("firstindexof"), self, existing, Index{1}, sizeOf(self));
    if (found == 0) return raise(Error::notFound);
    sendSelf(SITE("insertbeforeindex"), self, element, asSize(std::int64_t{found} + offset));
    return {};
}

// addafter, addbefore (new element, existing element). Raises 12 when the latter is absent.
Answer<void> addAfter(Self self, Element element, Element existing) { return addBeside(self, element, existing, 1); }
Answer<void> addBefore(Self self, Element element, Element existing) { return addBeside(self, element, existing, 0); }

// addafterindex, addbeforeindex (element, index). Raises 3 outside.
void addAfterIndex(Self self, Element element, Index index) {
    sendSelf(SITE("insertbeforeindex"), self, element, asSize(std::int64_t{index} + 1));
}
void addBeforeIndex(Self self, Element element, Index index) {
    sendSelf(SITE("insertbeforeindex"), self, element, index);
}

// ---- Whole collections ------------------------------------------------------------------------------------------

// A per-element method's name as this class hands it out: padded to 80 bytes.
constexpr char addingFirst[] = "addFirst                                                                        ";
static_assert(sizeof addingFirst == 80 + 1);

// addalllast, addallfirst (source). In the source's order; an incompatible one ends in compatibilityerror (10).
void addAllLast(Self self, Ref source) { sendSelf(SITE("addall"), self, source); }
Answer<void> addAllFirst(Self self, Ref source) {
    if (!isCompatible(self, source)) return pass(SITE("compatibilityerror"));
    const Temporary adder(perElement(self.ref(), addingFirst));
    send(SITE("reversedo"), source, adder.ref());
    return {};
}

// What a range is read from: the source, or a copy when the receiver itself is.
class RangeSource {
public:
    RangeSource(const Self &self, Ref source)
        : isReceiver(source == self.ref()), copied(isReceiver ? sendSelf<Ref>(SITE("copy"), self) : null),
          given(source) {}
    Ref ref() const { return isReceiver ? copied.ref() : given; }

private:
    bool isReceiver;
    Temporary copied;
    Ref given;
};

// Sends self the message with source elements from .. to, in that direction, up to the first index that is outside.
Answer<void> addRange(const Self &self, oops_site &adding, Ref source, Index from, Index to, Index step) {
    if (!isCompatible(self, source)) return pass(SITE("compatibilityerror"));
    if (!send<bool>(SITE("issequenced"), source)) return raise(Error::notSequenced);
    const RangeSource range(self, source);
    if (!range.ref()) return {};
    ElementReader elements(range.ref(), self.ref());
    if (!elements) return raise(Error::noWorkArea);
    const auto count = sizeOf(range.ref());
    const auto length = std::int64_t{to} - from + 1;
    std::int64_t index = step > 0 ? from : to;
    for (std::int64_t i = 0; i < length && self.isAlive(); ++i, index += step) {
        if (!elements.read(static_cast<Index>(index)) || index < 1 || index > count) break;
        if (!elements.fits(self.ref())) break;
        sendSelf(adding, self, elements.element());
    }
    return {};
}

// addsubcollectionlast, addsubcollectionfirst (source, from, to). Raises 15 when the source has no order, 3 at the
// first index outside it; an incompatible source ends in compatibilityerror (10).
Answer<void> addSubcollectionLast(Self self, Ref source, Index from, Index to) {
    return addRange(self, SITE("add"), source, from, to, 1);
}
Answer<void> addSubcollectionFirst(Self self, Ref source, Index from, Index to) {
    return addRange(self, SITE("addfirst"), source, from, to, -1);
}

// insertallafter (index, source) -> collection with the source's elements behind that index. An index outside 0 ..
// size raises 3, an incompatible source ends in compatibilityerror (10).
Answer<Ref> insertAllAfter(Self self, Index index, Ref source) {
    if (!isCompatible(self, source)) return pass(SITE("compatibilityerror"));
    const auto own = sizeOf(self);
    if (index < 0 || index > own) return pass(SITE("errorinbounds"));
    const auto others = sizeOf(source);
    const auto made = sendSelf<Ref>(SITE("copyemptywithsize"), self, asSize(std::int64_t{own} + others));
    if (!made) return null;
    const auto append = [made](Ref from, Index first, Index last) {
        send(SITE("addsubcollectionlast"), made, from, first, last);
    };
    append(self.ref(), 1, index);
    append(source, 1, others);
    append(self.ref(), asSize(std::int64_t{index} + 1), own);
    return made;
}

constexpr std::array methods{
    instance<addFirst>("addfirst"),
    instance<addLast>("addlast"),
    instance<addAfter>("addafter"),
    instance<addBefore>("addbefore"),
    instance<addAfterIndex>("addafterindex"),
    instance<addBeforeIndex>("addbeforeindex"),
    instance<addAllLast>("addalllast"),
    instance<addAllFirst>("addallfirst"),
    instance<addSubcollectionLast>("addsubcollectionlast"),
    instance<addSubcollectionFirst>("addsubcollectionfirst"),
    instance<insertAllAfter>("insertallafter"),
};

constexpr ClassDef definition{.program = program,
                              .name = "orderedcollection",
                              .super = "dynarray",
                              .instanceData = inheritedFields(dynamicSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
