#include "classes/collections/dictionary.h"

namespace oocobol {

bool haveSameAssociations(Ref one, Ref other) noexcept {
    const auto *first = fieldsOf<DictionaryFields>(one);
    const auto *second = fieldsOf<DictionaryFields>(other);
    return first != nullptr && second != nullptr && holdsObjects(*first) == holdsObjects(*second) &&
           first->keyTemplate == second->keyTemplate && first->elementTemplate == second->elementTemplate &&
           first->keySize == second->keySize && first->dataSize == second->dataSize &&
           first->elementSize == second->elementSize;
}

Answer<void> addAssociations(const Receiver &self, Ref source) {
    if (!haveSameAssociations(self.ref(), source)) return pass(SITE("compatibilityerror"));
    const Temporary adder(perElement(self.ref(), "add"));
    send(SITE("associationsdo"), source, adder.ref());
    return {};
}

// ---- Parts of associations ----------------------------------------------------------------------------------------

namespace {

struct PartOf {
    std::size_t offset;
    std::size_t size;
    Ref itemTemplate;
};

PartOf partOf(const DictionaryFields &fields, Part part) {
    if (part == Part::key) return {0, fields.keySize, fields.keyTemplate};
    return {fields.keySize, fields.dataSize, fields.elementTemplate};
}

std::size_t sizeOfPart(Ref association, Part part) {
    const auto *layout = classDataOf<AssociationClassData>(classOf(association));
    if (layout == nullptr) return 0;
    return part == Part::key ? layout->keySize : layout->dataSize;
}

} // namespace

std::size_t partWidth(const DictionaryFields &fields, Part part) noexcept {
    const auto wanted = partOf(fields, part);
    return std::max({wanted.size, itemWidth(wanted.itemTemplate), sizeof(std::uint64_t)});
}

bool readPart(Ref association, Part part, std::byte *area, std::size_t room) {
    if (!isLive(association) || sizeOfPart(association, part) > room) return false;
    auto &message = part == Part::key ? SITE("getkey") : SITE("getdata");
    send(message, association, Returning{{area}});
    return true;
}

bool readPartAt(Ref dictionary, Count slot, Part part, std::byte *area, std::size_t room) {
    const auto *fields = fieldsOf<DictionaryFields>(dictionary);
    if (fields == nullptr || partOf(*fields, part).size > room) return false;
    if (!nativePath(dictionary, {"basickeyat", "basicdataat"})) {
        auto &message = part == Part::key ? SITE("basickeyat") : SITE("basicdataat");
        send(message, dictionary, Returning{{area}}, static_cast<Index>(slot));
        return true;
    }
    const auto slots = slotsOf(*fields);
    if (!slots.has(slot)) return false;
    if (const auto *bytes = nativePart(*fields, slots.at(slot), part)) {
        copyElement(area, bytes, partOf(*fields, part).size);
        return true;
    }
    return readPart(referenceIn(slots.at(slot)), part, area, room);
}

// ---- Finding keys -------------------------------------------------------------------------------------------------

namespace {

using Self = Instance<DictionaryFields>;

// Compares the keys in the slots with a given one, by message.
class KeyMatcher {
public:
    KeyMatcher(const Self &searched, const std::byte *given, Matching how)
        : self(searched), key(given), matching(how), stored(partWidth(*searched, Part::key)) {}
    explicit operator bool() const { return static_cast<bool>(stored); }

    bool operator()(Count slot) {
        if (!readPartAt(self.ref(), slot, Part::key, stored.bytes(), stored.size())) return false;
        if (matching == Matching::byIdentity) return equalElements(stored.bytes(), key, self->keySize);
        if (self->keyTemplate)
            return sendOver<bool>(SITE("equalbylengthvalue"), self->keyTemplate, stored.bytes(),
                                  comparedLength(self->keyTemplate, self->keySize), Element{key});
        const auto object = referenceIn(stored.bytes());
        return isLive(object) && send<bool>(SITE("equal"), object, referenceIn(key));
    }

private:
    const Self &self;
    const std::byte *key;
    Matching matching;
    WorkArea stored;
};

// None for an object that is null or gone: asking it has raised 7 or 106.
std::optional<Count> hashOfKey(const Self &self, const std::byte *key, Matching matching) {
    if (matching == Matching::byIdentity)
        return self->keyTemplate ? hashKeyBytes(key, self->keySize) : hashReference(key);
    if (self->keyTemplate) return sendOver<Count>(SITE("hash"), self->keyTemplate, key);
    const auto object = referenceIn(key);
    const auto hash = send<Count>(SITE("hash"), object);
    return isLive(object) ? std::optional(hash) : std::nullopt;
}

Index findByMessages(const Self &self, const std::byte *key, Matching matching) {
    const ElementBytes bytes(key, self->keySize, self->keyTemplate);
    KeyMatcher matches(self, bytes.bytes(), matching);
    if (!bytes || !matches) {
        raiseUnsettled(self);
        return 0;
    }
    const auto hash = hashOfKey(self, bytes.bytes(), matching);
    if (!hash) return 0;
    return findPlace(
        self, *hash,
        [&](Count slot) {
            if (nativePath(self.ref(), {"isemptyat"})) return !slotsOf(*self).isOccupied(slot);
            return sendSelf<bool>(SITE("isemptyat"), self, static_cast<Index>(slot));
        },
        [&](Count slot) { return matches(slot); });
}

} // namespace

Index findKey(const Self &self, Element key, Area found, Matching matching) {
    if (const auto place = findKeyNatively(self, *self, key.address, {"isemptyat", "basickeyat"})) {
        found.put(Flag(place.found));
        return place.slot;
    }
    const auto slot = findByMessages(self, key.address, matching);
    const auto slots = slotsOf(*self);
    found.put(Flag(slots.has(static_cast<Count>(slot)) && slots.isOccupied(static_cast<Count>(slot))));
    return slot;
}

NativeDatum nativeDatum(Ref dictionary, const std::byte *key) noexcept {
    constexpr Needs needs{"findkey", "isemptyat", "basickeyat", "basicdataat", "at", "atput", "privateat"};
    auto *fields = changeableFields<DictionaryFields>(dictionary);
    if (fields == nullptr) return {};
    const auto proven = isProven(dictionary, *fields);
    if (!proven && !nativePath(dictionary, needs)) return {};
    const NativeKeys keys(dictionary, *fields, proven);
    if (!keys) return {};
    if (keys.leadThroughObjects()) {
        const auto found = NativeKeys::findAmongObjects(*fields, keys, key);
        if (!slotsOf(*fields).has(static_cast<Count>(found.slot))) return {}; // that is unknown, or there is none
        return {found.association != nullptr ? found.association + fields->keySize : nullptr, true};
    }
    const auto slots = slotsOf(*fields);
    const auto slot = keys.find(*fields, key);
    if (!slots.has(slot)) return {};
    return {slots.isOccupied(slot) ? slots.at(slot) + fields->keySize : nullptr, true};
}

} // namespace oocobol
