// Identity dictionary: keys are the same only when their bytes are. No message is sent to them.
#include "classes/collections/dictionary.h"

namespace oocobol {
namespace {

constexpr char program[] = "idictnry";

using Self = Instance<DictionaryFields>;

// findkey (key, found flag) -> slot. See dictionary.h.
Index findKeyByIdentity(Self self, Element key, Area found) { return findKey(self, key, found, Matching::byIdentity); }

// Copies the key of an association given as an element. False when there is none.
bool readKey(const Self &self, Element association, WorkArea &key) {
    if (const auto *bytes = nativePart(*self, association.address, Part::key)) {
        copyElement(key.bytes(), bytes, self->keySize);
        return true;
    }
    return readPart(referenceIn(association.address), Part::key, key.bytes(), key.size());
}

// findelement (association) -> slot.
Answer<Index> findElement(Self self, Element association) {
    WorkArea key(partWidth(*self, Part::key));
    if (!key) return raise(Error::noWorkArea);
    if (!readKey(self, association, key)) return 0;
    if (const auto place = findKeyNatively(self, *self, key.bytes(), {"isemptyat", "isat"})) return place.slot;
    const auto hash = self->keyTemplate ? hashKeyBytes(key.bytes(), self->keySize) : hashReference(key.bytes());
    return findPlace(
        self, hash, [&](Count slot) { return sendSelf<bool>(SITE("isemptyat"), self, static_cast<Index>(slot)); },
        [&](Count slot) { return sendSelf<bool>(SITE("isat"), self, association, static_cast<Index>(slot)); });
}

// isat (association, slot) -> flag. Whether the slot's has the same key.
Answer<bool> isAt(Self self, Element association, Index at) {
    const auto slots = slotsOf(*self);
    const auto slot = static_cast<Count>(at);
    if (!slots.has(slot) || !slots.isOccupied(slot)) return false;
    WorkArea given(partWidth(*self, Part::key));
    WorkArea stored(partWidth(*self, Part::key));
    if (!given || !stored) return raise(Error::noWorkArea);
    const auto held = Element{slots.at(slot)};
    const auto heldReference = holdsObjects(*self) ? referenceIn(held.address) : null;
    if (!holdsObjects(*self))
        copyElement(stored.bytes(), held.address, self->keySize);
    else if (!readKey(self, {reinterpret_cast<const std::byte *>(&heldReference)}, stored))
        return false;
    return readKey(self, association, given) && equalElements(given.bytes(), stored.bytes(), self->keySize);
}

constexpr std::array methods{
    instance<findKeyByIdentity>("findkey"),
    instance<findElement>("findelement"),
    instance<isAt>("isat"),
};

constexpr ClassDef definition{.program = program,
                              .name = "identitydictionary",
                              .super = "dictinry",
                              .instanceData = fields<IdentityDictionaryFields, dictionarySize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
