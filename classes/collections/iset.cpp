// Identity set: objects are the same element only when they are the same object. No message is sent to them.
#include "classes/collections/hash_table.h"

namespace oocobol {
namespace {

constexpr char program[] = "iset";

using Self = Instance<HashedFields>;

// findelement (element) -> slot. A reference hashes as its low half, values as their template says.
Answer<Index> findElement(Self self, Element element) {
    if (const auto place = findElementNatively(self, *self, element.address, {"isemptyat", "isat"})) return place.slot;
    const ElementBytes bytes(element.address, self->elementSize, self->elementTemplate);
    if (!bytes) return raise(Error::noWorkArea);
    const auto hash = holdsReferences(*self) ? referenceIn(element.address).index()
                                             : sendOver<Count>(SITE("hash"), self->elementTemplate, bytes.bytes());
    return findPlace(
        self, hash, [&](Count slot) { return sendSelf<bool>(SITE("isemptyat"), self, static_cast<Index>(slot)); },
        [&](Count slot) { return sendSelf<bool>(SITE("isat"), self, element, static_cast<Index>(slot)); });
}

// isat (element, slot) -> flag. Whether the slot holds the same bytes.
bool isAt(Self self, Element element, Index slot) {
    const auto slots = slotsOf(*self);
    const auto at = static_cast<Count>(slot);
    if (!slots.has(at) || !slots.isOccupied(at)) return false;
    return equalElements(slots.at(at), element.address, slots.width);
}

constexpr std::array methods{
    instance<findElement>("findelement"),
    instance<isAt>("isat"),
};

constexpr ClassDef definition{.program = program,
                              .name = "identityset",
                              .super = "valueset",
                              .instanceData = fields<IdentitySetFields, hashedSize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
