// Dictionary: from keys to data. A value set whose elements are associations, found by their keys alone; seen as a
// collection it is the collection of its data.
//
// Associations are held as values, in the slots, or as objects that the dictionary owns: what it takes in is copied,
// what it hands out is a copy, and what it lets go is finalized. The keys' objects and the data's are never its own.
#include "classes/collections/dictionary.h"
#include "classes/intrinsics/intrinsic.h"
#include "host/host.h"

namespace oocobol {
namespace {

constexpr char program[] = "dictinry";

using ClassSelf = Receiver;
using Self = Instance<DictionaryFields>;

bool isAssociationClass(Ref classObject) { return classDataOf<AssociationClassData>(classObject) != nullptr; }

// ---- Creation -----------------------------------------------------------------------------------------------------

Answer<Ref> make(const ClassSelf &self, Ref associationClass, Index size, Ref associationTemplate, Count width) {
    const auto capacity = static_cast<Count>(size == 0 ? 1 : size);
    return sendSelf<Ref>(SITE("privatenew"), self, capacity, associationTemplate, width, associationClass);
}

// ofvalues, ofassociations (association class, size) -> dictionary. A negative size, and what is no association class,
// ends in invalidparameter (33).
Answer<Ref> ofValues(ClassSelf self, Ref associationClass, Index size) {
    if (size < 0 || !isAssociationClass(associationClass)) return pass(SITE("invalidparameter"));
    return make(self, associationClass, size, associationClass, send<Count>(SITE("sizeinbytes"), associationClass));
}
Answer<Ref> ofAssociations(ClassSelf self, Ref associationClass, Index size) {
    if (size < 0 || !isAssociationClass(associationClass)) return pass(SITE("invalidparameter"));
    return make(self, associationClass, size, null, sizeof(Ref));
}

// ofvaluesauto, ofassociationsauto (key template, data template, size) -> dictionary. With a class made for the two.
Ref ofValuesAuto(ClassSelf self, Ref keyTemplate, Ref dataTemplate, Index size) {
    const auto made = send<Ref>(SITE("newclass"), CLASS("associtn"), keyTemplate, dataTemplate);
    return made ? sendSelf<Ref>(SITE("ofvalues"), self, made, size) : null;
}
Ref ofAssociationsAuto(ClassSelf self, Ref keyTemplate, Ref dataTemplate, Index size) {
    const auto made = send<Ref>(SITE("newclass"), CLASS("associtn"), keyTemplate, dataTemplate);
    return made ? sendSelf<Ref>(SITE("ofassociations"), self, made, size) : null;
}

// privatenew (capacity, association template, element size, association class) -> dictionary.
Ref privateNew(ClassSelf self, Count capacity, Ref associationTemplate, Count width, Ref associationClass) {
    const auto made = sendSuper<Ref>(SUPER("new"), self);
    if (made) send(SITE("initialize"), made, capacity, associationTemplate, width, associationClass);
    return made;
}

// ofreferences, withall (). Not for dictionaries.
Answer<Ref> notForDictionaries(Receiver) { return pass(SITE("shouldnotimplement")); }

Count sizeOfPart(Ref itemTemplate) {
    return itemTemplate ? send<Count>(SITE("sizeinbytes"), itemTemplate) : Count{sizeof(Ref)};
}

// initialize (capacity, association template, element size, association class). What is no association class, and an
// element size that does not hold key and datum, ends in invalidparameter (33).
Answer<void> initialize(Self self, Count capacity, Ref associationTemplate, Count width, Ref associationClass) {
    if (!isAssociationClass(associationClass)) return pass(SITE("invalidparameter"));
    const auto keyTemplate = send<Ref>(SITE("getkeytemplate"), associationClass);
    const auto dataTemplate = send<Ref>(SITE("getdatatemplate"), associationClass);
    const auto keySize = sizeOfPart(keyTemplate);
    const auto dataSize = sizeOfPart(dataTemplate);
    const auto ofValues = !associationTemplate.isNull();
    if (ofValues && std::uint64_t{keySize} + dataSize > width) return pass(SITE("invalidparameter"));
    sendSuper(SUPER("initialize"), self, capacity, associationTemplate, width);
    self->associationTemplate = associationTemplate;
    self->associationClass = associationClass;
    self->keyTemplate = keyTemplate;
    self->elementTemplate = dataTemplate;
    self->keySize = keySize;
    self->dataSize = dataSize;
    NativeKeys::forget(*self);
    return {};
}

// ---- Finding keys -------------------------------------------------------------------------------------------------

// findkey (key, found flag) -> the slot where it is, or the empty one where it would go. See dictionary.h.
Index findKeyByEquality(Self self, Element key, Area found) { return findKey(self, key, found, Matching::byEquality); }

// What `findkey` of the receiver says.
struct KeyPlace {
    Index slot = 0;
    bool found = false;
};
KeyPlace placeOf(const Self &self, Element key) {
    if (const auto place = findKeyNatively(self, *self, key.address, {"findkey", "isemptyat", "basickeyat"}))
        return {place.slot, place.found};
    Flag found = 0;
    const auto slot = sendSelf<Index>(SITE("findkey"), self, key, Area{reinterpret_cast<std::byte *>(&found)});
    return {slot, found != 0 && lookAt(asTable(self), slot, "findkey").occupied};
}

// When the key is absent: raises 12, unless it has no place for a reason that has been raised.
Failure absent(const Self &self, const KeyPlace &place) {
    if (place.slot == 0 && slotsOf(*self).capacity != 0) return {};
    return raise(Error::notFound);
}

Ref associationAt(const Self &self, Index slot) {
    const auto slots = slotsOf(*self);
    return slots.has(static_cast<Count>(slot)) ? referenceIn(slots.at(static_cast<Count>(slot))) : null;
}

// ---- Key access ---------------------------------------------------------------------------------------------------

// The datum of a value association, all natively.
NativePlace answerNatively(const Self &self, Returning answer, Element key) {
    auto &fields = *self;
    constexpr Needs needs{"findkey", "isemptyat", "basickeyat", "basicdataat"};
    if (holdsObjects(fields) || !answer) return {};
    const auto place = findKeyNatively(self, fields, key.address, needs);
    if (!place.found) return place;
    const auto *slot = slotsOf(fields).at(static_cast<Count>(place.slot));
    copyElement(answer.address, slot + fields.keySize, fields.dataSize);
    return place;
}

void answerDatum(const Self &self, Returning answer, Index slot) {
    WorkArea area(partWidth(*self, Part::data));
    if (answer && area && readPartAt(self.ref(), static_cast<Count>(slot), Part::data, area.bytes(), area.size()))
        answer.store(area.bytes(), self->dataSize);
}

// at (key) -> datum. Raises 12 when the key is absent.
Answer<void> at(Self self, Returning answer, Element key) {
    const auto natively = answerNatively(self, answer, key);
    if (natively.found) return {};
    const auto place = natively ? KeyPlace{natively.slot, false} : placeOf(self, key);
    if (!place.found) return absent(self, place).answering(self->dataSize);
    answerDatum(self, answer, place.slot);
    return {};
}

// atornil (key) -> datum, zeros when the key is absent.
void atOrNil(Self self, Returning answer, Element key) {
    const auto natively = answerNatively(self, answer, key);
    if (natively.found) return;
    const auto place = natively ? KeyPlace{natively.slot, false} : placeOf(self, key);
    if (place.found)
        answerDatum(self, answer, place.slot);
    else if (answer)
        std::memset(answer.address, 0, self->dataSize);
}

// associationat (key) -> association's bytes, or a copy of the association object. Raises 12 when the key is absent.
Answer<void> associationAtKey(Self self, Returning answer, Element key) {
    const auto place = placeOf(self, key);
    if (!place.found) return absent(self, place).answering(self->elementSize);
    if (!holdsObjects(*self)) {
        const auto slots = slotsOf(*self);
        answer.store(slots.at(static_cast<Count>(place.slot)), slots.width);
        return {};
    }
    const auto copy = send<Ref>(SITE("copy"), associationAt(self, place.slot));
    answer.put(copy);
    return {};
}

// includeskey (key) -> flag.
bool includesKey(Self self, Element key) { return placeOf(self, key).found; }

// Where a new association goes.
struct NewPlace {
    Index slot = 0; // 0: there is none, or nothing is to be done any more
    Failure failure;
};
NewPlace asNewPlace(const Self &self, Index slot, std::string_view finder) {
    const auto look = lookAt(asTable(self), slot, finder);
    if (look.failure) return {0, look.failure};
    if (slotsOf(*self).has(static_cast<Count>(slot))) return {look.occupied ? 0 : slot, {}};
    self->lacking = 1; // that has been raised
    return {};
}

// Stores a new association object. Making it may run user code that changes the table: then its place is looked for
// again.
template <class Locate, class Make> Answer<void> storeObject(const Self &self, Locate locate, Make make) {
    for (unsigned attempt = 0; attempt <= mostRestarts; ++attempt) {
        const NewPlace place = locate();
        if (place.slot == 0) return place.failure ? Answer<void>(place.failure) : Answer<void>();
        const auto stamp = stampOf(*self);
        const Ref association = make();
        if (!association) {
            self->lacking = 1;
            return {};
        }
        if (stampOf(*self) == stamp) {
            occupy(*self, static_cast<Count>(place.slot), &association);
            return {};
        }
        finalizeLive(association);
    }
    self->lacking = 1;
    return raise(Error::unsettledTable);
}

void putDatum(const Self &self, Index slot, Element datum) {
    if (holdsObjects(*self)) {
        Ref association = null;
        sendSelf(SITE("privateat"), self, Returning{{reinterpret_cast<std::byte *>(&association)}}, slot);
        return send(SITE("setdata"), association, datum);
    }
    std::memmove(slotsOf(*self).at(static_cast<Count>(slot)) + self->keySize, datum.address, self->dataSize);
}

void putAssociation(const Self &self, Index at, Element key, Element datum) {
    const auto slots = slotsOf(*self);
    const auto slot = static_cast<Count>(at);
    auto *bytes = slots.at(slot);
    std::memcpy(bytes, key.address, self->keySize);
    std::memcpy(bytes + self->keySize, datum.address, self->dataSize);
    slots.setOccupied(slot);
    ++self->slotCount;
    ++self->changes;
}

// atput (key, datum). Replaces the datum of a key that is there.
Answer<void> atPut(Self self, Element key, Element datum) {
    if (!makeRoom(asTable(self))) return {};
    const auto locate = [&]() -> NewPlace {
        const auto place = placeOf(self, key);
        if (!place.found) return asNewPlace(self, place.slot, "findkey");
        putDatum(self, place.slot, datum);
        return {};
    };
    if (holdsObjects(*self)) {
        return storeObject(self, locate,
                           [&] { return send<Ref>(SITE("keydata"), self->associationClass, key, datum); });
    }
    const auto place = locate();
    if (place.failure) return place.failure;
    if (place.slot != 0) putAssociation(self, place.slot, key, datum);
    return {};
}

// removekey (key). Raises 12 when it is absent.
Answer<void> removeKey(Self self, Element key) {
    const auto place = placeOf(self, key);
    if (!place.found) return absent(self, place);
    const auto association = holdsObjects(*self) ? associationAt(self, place.slot) : null;
    removeSlot(asTable(self), static_cast<Count>(place.slot));
    finalizeLive(association);
    return {};
}

// basickeyat (slot) -> key. basicdataat (slot) -> datum. End in errorinbounds (3) outside the table.
Answer<void> partAt(const Self &self, Returning answer, Index slot, Part part) {
    const auto slots = slotsOf(*self);
    const auto size = part == Part::key ? self->keySize : self->dataSize;
    if (!slots.has(static_cast<Count>(slot))) return pass(SITE("errorinbounds")).answering(size);
    const auto *there = slots.at(static_cast<Count>(slot));
    if (const auto *bytes = nativePart(*self, there, part)) {
        answer.store(bytes, size);
        return {};
    }
    WorkArea area(partWidth(*self, part));
    if (!area) return raise(Error::noWorkArea).answering(size);
    if (readPart(referenceIn(there), part, area.bytes(), area.size())) answer.store(area.bytes(), size);
    return {};
}
Answer<void> basicKeyAt(Self self, Returning answer, Index slot) { return partAt(self, answer, slot, Part::key); }
Answer<void> basicDataAt(Self self, Returning answer, Index slot) { return partAt(self, answer, slot, Part::data); }

// basicat (slot) -> the slot's bytes. Ends in errorinbounds (3) outside the table.
Answer<void> basicAt(Self self, Returning answer, Index slot) {
    const auto slots = slotsOf(*self);
    if (!slots.has(static_cast<Count>(slot))) return pass(SITE("errorinbounds")).answering(self->elementSize);
    answer.store(slots.at(static_cast<Count>(slot)), slots.width);
    return {};
}

// ---- Associations as elements -------------------------------------------------------------------------------------

// The length that the association class's methods take its items to have.
std::size_t associationWidth(const Self &self) {
    return std::max(std::size_t{self->elementSize}, itemWidth(self->associationTemplate));
}

// Whether an object is an association whose parts are as long as this dictionary's.
bool fitsHere(const Self &self, Ref association) {
    const auto *layout = classDataOf<AssociationClassData>(classOf(association));
    return layout != nullptr && layout->keySize == self->keySize && layout->dataSize == self->dataSize;
}

// add (association). Nothing happens when the key is there already. What is no such association ends in
// compatibilityerror (10).
Answer<void> add(Self self, Element association) {
    const auto isObject = holdsObjects(*self);
    const auto object = isObject ? referenceIn(association.address) : null;
    if (isObject && !isLive(object)) return raise(Error::staleReference);
    if (isObject && !fitsHere(self, object)) return pass(SITE("compatibilityerror"));
    if (!makeRoom(asTable(self))) return {};
    const auto locate = [&] { return sendSelf<Index>(SITE("findelement"), self, association); };
    if (!isObject) return store(asTable(self), locate(), association.address);
    return storeObject(
        self, [&] { return asNewPlace(self, locate(), "findelement"); },
        [&] { return send<Ref>(SITE("copy"), object); });
}

// findelement (association) -> the slot where one with its key is, or the empty one where it would go. Raises 112 when
// the table has no such slot or does not stop changing; answers 0 then.
Answer<Index> findElement(Self self, Element association) {
    if (const auto place = findElementNatively(self, *self, association.address, {"isemptyat", "isat"}))
        return place.slot;
    const ElementBytes bytes(association.address, self->elementSize, self->associationTemplate);
    if (!bytes) return raise(Error::noWorkArea);
    const auto object = holdsObjects(*self) ? referenceIn(association.address) : null;
    const auto hash = holdsObjects(*self) ? send<Count>(SITE("hash"), object)
                                          : sendOver<Count>(SITE("hash"), self->associationTemplate, bytes.bytes());
    if (holdsObjects(*self) && !isLive(object)) return 0;
    return findPlace(
        self, hash, [&](Count slot) { return sendSelf<bool>(SITE("isemptyat"), self, static_cast<Index>(slot)); },
        [&](Count slot) { return sendSelf<bool>(SITE("isat"), self, association, static_cast<Index>(slot)); });
}

// isat (association, slot) -> flag. Whether the slot's has an equal key.
Answer<bool> isAt(Self self, Element association, Index at) {
    const auto slots = slotsOf(*self);
    const auto slot = static_cast<Count>(at);
    if (!slots.has(slot) || !slots.isOccupied(slot)) return false;
    if (holdsObjects(*self)) {
        const auto stored = associationAt(self, at);
        return isLive(stored) && send<bool>(SITE("equal"), stored, referenceIn(association.address));
    }
    WorkArea stored(associationWidth(self));
    const ElementBytes given(association.address, self->elementSize, self->associationTemplate);
    if (!stored || !given) return raise(Error::noWorkArea);
    copyElement(stored.bytes(), slots.at(slot), slots.width);
    return sendOver<bool>(SITE("equalbylengthvalue"), self->associationTemplate, given.bytes(), self->elementSize,
                          stored.element());
}

// includesassociation (association) -> flag.
bool includesAssociation(Self self, Element association) {
    return sendSuper<bool>(SUPER("includes"), self, association);
}

// removeassociation (association). Raises 12 when none with its key is there.
Answer<void> removeAssociation(Self self, Element association) {
    if (!holdsObjects(*self)) {
        sendSuper(SUPER("remove"), self, association);
        return {};
    }
    const auto slot = sendSelf<Index>(SITE("findelement"), self, association);
    const auto look = lookAt(asTable(self), slot, "findelement");
    if (look.failure) return look.failure;
    if (!look.occupied) return absent(self, {slot, false});
    const auto stored = associationAt(self, slot);
    removeSlot(asTable(self), static_cast<Count>(slot));
    finalizeLive(stored);
    return {};
}

// removeallassociations (dictionary). Ends in compatibilityerror (10) when its associations are of another kind.
Answer<void> removeAllAssociations(Self self, Ref other) {
    if (!sendSelf<bool>(SITE("iscompatible"), self, other) || !haveSameAssociations(self.ref(), other))
        return pass(SITE("compatibilityerror"));
    const Temporary remover(perElement(self.ref(), "removeAssociation"));
    send(SITE("associationsdo"), other, remover.ref());
    return {};
}

// remove (). Not for dictionaries.
Answer<void> remove(Self) { return pass(SITE("shouldnotimplement")); }

// ---- Iterating ----------------------------------------------------------------------------------------------------
// Each walks the slots in order, as many as there are associations now, until the quit flag is set.

Answer<void> walkData(const Self &self, Ref table, Count most, Ref block) {
    WorkArea datum(partWidth(*self, Part::data));
    if (!datum) return raise(Error::noWorkArea);
    Block action(block);
    visitOccupied(table, most, [&](Count slot) {
        return self->quit != 1 && readPartAt(table, slot, Part::data, datum.bytes(), datum.size()) &&
               action.invoke(datum.element());
    });
    return {};
}

// do (block). With each datum; walks a copy. dowithoutcopy (block).
Answer<void> doEach(Self self, Ref block) {
    const Iteration iteration(self);
    const auto most = self->slotCount;
    const Temporary copy(sendSelf<Ref>(SITE("copy"), self));
    return walkData(self, copy.ref(), most, block);
}
Answer<void> doWithoutCopy(Self self, Ref block) {
    const Iteration iteration(self);
    return walkData(self, self.ref(), self->slotCount, block);
}

// keysdo (block). With each key; walks a copy.
Answer<void> keysDo(Self self, Ref block) {
    const Iteration iteration(self);
    const auto most = self->slotCount;
    const Temporary copy(sendSelf<Ref>(SITE("copy"), self));
    WorkArea key(partWidth(*self, Part::key));
    if (!key) return raise(Error::noWorkArea);
    Block action(block);
    visitOccupied(copy.ref(), most, [&](Count slot) {
        return self->quit != 1 && readPartAt(copy.ref(), slot, Part::key, key.bytes(), key.size()) &&
               action.invoke(key.element());
    });
    return {};
}

// Visits the keys and data of a copy with `visit(key, datum)`.
template <class Visit> Answer<void> walkBoth(const Self &self, Visit visit) {
    const Iteration iteration(self);
    const auto most = self->slotCount;
    const Temporary copy(sendSelf<Ref>(SITE("copy"), self));
    WorkArea key(partWidth(*self, Part::key));
    WorkArea datum(partWidth(*self, Part::data));
    if (!key || !datum) return raise(Error::noWorkArea);
    visitOccupied(copy.ref(), most, [&](Count slot) {
        return self->quit != 1 && readPartAt(copy.ref(), slot, Part::key, key.bytes(), key.size()) &&
               readPartAt(copy.ref(), slot, Part::data, datum.bytes(), datum.size()) && visit(key, datum);
    });
    return {};
}

// keysanddatado (block). With each key and its datum; walks a copy.
Answer<void> keysAndDataDo(Self self, Ref block) {
    Block action(block);
    return walkBoth(self,
                    [&](WorkArea &key, WorkArea &datum) { return action.invoke(key.element(), datum.element()); });
}

// associationsdo (block). With each association, walks a copy. associationsdowithoutcopy (block).
Answer<void> associationsDo(Self self, Ref block) {
    const Iteration iteration(self);
    const auto most = self->slotCount;
    const Temporary copy(sendSelf<Ref>(SITE("copy"), self));
    WorkArea association(associationWidth(self) + sizeof(Ref));
    if (!association) return raise(Error::noWorkArea);
    Block action(block);
    visitOccupied(copy.ref(), most, [&](Count slot) {
        return self->quit != 1 && readElement(copy.ref(), slot, association.bytes(), association.size()) &&
               action.invoke(association.element());
    });
    return {};
}
void associationsDoWithoutCopy(Self self, Ref block) { sendSuper(SUPER("dowithoutcopy"), self, block); }

// select, reject (block) -> dictionary of the associations for whose data the block answers 1, or 0.
Answer<Ref> filtered(const Self &self, Ref block, Flag wanted) {
    const auto made = sendSelf<Ref>(SITE("copyempty"), self);
    if (!made) return null;
    Block chooses(block);
    const auto walked = walkBoth(self, [&](WorkArea &key, WorkArea &datum) {
        WorkArea shown(datum.size());
        if (!shown) return false;
        std::memcpy(shown.bytes(), datum.bytes(), datum.size());
        if (!chooses.invoke(shown.element())) return false;
        if (chooses.answered(wanted)) send(SITE("atput"), made, key.element(), datum.element());
        return true;
    });
    if (walked.failure) return walked.failure;
    return made;
}
Answer<Ref> select(Self self, Ref block) { return filtered(self, block, 1); }
Answer<Ref> reject(Self self, Ref block) { return filtered(self, block, 0); }

// ---- Searching data -----------------------------------------------------------------------------------------------

// Whether a datum equals the wanted one. An object that is null or gone equals only itself.
bool equalsDatum(const Self &self, Element datum, Element wanted) {
    if (self->elementTemplate) {
        const ElementBytes held(datum.address, self->dataSize, self->elementTemplate);
        return held && sendOver<bool>(SITE("equalbylengthvalue"), self->elementTemplate, held.bytes(),
                                      comparedLength(self->elementTemplate, self->dataSize), wanted);
    }
    const auto object = referenceIn(datum.address);
    const auto other = referenceIn(wanted.address);
    return isLive(object) ? send<bool>(SITE("equal"), object, other) : object == other;
}

// The steps of the searches get the address of the wanted datum, the found flag and, for keys, the address of the area
// to be filled.
constexpr std::uint64_t notFoundYet = 0;

// includes (datum) -> flag. Whether it is among the data. occurrencesof (datum) -> how often.
Count countWith(const Self &self, const char *step, Element datum) {
    const Temporary searcher(perElement(self.ref(), step, datum.address, notFoundYet));
    sendSelf(SITE("do"), self, searcher.ref());
    return searcher ? send<Count>(SITE("getparameter"), searcher.ref(), Index{2}) : 0;
}
bool includes(Self self, Element datum) { return countWith(self, "includesBM", datum) != 0; }
Count occurrencesOf(Self self, Element datum) { return countWith(self, "occurrencesOfBM", datum); }

// includesbm, occurrencesofbm (wanted datum's address, found, datum). A null address ends in invalidparameter (33).
Answer<void> noteDatum(Self self, Address wanted, InOut<Count> found, Element datum) {
    if (wanted == nullptr) return pass(SITE("invalidparameter"));
    if (!equalsDatum(self, datum, {static_cast<const std::byte *>(wanted)})) return {};
    found.set(1);
    self->quit = 1;
    return {};
}
Answer<void> countDatum(Self self, Address wanted, InOut<Count> found, Element datum) {
    if (wanted == nullptr) return pass(SITE("invalidparameter"));
    if (equalsDatum(self, datum, {static_cast<const std::byte *>(wanted)})) found.set(found.get() + 1);
    return {};
}

// keyatdata, keyatdatabyidentity (datum) -> the key of the first association, in slot order, with that datum. Raise 12
// when there is none, the answer zeroed.
Answer<void> keyAtDataWith(const Self &self, Returning answer, oops_site &step, Element wanted) {
    const auto width = self->keySize;
    WorkArea found(partWidth(*self, Part::key)), key(partWidth(*self, Part::key)), datum(partWidth(*self, Part::data));
    if (!found || !key || !datum) return raise(Error::noWorkArea).answering(width);
    answer.store(found.bytes(), width); // zeros
    Count isFound = 0;
    const Iteration iteration(self);
    visitOccupied(self.ref(), self->slotCount, [&](Count slot) {
        if (!readPartAt(self.ref(), slot, Part::key, key.bytes(), key.size()) ||
            !readPartAt(self.ref(), slot, Part::data, datum.bytes(), datum.size()))
            return false;
        sendSelf(step, self, wanted.address, isFound, found.bytes(), key.element(), datum.element());
        return !iteration.isOver();
    });
    if (isFound == 0) return raise(Error::notFound).answering(width);
    answer.store(found.bytes(), width);
    return {};
}
Answer<void> keyAtData(Self self, Returning answer, Element datum) {
    return keyAtDataWith(self, answer, SITE("keyatdatabm"), datum);
}
Answer<void> keyAtDataByIdentity(Self self, Returning answer, Element datum) {
    return keyAtDataWith(self, answer, SITE("keyatdatabmidentity"), datum);
}

// keyatdatabm, keyatdatabmidentity (wanted datum's address, found, key area's address, key, datum). A null address ends
// in invalidparameter (33).
template <bool byIdentity>
Answer<void> noteKey(Self self, Address wanted, InOut<Count> found, Address area, Element key, Element datum) {
    if (wanted == nullptr || area == nullptr) return pass(SITE("invalidparameter"));
    const Element given{static_cast<const std::byte *>(wanted)};
    const auto matches =
        byIdentity ? equalElements(datum.address, given.address, self->dataSize) : equalsDatum(self, datum, given);
    if (!matches) return {};
    found.set(1);
    self->quit = 1;
    copyElement(area, key.address, self->keySize);
    return {};
}

// ---- As other collections -----------------------------------------------------------------------------------------

// keys () -> value set. data () -> ordered collection. associations () -> ordered collection; association objects are
// still the dictionary's.
Ref collected(const Self &self, Ref classObject, Ref itemTemplate, oops_site &walk) {
    const auto size = sendSelf<Index>(SITE("size"), self);
    const auto made = send<Ref>(SITE("ofvalues"), classObject, itemTemplate, size);
    if (!made) return null;
    const Temporary adder(perElement(made, "add"));
    sendSelf(walk, self, adder.ref());
    return made;
}
Ref keys(Self self) { return collected(self, CLASS("valueset"), self->keyTemplate, SITE("keysdo")); }
Ref data(Self self) { return collected(self, CLASS("ordrdcll"), self->elementTemplate, SITE("do")); }
Ref associations(Self self) {
    return collected(self, CLASS("ordrdcll"), self->associationTemplate, SITE("associationsdowithoutcopy"));
}

// ---- Copying ------------------------------------------------------------------------------------------------------

// Forgets all associations, and finalizes those that are objects.
void forgetAll(const Self &self) {
    const auto last = slotsOf(*self).capacity;
    for (Count slot = 1; holdsObjects(*self) && slot <= last; ++slot) {
        const auto slots = slotsOf(*self);
        if (!slots.has(slot) || !slots.isOccupied(slot)) continue;
        const auto association = associationAt(self, static_cast<Index>(slot));
        vacate(*self, slot);
        if (isLive(association)) send<Ref>(SITE("deepfinalizewithdepth"), association, Index{0});
    }
    clear(*self);
}

// replacecontentswith (dictionary). A null one ends in invalidparameter (33), one with associations of another kind in
// compatibilityerror (10), one that is gone raises 106; nothing changes then.
Answer<void> replaceContentsWith(Self self, Ref other) {
    if (other.isNull()) return pass(SITE("invalidparameter"));
    if (!isLive(other)) return raise(Error::staleReference);
    if (other == self.ref()) return {};
    if (!haveSameAssociations(self.ref(), other)) return pass(SITE("compatibilityerror"));
    const Temporary adder(perElement(self.ref(), "add"));
    if (!adder) {
        self->lacking = 1;
        return {};
    }
    forgetAll(self);
    send(SITE("associationsdowithoutcopy"), other, adder.ref());
    return {};
}

// copyemptywithsize (size) -> dictionary of the receiver's species. A negative size ends in invalidparameter (33).
Answer<Ref> copyEmptyWithSize(Self self, Index size) {
    if (size < 0) return pass(SITE("invalidparameter"));
    const auto species = sendSelf<Ref>(SITE("species"), self);
    const auto associationTemplate = self->associationTemplate;
    const auto width = sizeOfPart(associationTemplate);
    return send<Ref>(SITE("privatenew"), species, static_cast<Count>(size), associationTemplate, width,
                     self->associationClass);
}

// Notes that a dictionary in the making will not be complete.
void changeLacking(Ref dictionary) {
    if (auto *fields = changeableFields<DictionaryFields>(dictionary)) fields->lacking = 1;
}

Ref copyEmptyAsLarge(const Self &self) {
    return sendSelf<Ref>(SITE("copyemptywithsize"), self, static_cast<Index>(self->capacity));
}

// Half a copy is none: what could not be filled for want of memory is given up.
Answer<Ref> ifComplete(Ref made) {
    const auto *fields = fieldsOf<DictionaryFields>(made);
    if (fields == nullptr || fields->lacking == 0) return made;
    send<Ref>(SITE("finalize"), made);
    return raise(Error::noStorage);
}

// copy () -> dictionary. basiccopy () -> dictionary; of association objects it makes copies. Raise 32 when there is no
// memory.
Ref copy(Self self) { return sendSelf<Ref>(SITE("basiccopy"), self); }
Answer<Ref> basicCopy(Self self) {
    if (!holdsObjects(*self)) return sendSuper<Ref>(SUPER("copy"), self);
    const auto made = copyEmptyAsLarge(self);
    if (!made) return null;
    const Temporary copier(perElement(self.ref(), "basicCopyBM", made));
    if (!copier) changeLacking(made);
    sendSelf(SITE("associationsdowithoutcopy"), self, copier.ref());
    return ifComplete(made);
}

// basiccopybm (target, association).
void copyAssociation(Self, Ref target, Element association) { send(SITE("add"), target, association); }

// deepcopy () -> dictionary. Associations as objects are deep copies; of values, a copy.
Answer<Ref> deepCopy(Self self) {
    if (!holdsObjects(*self)) return sendSelf<Ref>(SITE("copy"), self);
    const auto made = copyEmptyAsLarge(self);
    if (!made) return null;
    const Temporary copier(perElement(self.ref(), "deepCopyBM", made));
    if (!copier) changeLacking(made);
    sendSelf(SITE("associationsdo"), self, copier.ref());
    return ifComplete(made);
}

// deepcopybm (target, association).
void deepCopyAssociation(Self, Ref target, Ref association) {
    const Temporary copied(send<Ref>(SITE("deepcopy"), association));
    if (copied) send(SITE("add"), target, copied.ref());
}

// grow (). Association objects are replaced by copies on the way. Raises 32 when there is no storage, and nothing has
// changed.
void grow(Self self) { sendSuper(SUPER("grow"), self); }

// ---- Finalizing ---------------------------------------------------------------------------------------------------

// finalize () -> null. Association objects go with the dictionary.
Ref finalize(Self self) {
    if (holdsObjects(*self)) forgetAll(self);
    return self.isAlive() ? sendSuper<Ref>(SUPER("finalize"), self) : null;
}

// deepfinalizewithdepth (depth) -> null. What keys and data refer to, of one level less, and the dictionary.
Ref deepFinalizeWithDepth(Self self, Index depth) {
    if (depth == 0) return sendSelf<Ref>(SITE("finalize"), self);
    const auto ofObjects = holdsObjects(*self);
    const auto below = static_cast<std::uint64_t>(static_cast<Count>(ofObjects ? depth : depth - 1));
    {
        const Temporary finalizer(perElement(self.ref(), ofObjects ? "deepfinalizeBM2" : "deepfinalizeBM", below));
        sendSelf(SITE("associationsdowithoutcopy"), self, finalizer.ref());
    }
    return self.isAlive() ? sendSuper<Ref>(SUPER("finalize"), self) : null;
}

void deepFinalize(Ref object, Index depth) {
    if (isLive(object)) send<Ref>(SITE("deepfinalizewithdepth"), object, depth);
}

// deepfinalizebm (depth, association's bytes). The objects that it refers to.
void deepFinalizeParts(Self self, Index depth, Element association) {
    const auto datum = self->elementTemplate ? null : referenceIn(association.address + self->keySize);
    const auto key = self->keyTemplate ? null : referenceIn(association.address);
    deepFinalize(key, depth);
    deepFinalize(datum, depth);
}

// deepfinalizebm2 (depth, association object).
void deepFinalizeAssociation(Self, Index depth, Ref association) { deepFinalize(association, depth); }

// ---- Display ------------------------------------------------------------------------------------------------------

Answer<void> displayPart(Ref itemTemplate, Element part, Count size) {
    if (!itemTemplate) {
        send(SITE("display"), referenceIn(part.address));
        return {};
    }
    return displayItem(itemTemplate, part.address, size);
}

// displayobjectkvbm, displayintrinsickvbm (key, datum).
Answer<void> displayAssociation(Self self, Element key, Element datum) {
    const auto shown = displayPart(self->keyTemplate, key, self->keySize);
    if (shown.failure) return shown;
    host::display("->");
    const auto both = displayPart(self->elementTemplate, datum, self->dataSize);
    host::display(" ");
    return both;
}

constexpr std::array methods{
    onClass<ofValues>("ofvalues"),
    onClass<ofAssociations>("ofassociations"),
    onClass<ofValuesAuto>("ofvaluesauto"),
    onClass<ofAssociationsAuto>("ofassociationsauto"),
    onClass<privateNew>("privatenew"),
    onClass<notForDictionaries>("ofreferences"),
    onClass<notForDictionaries>("withall"),
    instance<initialize>("initialize"),
    instance<findKeyByEquality>("findkey"),
    instance<atPut>("atput"),
    instance<at>("at"),
    instance<atOrNil>("atornil"),
    instance<associationAtKey>("associationat"),
    instance<includesKey>("includeskey"),
    instance<removeKey>("removekey"),
    instance<keyAtData>("keyatdata"),
    instance<keyAtDataByIdentity>("keyatdatabyidentity"),
    instance<basicKeyAt>("basickeyat"),
    instance<basicDataAt>("basicdataat"),
    instance<basicAt>("basicat"),
    instance<add>("add"),
    instance<findElement>("findelement"),
    instance<isAt>("isat"),
    instance<includesAssociation>("includesassociation"),
    instance<removeAssociation>("removeassociation"),
    instance<removeAllAssociations>("removeallassociations"),
    instance<remove>("remove"),
    instance<doEach>("do"),
    instance<doWithoutCopy>("dowithoutcopy"),
    instance<keysDo>("keysdo"),
    instance<keysAndDataDo>("keysanddatado"),
    instance<associationsDo>("associationsdo"),
    instance<associationsDoWithoutCopy>("associationsdowithoutcopy"),
    instance<select>("select"),
    instance<reject>("reject"),
    instance<includes>("includes"),
    instance<occurrencesOf>("occurrencesof"),
    instance<keys>("keys"),
    instance<data>("data"),
    instance<associations>("associations"),
    instance<replaceContentsWith>("replacecontentswith"),
    instance<copyEmptyWithSize>("copyemptywithsize"),
    instance<copy>("copy"),
    instance<basicCopy>("basiccopy"),
    instance<deepCopy>("deepcopy"),
    instance<grow>("grow"),
    instance<finalize>("finalize"),
    instance<deepFinalizeWithDepth>("deepfinalizewithdepth"),
    instance<displayAssociation>("displayobjectkvbm"),
    instance<displayAssociation>("displayintrinsickvbm"),
    instance<noteDatum>("includesbm"),
    instance<countDatum>("occurrencesofbm"),
    instance<noteKey<false>>("keyatdatabm"),
    instance<noteKey<true>>("keyatdatabmidentity"),
    instance<copyAssociation>("basiccopybm"),
    instance<deepCopyAssociation>("deepcopybm"),
    instance<deepFinalizeParts>("deepfinalizebm"),
    instance<deepFinalizeAssociation>("deepfinalizebm2"),
};

constexpr ClassDef definition{.program = program,
                              .name = "dictionary",
                              .super = "valueset",
                              .instanceData = fields<DictionaryFields, dictionarySize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
