// Collection: what all collections share. Elements of one size in one block of storage, described by a template (an
// intrinsic class) or, without one, references to objects.
//
// Subclasses say how elements are found, added and walked; the iterations here hand `do` a callback on one of the
// collection's own per-element methods (their names end in bm).
#include "classes/collections/collection.h"
#include "classes/collections/dictionary.h"
#include "classes/collections/shared_storage.h"
#include "classes/intrinsics/native_element.h"
#include "classes/object/ending.h"
#include "host/host.h"

#if OOCOBOL_CHECKED
#include <malloc.h>
#endif

namespace oocobol {
namespace {

constexpr char program[] = "collectn";

using Self = Instance<CollectionFields>;
using ClassSelf = Receiver;

Ref templateOf(const Self &self) { return self->elementTemplate; }
Index sizeOf(const Self &self) { return sendSelf<Index>(SITE("size"), self); }

#if OOCOBOL_CHECKED
// Moves the storage behind an object that is being worked on, so that an address kept too long shows up. Small
// storage only: it is done often.
void moveStorageOf(Ref object, void *) {
    constexpr std::size_t small = 16 * 1024;
    auto *fields = changeableFields<CollectionFields>(object);
    if (fields == nullptr || fields->storage == nullptr || !nativePath(object, {"malloc", "dealloc"})) return;
    const auto bytes = malloc_usable_size(fields->storage);
    if (bytes > small) return;
    auto *moved = static_cast<std::byte *>(allocate(bytes));
    if (moved == nullptr) return;
    std::memcpy(moved, fields->storage, bytes);
    if (!leaveToOthers(fields->storage)) release(fields->storage);
    fields->storage = moved;
}
const bool storageMoves = (moveStorage = moveStorageOf, true);
#endif

// ---- Creation, storage and copying ------------------------------------------------------------------------------

// withall (source) -> collection of the source's elements.
Ref withAll(ClassSelf self, Ref source) {
    const auto elementTemplate = send<Ref>(SITE("template"), source);
    if (!isLive(source)) return null;
    const auto size = send<Index>(SITE("size"), source);
    const auto made = sendSelf<Ref>(SITE("ofvalues"), self, elementTemplate, size);
    if (made) send(SITE("addall"), made, source);
    return made;
}

// initialize (slot count, template, element size). Raises 32 when there is no storage; there are no slots then.
Answer<void> initialize(Self self, Count slots, Ref elementTemplate, Count width) {
    auto *old = self->storage;
    self->storage = nullptr;
    self->slotCount = 0;
    self->storageLength = 0;
    self->elementSize = width;
    self->elementTemplate = elementTemplate;
    self->quit = 0;
    releaseStorage(self, old);
    const auto bytes = std::uint64_t{slots} * width;
    if (bytes > largestStorage) return raise(Error::noStorage);
    auto *storage = allocateStorage(self, static_cast<Count>(bytes));
    if (storage == nullptr) return raise(Error::noStorage);
    self->storage = storage;
    self->slotCount = slots;
    self->storageLength = static_cast<Count>(bytes);
    return {};
}

// template () -> class, null in a collection of references.
Ref elementTemplate(Self self) { return templateOf(self); }

// allocateelement () -> address. allocateelements (count) -> address. Null when there is no memory, or the count is
// negative; the caller releases the area with `dealloc`.
Address allocateElement(Self self) { return allocate(self->elementSize); }
Address allocateElements(Self self, Index count) {
    const auto bytes = std::int64_t{count} * self->elementSize;
    return bytes < 0 || bytes > UINT32_MAX ? nullptr : allocate(static_cast<std::size_t>(bytes));
}

// getstoragerequirements () -> bytes.
Count getStorageRequirements(Self self) { return self->storageLength; }

// basicgrow (bytes) -> flag. Moves the elements to storage of that length, cut or filled with spaces; the caller sets
// slot count and storage length. Until it does, the storage is never shorter than they say. A negative length ends in
// invalidparameter (33); without memory answers false and changes nothing.
Answer<bool> basicGrow(Self self, Index bytes) {
    if (bytes < 0) return pass(SITE("invalidparameter"));
    const auto wanted = static_cast<Count>(bytes);
    const auto promised = self->storageLength;
    auto *storage = allocateStorage(self, std::max(wanted, promised));
    if (storage == nullptr) return false;
    const auto kept = std::min({wanted, promised, Count{self->storageLength}});
    if (kept != 0) std::memcpy(storage, self->storage, kept);
    std::memset(storage + kept, ' ', std::size_t{std::max(wanted, promised)} + 1 - kept);
    auto *old = self->storage;
    self->storage = storage;
    releaseStorage(self, old);
    return true;
}

// setcollptr (address). Null is refused with invalidparameter (33): there are slots to stand on it.
Answer<void> setCollPtr(Self self, Address storage) {
    if (storage == nullptr) return pass(SITE("invalidparameter"));
    self->storage = static_cast<std::byte *>(storage);
    return {};
}

// capacity () -> count.
Count capacity(Self self) { return sendSelf<Count>(SITE("size"), self); }

// finalize () -> null.
Ref finalize(Self self) {
    auto *storage = self->storage;
    self->storage = nullptr;
    self->slotCount = 0;
    self->storageLength = 0;
    releaseStorage(self, storage);
    return finalizeAtRoot(self, SUPER("finalize"), *layoutOf<CollectionFields>->super);
}

// copy () -> collection with the same elements and storage of its own. Raises 32 when there is no memory.
Answer<Ref> copy(Self self) {
    const auto made = copyForOwnStorage(self, SUPER("basiccopy"));
    auto *fields = changeableFields<CollectionFields>(made);
    if (fields == nullptr) return raise(Error::noStorage);
    const auto slots = fields->slotCount;
    const auto bytes = fields->storageLength;
    fields->slotCount = 0;
    fields->storageLength = 0;
    auto *storage = allocateStorage(self, bytes);
    if (storage == nullptr) {
        send<Ref>(SITE("finalize"), made);
        return raise(Error::noStorage);
    }
    const auto held = std::min(bytes, Count{self->storageLength});
    if (held != 0) std::memcpy(storage, self->storage, held);
    send(SITE("setcollptr"), made, Address{storage});
    fields = changeableFields<CollectionFields>(made);
    if (fields != nullptr && fields->storage != nullptr) {
        fields->slotCount = slots;
        fields->storageLength = bytes;
    }
    return made;
}

// copyempty () -> collection of the receiver's species and size. copyemptywithsize (size) -> collection.
Ref copyEmpty(Self self) { return sendSelf<Ref>(SITE("copyemptywithsize"), self, sizeOf(self)); }
Ref copyEmptyWithSize(Self self, Index size) {
    const auto species = sendSelf<Ref>(SITE("species"), self);
    return send<Ref>(SITE("ofvalues"), species, templateOf(self), size);
}

// copyemptysameclass () -> collection of the receiver's own class. copyemptysameclasswithsize (size) -> collection.
Ref copyEmptySameClass(Self self) { return sendSelf<Ref>(SITE("copyemptysameclasswithsize"), self, sizeOf(self)); }
Ref copyEmptySameClassWithSize(Self self, Index size) {
    return send<Ref>(SITE("ofvalues"), self.classObject(), templateOf(self), size);
}

// deepcopy () -> collection of copies of the objects; of values, a copy.
Ref deepCopy(Self self) {
    if (!holdsReferences(*self)) return sendSelf<Ref>(SITE("copy"), self);
    const auto made = sendSelf<Ref>(SITE("copyempty"), self);
    if (!made) return null;
    const Temporary copier(perElement(self.ref(), "deepCopyBM", made));
    sendSelf(SITE("do"), self, copier.ref());
    return made;
}

// deepcopybm (target, element).
void deepCopyElement(Self, Ref target, Ref element) {
    ReferenceElement copied(send<Ref>(SITE("copy"), element), target);
    addElement(target, copied);
}

// What a callback keeps of a 4-byte parameter.
std::uint64_t asParameter(Count value) { return value; }

// deepfinalizewithdepth (depth) -> null.
Ref deepFinalizeWithDepth(Self self, Count depth) {
    if (holdsReferences(*self) && depth != 0) {
        const Temporary finalizer(perElement(self.ref(), "deepFinalizeBM", asParameter(depth - 1)));
        sendSelf(SITE("do"), self, finalizer.ref());
    }
    return self.isAlive() ? sendSelf<Ref>(SITE("finalize"), self) : null; // it may have been among its own elements
}

// deepfinalizebm (depth, element).
void deepFinalizeElement(Self, Count depth, Ref element) { send<Ref>(SITE("deepfinalizewithdepth"), element, depth); }

// ---- Queries ----------------------------------------------------------------------------------------------------

// Whether an array's `atnogc` would leave the area as it is.
bool isOutsideArray(const Self &self, Index index) {
    const auto isOutside = index < 1 || static_cast<Count>(index) > self->slotCount;
    return isOutside && runsMethodOf(self.ref(), "atnogc", "array");
}

// isat (element, index) -> flag. Objects are equal when the stored one says so, values when their bytes are. Raises 3
// outside an array.
Answer<bool> isAt(Self self, Element element, Index index) {
    if (isOutsideArray(self, index)) return pass(SITE("errorinbounds"));
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    WorkArea stored(areaWidth(self.ref()));
    if (!stored) return raise(Error::noWorkArea);
    sendSelf(SITE("atnogc"), self, stored.returning(), index);
    if (!holdsReferences(*self)) return equalElements(stored.bytes(), element.address, self->elementSize);
    Ref held, wanted;
    std::memcpy(&held, stored.bytes(), sizeof held);
    std::memcpy(&wanted, element.address, sizeof wanted);
    return send<bool>(SITE("equal"), held, wanted);
}

// iscompatible (collection) -> flag. Whether both have the same template.
bool isCompatible(Self self, Ref other) {
    const auto own = sendSelf<Ref>(SITE("template"), self);
    const auto others = send<Ref>(SITE("template"), other);
    return isLive(other) && own == others;
}

bool yes(Self) { return true; }

// isempty () -> flag. includes (element) -> flag.
bool isEmpty(Self self) { return sizeOf(self) == 0; }
Answer<bool> includes(Self self, Element element) {
    if (!isWhole(element, self->elementSize)) return pass(SITE("invalidparameter"));
    return searchForward(self, element, 1, sizeOf(self)) != 0;
}

// occurrencesof (element) -> count.
Count occurrencesOf(Self self, Element element) {
    Count count = 0;
    Index start = 1;
    for (;;) {
        const auto found = sendSelf<Index>(SITE("firstindexof"), self, element, start, sizeOf(self));
        if (found < start || found == INT32_MAX) return count;
        ++count;
        start = found + 1;
    }
}

// indexof (element) -> index, 0 when absent.
Index indexOf(Self self, Element element) {
    return sendSelf<Index>(SITE("firstindexof"), self, element, Index{1}, sizeOf(self));
}

// hash () -> the size.
Count hash(Self self) { return sendSelf<Count>(SITE("size"), self); }

// containscharacters () -> the template's answer.
bool containsCharacters(Self self) { return send<bool>(SITE("containscharacters"), templateOf(self)); }

// ---- Changes ----------------------------------------------------------------------------------------------------

// add, remove (element), dowithoutcopy (callback). The subclasses'.
Answer<void> leftToSubclass(Self, Area) { return raise(Error::implementedBySubclass); }

// Sends self the message with every element of the source.
Answer<void> withEach(const Self &self, Ref source, const char *method) {
    if (!sendSelf<bool>(SITE("iscompatible"), self, source)) return pass(SITE("compatibilityerror"));
    const Temporary each(perElement(self.ref(), method));
    send(SITE("do"), source, each.ref());
    return {};
}

// addall, removeall (source). An incompatible source ends in compatibilityerror (10); a dictionary takes the
// associations of one like it.
Answer<void> addAll(Self self, Ref source) {
    return isDictionary(self.ref()) ? addAssociations(self, source) : withEach(self, source, "add");
}
Answer<void> removeAll(Self self, Ref source) { return withEach(self, source, "remove"); }

// ---- Iteration --------------------------------------------------------------------------------------------------

// do (callback). Walks a copy: what the block does to the receiver changes nothing in the walk.
void doEach(Self self, Ref block) {
    const Temporary copied(sendSelf<Ref>(SITE("copy"), self));
    if (copied) send(SITE("dowithoutcopy"), copied.ref(), block);
}

// The block's answer to an element.
Flag ask(Ref block, Element element) {
    std::uint64_t answer = 0;
    sendInvoke(block, Returning{{reinterpret_cast<std::byte *>(&answer)}}, element);
    return static_cast<Flag>(answer);
}

// collect (callback) -> collection of what the block answers. Of a dictionary ends in compatibilityerror (10): answers
// are no associations.
Answer<Ref> collect(Self self, Ref block) {
    if (isDictionary(self.ref())) return pass(SITE("compatibilityerror"));
    Temporary made(sendSelf<Ref>(SITE("copyempty"), self));
    if (!made) return null;
    WorkArea result(std::max(areaWidth(self.ref()), areaWidth(made.ref())));
    if (!result) return raise(Error::noWorkArea);
    const Travelling travelling(result);
    const Temporary collector(perElement(self.ref(), "collectBM", block, made.ref(), Address{result.bytes()}));
    sendSelf(SITE("do"), self, collector.ref());
    return made.giveAway();
}

// collectbm (callback, target, result area's address, element). A null address ends in invalidparameter (33).
Answer<void> collectElement(Self, Ref block, Ref target, Address result, Element element) {
    if (result == nullptr) return pass(SITE("invalidparameter"));
    const Area area{static_cast<std::byte *>(result)};
    sendInvoke(block, Returning{area}, element);
    send(SITE("add"), target, Element{area.address});
    return {};
}

Ref filtered(const Self &self, Ref block, const char *method) {
    const auto made = sendSelf<Ref>(SITE("copyempty"), self);
    if (!made) return null;
    const Temporary chooser(perElement(self.ref(), method, block, made));
    sendSelf(SITE("do"), self, chooser.ref());
    return made;
}

// select, reject (callback) -> collection of the elements to which the block answers 1, or 0.
Ref select(Self self, Ref block) { return filtered(self, block, "selectBM"); }
Ref reject(Self self, Ref block) { return filtered(self, block, "rejectBM"); }

// selectbm, rejectbm (callback, target, element).
template <Flag wanted> void addChosen(Self, Ref block, Ref target, Element element) {
    if (ask(block, element) == wanted) send(SITE("add"), target, element);
}

// detect (callback) -> the first element to which the block answers 1. Raises 12 when there is none, the answer
// cleared. Of a dictionary ends in compatibilityerror (10): a datum is no association.
Answer<void> detect(Self self, Returning answer, Ref block) {
    if (isDictionary(self.ref())) return pass(SITE("compatibilityerror"));
    const auto width = self->elementSize;
    WorkArea found(areaWidth(self.ref()));
    if (!found) return raise(Error::noWorkArea).answering(width);
    const Travelling travelling(found);
    answer.store(found.bytes(), width); // zeros
    const Temporary detector(perElement(self.ref(), "detectBM", block, Address{found.bytes()}, asParameter(0)));
    sendSelf(SITE("do"), self, detector.ref());
    if (send<Count>(SITE("getparameter"), detector.ref(), Index{3}) == 0)
        return raise(Error::notFound).answering(width);
    answer.store(found.bytes(), width);
    return {};
}

// detectbm (callback, result area's address, found flag, element). A null address ends in invalidparameter (33).
Answer<void> detectElement(Self self, Ref block, Address result, InOut<Count> found, Element element) {
    if (result == nullptr) return pass(SITE("invalidparameter"));
    if (ask(block, element) != 1) return {};
    const Element answer{static_cast<const std::byte *>(result)};
    if (!isWhole(element, self->elementSize) || !isWhole(answer, self->elementSize))
        return pass(SITE("invalidparameter"));
    found.set(1);
    self->quit = 1;
    copyElement(result, element.address, self->elementSize);
    return {};
}

// quititeration ().
void quitIteration(Self self) { self->quit = 1; }

// ---- Display ----------------------------------------------------------------------------------------------------

// A collection on its way to the console; one that is there already only shows that it is.
void displayWith(const Self &self, oops_site &walk, const char *ofObjects, const char *ofValues) {
    const auto visiting = CLASS("recurset");
    if (send<bool>(SITE("includes"), visiting, self.ref())) return sendSelf(SITE("displayrecursion"), self);
    send(SITE("add"), visiting, self.ref());
    {
        const Temporary shower(perElement(self.ref(), holdsReferences(*self) ? ofObjects : ofValues));
        host::display("(");
        sendSelf(walk, self, shower.ref());
        host::display(")");
    }
    send(SITE("remove"), visiting, self.ref());
}

// display ().
void display(Self self) { displayWith(self, SITE("do"), "displayObjectBM", "displayIntrinsicBM"); }
// displaykeysanddata ().
void displayKeysAndData(Self self) {
    displayWith(self, SITE("keysanddatado"), "displayObjectKVBM", "displayIntrinsicKVBM");
}

// displayobjectbm, displayintrinsicbm (element).
void displayObject(Self, Ref element) {
    send(SITE("display"), element);
    host::display(" ");
}
Answer<void> displayIntrinsic(Self self, Element element) {
    const std::size_t width = self->elementSize;
    if (!isWhole(element, width)) return pass(SITE("invalidparameter"));
    const auto displayed = displayItem(templateOf(self), element.address, width);
    host::display(" ");
    return displayed;
}

// displayobjectkvbm, displayintrinsickvbm (key, element).
Answer<void> displayKey(Count key) {
    const auto displayed = displayItem(CLASS("comp5"), reinterpret_cast<const std::byte *>(&key), sizeof key);
    host::display("->");
    return displayed;
}
Answer<void> displayObjectAndKey(Self self, Count key, Ref element) {
    const auto displayed = displayKey(key);
    displayObject(self, element);
    return displayed;
}
Answer<void> displayIntrinsicAndKey(Self self, Count key, Element element) {
    const auto displayed = displayKey(key);
    return displayed.failure ? displayed : displayIntrinsic(self, element);
}

// ---- Conversion -------------------------------------------------------------------------------------------------

Ref withAllOf(Ref classObject, const Self &self) { return send<Ref>(SITE("withall"), classObject, self.ref()); }

// asarray, asbag, asvalueset, asidentityset, asorderedcollection, assortedcollection, asdefaultsortedcollection ()
// -> collection of that class.
Ref asArray(Self self) { return withAllOf(CLASS("array"), self); }
Ref asBag(Self self) { return withAllOf(CLASS("bag"), self); }
Ref asValueSet(Self self) { return withAllOf(CLASS("valueset"), self); }
Ref asIdentitySet(Self self) { return withAllOf(CLASS("iset"), self); }
Ref asOrderedCollection(Self self) { return withAllOf(CLASS("ordrdcll"), self); }
Ref asSortedCollection(Self self) { return withAllOf(CLASS("srtdclln"), self); }

// assortedcollectionwithsort (sort target, method name) -> sorted collection.
Ref asSortedCollectionWithSort(Self self, Ref target, Name method) {
    return send<Ref>(SITE("withallandsortmethod"), CLASS("srtdclln"), self.ref(), target, method);
}

// The text that a thread is putting together: `fillstringbm` must not write beyond it, whatever the elements claim to
// hold by then.
struct Assembly {
    std::byte *start;
    Count length;
    const Assembly *outer;
};
constinit thread_local const Assembly *assembling = nullptr;

constexpr Count tooLongToAssemble = UINT32_MAX;

std::byte *allocateText(Count length) { return static_cast<std::byte *>(allocate(std::size_t{length} + 1)); }

// asseparatedstring (separator) -> character array of the elements' values with the separator's between them. Raises
// 32 when that is longer than any text can be, or there is no memory.
Answer<Ref> asSeparatedString(Self self, Ref separator) {
    const auto separatorSize = send<Count>(SITE("sizeinbytes"), separator);
    const auto size = sendSelf<Count>(SITE("size"), self);
    if (size == 0) return send<Ref>(SITE("withlength"), CLASS("chararry"), Index{0});
    const auto separators = std::uint64_t{size} * separatorSize;
    if (separators > INT32_MAX) return raise(Error::noStorage);
    Count total;
    {
        const Temporary adder(perElement(self.ref(), "calculateSizeBM ", asParameter(static_cast<Count>(separators))));
        sendSelf(SITE("do"), self, adder.ref());
        total = send<Count>(SITE("getparameter"), adder.ref(), Index{1});
    }
    if (total > INT32_MAX) return raise(Error::noStorage);
    const Assembly assembly{allocateText(total), total, assembling};
    if (assembly.start == nullptr) return raise(Error::noStorage);
    {
        const Temporary filler(
            perElement(self.ref(), "fillStringBM ", Address{assembly.start}, asParameter(1), separator));
        assembling = &assembly;
        sendSelf(SITE("do"), self, filler.ref());
        assembling = assembly.outer;
    }
    const auto length = total < separatorSize ? 0 : total - separatorSize;
    const auto made = send<Ref>(SITE("withbytelengthvalue"), CLASS("chararry"), static_cast<Index>(length),
                                Bytes{reinterpret_cast<const char *>(assembly.start)});
    release(assembly.start);
    return made;
}

// as0aseparatedstring () -> character array, separated by line feeds.
Ref asLineSeparatedString(Self self) {
    const Temporary separator(send<Ref>(SITE("withlengthvalue"), CLASS("chararry"), Index{1}, Bytes{"\n"}));
    return sendSelf<Ref>(SITE("asseparatedstring"), self, separator.ref());
}

// calculatesizebm (running total, element). A sum beyond 4 bytes stays at the largest number.
void addElementSize(Self, InOut<Count> total, Ref element) {
    const auto size = send<Count>(SITE("sizeinbytes"), element);
    const auto sum = std::uint64_t{total.get()} + size;
    total.set(sum < tooLongToAssemble ? static_cast<Count>(sum) : tooLongToAssemble);
}

// How many bytes `getvalue` of an object may write: what it says, or what the library knows better.
std::size_t valueWidth(Ref object, Count claimed) {
    const auto *collection = fieldsOf<CollectionFields>(object);
    const auto *body = bodyOf(object);
    const std::size_t known = collection != nullptr ? std::size_t{collection->storageLength}
                              : body != nullptr     ? headerOf(const_cast<std::byte *>(body))->size
                                                    : 0;
    return std::max(known, std::size_t{claimed});
}

// Puts the object's value at the position of a buffer, as far as the buffer is known to reach; answers how many bytes.
Count appendValue(Ref object, std::byte *buffer, Count position) {
    const auto size = send<Count>(SITE("sizeinbytes"), object);
    const auto *assembly = assembling;
    while (assembly != nullptr && assembly->start != buffer) assembly = assembly->outer;
    const auto room = assembly == nullptr ? UINT32_MAX : assembly->length - std::min(position - 1, assembly->length);
    const auto taken = std::min(size, room);
    WorkArea value(valueWidth(object, size));
    if (!value || taken == 0) return 0;
    send(SITE("getvalue"), object, value.returning());
    std::memcpy(buffer + position - 1, value.bytes(), taken);
    return taken;
}

// fillstringbm (buffer address, position, separator, element). A null address or position 0 ends in
// invalidparameter (33).
Answer<void> fillString(Self, Address buffer, InOut<Count> position, Ref separator, Ref element) {
    auto *text = static_cast<std::byte *>(buffer);
    if (text == nullptr || position.get() == 0) return pass(SITE("invalidparameter"));
    position.set(position.get() + appendValue(element, text, position.get()));
    position.set(position.get() + appendValue(separator, text, position.get()));
    return {};
}

// errorinbounds () -> the handler's answer. Raises 3.
Answer<void> errorInBounds(Self, Returning) { return raise(Error::outOfBounds).answering(sizeof(Ref)); }

constexpr std::array methods{
    onClass<withAll>("withall"),
    instance<initialize>("initialize"),
    instance<elementTemplate>("template"),
    instance<allocateElement>("allocateelement"),
    instance<allocateElements>("allocateelements"),
    instance<getStorageRequirements>("getstoragerequirements"),
    instance<basicGrow>("basicgrow"),
    instance<setCollPtr>("setcollptr"),
    instance<capacity>("capacity"),
    instance<finalize>("finalize"),
    instance<copy>("copy"),
    instance<copyEmpty>("copyempty"),
    instance<copyEmptyWithSize>("copyemptywithsize"),
    instance<copyEmptySameClass>("copyemptysameclass"),
    instance<copyEmptySameClassWithSize>("copyemptysameclasswithsize"),
    instance<deepCopy>("deepcopy"),
    instance<deepCopyElement>("deepcopybm"),
    instance<deepFinalizeWithDepth>("deepfinalizewithdepth"),
    instance<deepFinalizeElement>("deepfinalizebm"),
    instance<isAt>("isat"),
    instance<isCompatible>("iscompatible"),
    instance<yes>("isindexed"),
    instance<isEmpty>("isempty"),
    instance<includes>("includes"),
    instance<occurrencesOf>("occurrencesof"),
    instance<indexOf>("indexof"),
    instance<hash>("hash"),
    instance<containsCharacters>("containscharacters"),
    instance<leftToSubclass>("add"),
    instance<leftToSubclass>("remove"),
    instance<addAll>("addall"),
    instance<removeAll>("removeall"),
    instance<doEach>("do"),
    instance<leftToSubclass>("dowithoutcopy"),
    instance<collect>("collect"),
    instance<collectElement>("collectbm"),
    instance<select>("select"),
    instance<addChosen<1>>("selectbm"),
    instance<reject>("reject"),
    instance<addChosen<0>>("rejectbm"),
    instance<detect>("detect"),
    instance<detectElement>("detectbm"),
    instance<quitIteration>("quititeration"),
    instance<display>("display"),
    instance<displayKeysAndData>("displaykeysanddata"),
    instance<displayObject>("displayobjectbm"),
    instance<displayIntrinsic>("displayintrinsicbm"),
    instance<displayObjectAndKey>("displayobjectkvbm"),
    instance<displayIntrinsicAndKey>("displayintrinsickvbm"),
    instance<asArray>("asarray"),
    instance<asBag>("asbag"),
    instance<asValueSet>("asvalueset"),
    instance<asIdentitySet>("asidentityset"),
    instance<asOrderedCollection>("asorderedcollection"),
    instance<asSortedCollection>("assortedcollection"),
    instance<asSortedCollection>("asdefaultsortedcollection"),
    instance<asSortedCollectionWithSort>("assortedcollectionwithsort"),
    instance<asSeparatedString>("asseparatedstring"),
    instance<asLineSeparatedString>("as0aseparatedstring"),
    instance<addElementSize>("calculatesizebm"),
    instance<fillString>("fillstringbm"),
    instance<errorInBounds>("errorinbounds"),
};

constexpr ClassDef definition{.program = program,
                              .name = "collection",
                              .super = "dependnt",
                              .instanceData = fields<CollectionFields, collectionSize>(),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
