// Association: a key and a datum, held as one item: the key's bytes, then the datum's.
//
// Either part is a value described by a template or a reference to an object. Comparing and hashing look at the key
// alone: that is what makes associations the elements of a dictionary. A class for a pair of templates is made by
// copying one of these classes.
#include <algorithm>
#include <atomic>

#include "classes/intrinsics/association.h"
#include "classes/intrinsics/native_element.h"
#include "classes/text/strings.h"
#include "classes/text/text_values.h"

namespace oocobol {

namespace {

constexpr char program[] = "associtn";

using ClassSelf = ClassSide<AssociationClassData>;
using Self = Receiver;

// ---- The parts ----------------------------------------------------------------------------------------------------

// What the receiver's class says now; of an object that is gone, nothing.
AssociationClassData layoutFor(const Self &self) {
    const auto *data = classDataOf<AssociationClassData>(self.classObject());
    return data != nullptr ? *data : AssociationClassData{};
}

// The bytes of a part; fewer when the object was made before its class was changed. Good until the next message.
using Part = std::span<std::byte>;
Part part(const Self &self, std::size_t offset, std::size_t size) {
    const auto item = itemOf(self);
    if (offset >= item.size()) return {};
    return item.subspan(offset, std::min(size, item.size() - offset));
}
Part keyOf(const Self &self) { return part(self, 0, layoutFor(self).keySize); }
Part dataOf(const Self &self) {
    const auto layout = layoutFor(self);
    return part(self, layout.keySize, layout.dataSize);
}

void fill(Part to, const std::byte *from) {
    if (!to.empty()) std::memmove(to.data(), from, to.size());
}

Ref referenceIn(Part bytes) {
    Ref held{};
    if (bytes.size() >= sizeof held) std::memcpy(&held, bytes.data(), sizeof held);
    return held;
}

// A part for a message that may run user code: a copy, or the object that it refers to.
class CopiedPart {
public:
    CopiedPart(Part bytes, Ref describedBy)
        : itemTemplate(describedBy), reference(referenceIn(bytes)),
          copy(describedBy ? std::max(bytes.size(), itemWidth(describedBy)) : 0) {
        if (copy && itemTemplate && !bytes.empty()) std::memcpy(copy.bytes(), bytes.data(), bytes.size());
    }
    explicit operator bool() const { return static_cast<bool>(copy); }

    // To the object, or statically over the bytes.
    template <class Result, class... Sent> Result tell(oops_site &message, const Sent &...sent) {
        if (!itemTemplate) return send<Result>(message, reference, sent...);
        return sendOver<Result>(message, itemTemplate, copy.bytes(), sent...);
    }

private:
    Ref itemTemplate;
    Ref reference;
    WorkArea copy;
};

CopiedPart copiedKey(const Self &self) { return CopiedPart(keyOf(self), layoutFor(self).keyTemplate); }
CopiedPart copiedData(const Self &self) { return CopiedPart(dataOf(self), layoutFor(self).dataTemplate); }

// ---- Classes ------------------------------------------------------------------------------------------------------

constexpr Count referenceSize = sizeof(Ref);

Count sizeOfPart(Ref itemTemplate) {
    return itemTemplate ? send<Count>(SITE("sizeinbytes"), itemTemplate) : referenceSize;
}

// initializeclass (). Two references.
void initializeClass(ClassSelf self) {
    sendSuper(SUPER("initializeclass"), self);
    setTypes(self, null, null);
}

// The class of a bag of references, made once for all of them.
std::atomic<std::uint64_t> countedReferences{0};

Answer<Ref> makeClass(const ClassSelf &self, Ref keyTemplate, Ref dataTemplate) {
    const auto length = std::uint64_t{sizeOfPart(keyTemplate)} + sizeOfPart(dataTemplate);
    if (length > sendSelf<Count>(SITE("maximumsize"), self)) return raise(Error::tooLong);
    const auto made = sendSelf<Ref>(SITE("basiccopy"), self);
    if (!made) return raise(Error::noInstance);
    send(SITE("setdatatype"), made, dataTemplate);
    send(SITE("setkeytype"), made, keyTemplate);
    return made;
}

// newclass (key template, data template) -> class. Three pairs have a class of their own; every other call makes a new
// one. Raises 30 when both parts together are longer than any item.
Answer<Ref> newClass(ClassSelf self, Ref keyTemplate, Ref dataTemplate) {
    const auto number = CLASS("comp5");
    if (!keyTemplate && !dataTemplate) return CLASS("associtn");
    if (keyTemplate == number && !dataTemplate) return CLASS("compasoc");
    if (keyTemplate || dataTemplate != number) return makeClass(self, keyTemplate, dataTemplate);
    if (const auto known = Ref{countedReferences.load(std::memory_order_acquire)}) return known;
    const auto made = makeClass(self, keyTemplate, dataTemplate);
    std::uint64_t first = 0; // of two threads, the first one's class is remembered
    if (made.value && !countedReferences.compare_exchange_strong(first, made.value.bits)) return Ref{first};
    return made;
}

// setkeytype, setdatatype (template). The length follows.
void setKeyType(ClassSelf self, Ref keyTemplate) {
    const auto size = sizeOfPart(keyTemplate);
    self->length += size - self->keySize;
    self->keySize = size;
    self->keyTemplate = keyTemplate;
}
void setDataType(ClassSelf self, Ref dataTemplate) {
    const auto size = sizeOfPart(dataTemplate);
    self->length += size - self->dataSize;
    self->dataSize = size;
    self->dataTemplate = dataTemplate;
}

// getkeytemplate, getdatatemplate () -> class. getkeysize, getdatasize () -> count.
Ref getKeyTemplate(ClassSelf self) { return self->keyTemplate; }
Ref getDataTemplate(ClassSelf self) { return self->dataTemplate; }
Count getKeySize(ClassSelf self) { return self->keySize; }
Count getDataSize(ClassSelf self) { return self->dataSize; }

// storingobjects () -> flag. Whether a part's template says so.
bool storingObjects(ClassSelf self) {
    return send<bool>(SITE("storingobjects"), self->keyTemplate) ||
           send<bool>(SITE("storingobjects"), self->dataTemplate);
}

// baseclass () -> class.
Ref baseClass(ClassSelf) { return CLASS("associtn"); }

// key (key) -> association without a datum. keydata (key, datum) -> association. Raise 23 when none could be made.
Ref withKey(ClassSelf self, Element key) {
    const auto made = sendSuper<Ref>(SUPER("new"), self);
    if (made) send(SITE("setkey"), made, key);
    return made;
}
Ref withKeyAndData(ClassSelf self, Element key, Element datum) {
    const auto made = sendSelf<Ref>(SITE("key"), self, key);
    if (made) send(SITE("setdata"), made, datum);
    return made;
}

// ---- The value ----------------------------------------------------------------------------------------------------

// getkey () -> key. setkey (key). getdata () -> datum. setdata (datum).
void getKey(Self self, Returning answer) {
    const auto key = keyOf(self);
    answer.store(key.data(), key.size());
}
void setKey(Self self, Element key) { fill(keyOf(self), key.address); }
void getData(Self self, Returning answer) {
    const auto data = dataOf(self);
    answer.store(data.data(), data.size());
}
void setData(Self self, Element datum) { fill(dataOf(self), datum.address); }

// getvalue () -> the bytes. setvalue (bytes).
void getValue(Self self, Returning answer) {
    const auto item = itemOf(self);
    answer.store(item.data(), item.size());
}
void setValue(Self self, Element value) {
    const auto keySize = layoutFor(self).keySize;
    sendSelf(SITE("setkey"), self, value);
    sendSelf(SITE("setdata"), self, Element{value.address + keySize});
}

// keysize, datasize () -> count. keytype, datatype () -> class.
Count keySize(Self self) { return layoutFor(self).keySize; }
Count dataSize(Self self) { return layoutFor(self).dataSize; }
Ref keyType(Self self) { return layoutFor(self).keyTemplate; }
Ref dataType(Self self) { return layoutFor(self).dataTemplate; }

// ---- Comparing ----------------------------------------------------------------------------------------------------

// The keys, by a message for objects and one for values.
Answer<bool> compare(const Self &self, Element value, oops_site &toObject, oops_site &overBytes,
                     Count (*keyLength)(Ref keyTemplate, Count bytes, const std::byte *value) = nullptr) {
    const auto layout = layoutFor(self);
    auto key = copiedKey(self);
    if (!key) return raise(Error::noWorkArea);
    if (layout.keyTemplate) {
        const auto length = keyLength != nullptr ? keyLength(layout.keyTemplate, layout.keySize, value.address)
                                                 : comparedLength(layout.keyTemplate, layout.keySize);
        return key.tell<bool>(overBytes, length, value);
    }
    Ref other;
    std::memcpy(&other, value.address, sizeof other);
    return key.tell<bool>(toObject, other);
}

// equalbylengthvalue, lessthanbylengthvalue, greaterthanbylengthvalue (length, association's bytes) -> flag.
Answer<bool> equalByLengthValue(Self self, Index, Element value) {
    return compare(self, value, SITE("equal"), SITE("equalbylengthvalue"));
}
Answer<bool> lessThanByLengthValue(Self self, Index, Element value) {
    return compare(self, value, SITE("lessthan"), SITE("lessthanbylengthvalue"));
}
Answer<bool> greaterThanByLengthValue(Self self, Index, Element value) {
    return compare(self, value, SITE("greaterthan"), SITE("greaterthanbylengthvalue"), lengthOfGreaterThan);
}

// hash () -> the key's.
Answer<Count> hash(Self self) {
    auto key = copiedKey(self);
    if (!key) return raise(Error::noWorkArea);
    return key.tell<Count>(SITE("hash"));
}

// ---- Texts --------------------------------------------------------------------------------------------------------

// displaykey, displaydata ().
Answer<void> displayKey(Self self) {
    auto key = copiedKey(self);
    if (!key) return raise(Error::noWorkArea);
    key.tell<void>(SITE("display"));
    return {};
}
Answer<void> displayData(Self self) {
    auto data = copiedData(self);
    if (!data) return raise(Error::noWorkArea);
    data.tell<void>(SITE("display"));
    return {};
}

std::string describe(CopiedPart part) {
    const Temporary text(part.tell<Ref>(SITE("description")));
    return textOf(text.ref(), INT32_MAX);
}

// ascharacterarray () -> character array, as in (key->datum).
Answer<Ref> asCharacterArray(Self self) {
    const auto key = describe(copiedKey(self));
    const auto data = describe(copiedData(self));
    return textOfClass(CLASS("chararry"), '(' + key + "->" + data + ')');
}

// ---- Going deeper -------------------------------------------------------------------------------------------------

// deepcopy () -> association with copies of the objects. A null part stays null.
Ref deepCopy(Self self) {
    const auto layout = layoutFor(self);
    const auto made = sendSelf<Ref>(SITE("copy"), self);
    if (!made) return null;
    if (const auto key = referenceIn(keyOf(self)); key && !layout.keyTemplate)
        send(SITE("setkey"), made, send<Ref>(SITE("copy"), key));
    if (const auto datum = referenceIn(dataOf(self)); datum && !layout.dataTemplate)
        send(SITE("setdata"), made, send<Ref>(SITE("copy"), datum));
    return made;
}

// deepfinalizewithdepth (depth) -> null. The objects of one level less, then self.
Ref deepFinalizeWithDepth(Self self, Index depth) {
    const auto layout = layoutFor(self);
    if (depth != 0) {
        const auto below = depth - 1;
        if (const auto key = referenceIn(keyOf(self)); key && !layout.keyTemplate)
            sendSelf(SITE("setkey"), self, send<Ref>(SITE("deepfinalizewithdepth"), key, below));
        if (!self.isAlive()) return null; // it was among its own parts
        if (const auto datum = referenceIn(dataOf(self)); datum && !layout.dataTemplate)
            sendSelf(SITE("setdata"), self, send<Ref>(SITE("deepfinalizewithdepth"), datum, below));
        if (!self.isAlive()) return null;
    }
    return sendSuper<Ref>(SUPER("deepfinalizewithdepth"), self, depth);
}

constexpr std::array methods{
    onClass<initializeClass>("initializeclass"),
    onClass<newClass>("newclass"),
    onClass<setKeyType>("setkeytype"),
    onClass<setDataType>("setdatatype"),
    onClass<getKeyTemplate>("getkeytemplate"),
    onClass<getDataTemplate>("getdatatemplate"),
    onClass<getKeySize>("getkeysize"),
    onClass<getDataSize>("getdatasize"),
    onClass<storingObjects>("storingobjects"),
    onClass<baseClass>("baseclass"),
    onClass<withKey>("key"),
    onClass<withKeyAndData>("keydata"),
    instance<getKey>("getkey"),
    instance<setKey>("setkey"),
    instance<getData>("getdata"),
    instance<setData>("setdata"),
    instance<getValue>("getvalue"),
    instance<setValue>("setvalue"),
    instance<keySize>("keysize"),
    instance<dataSize>("datasize"),
    instance<keyType>("keytype"),
    instance<dataType>("datatype"),
    instance<equalByLengthValue>("equalbylengthvalue"),
    instance<lessThanByLengthValue>("lessthanbylengthvalue"),
    instance<greaterThanByLengthValue>("greaterthanbylengthvalue"),
    instance<hash>("hash"),
    instance<displayKey>("displaykey"),
    instance<displayData>("displaydata"),
    instance<asCharacterArray>("ascharacterarray"),
    instance<deepCopy>("deepcopy"),
    instance<deepFinalizeWithDepth>("deepfinalizewithdepth"),
};

constexpr ClassDef definition{.program = program,
                              .name = "association",
                              .super = "intrnsic",
                              .classData = fields<AssociationClassData, associationClassDataSize>(),
                              .instanceData = inheritedFields(itemDataSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace

void setTypes(const ClassSide<AssociationClassData> &self, Ref keyTemplate, Ref dataTemplate) {
    sendSelf(SITE("setkeytype"), self, keyTemplate);
    sendSelf(SITE("setdatatype"), self, dataTemplate);
}

bool isPlainAssociation(const ClassFamily &family) noexcept {
    constexpr Needs needs{"getkey",   "getdata",  "setdata", "hash", "equal", "equalbylengthvalue",
                          "getvalue", "finalize", "copy"};
    return isLaidOutAs<AssociationClassData>(family) && isPristine(*family.instances, needs);
}

bool NativeAssociations::learn(std::uint32_t behaviour) noexcept {
    const auto changes = maskChanges.load(std::memory_order_acquire);
    const auto &learnt = behaviourAt(behaviour);
    if (learnt.classSide || learnt.family == nullptr || !isPlainAssociation(*learnt.family)) return false;
    plain = behaviour;
    known.remember(behaviour, changes);
    return true;
}

} // namespace oocobol
