// Bag: counts how often each element was added. Its contents are a dictionary of its own, from each distinct element to
// its number of occurrences, which is at least 1.
//
// `do` walks a copy, as in all collections; the copy knows the bag that it was made of, so that a block that tells the
// bag to quit ends the walk.
#include "classes/collections/dictionary.h"

namespace oocobol {
namespace {

constexpr char program[] = "bag";

struct [[gnu::packed]] Fields : CollectionFields { // the slot count is the number of all occurrences
    Ref contents;
    Ref associationClass;
    // For the library only:
    Ref original; // the bag that this one was copied from
};
using Self = Instance<Fields>;
using ClassSelf = Receiver;

Fields *fieldsOfBag(Ref bag) { return changeableFields<Fields>(bag); }

// ---- Creation -----------------------------------------------------------------------------------------------------

// ofvalues (template, size) -> bag. ofreferences (size) -> bag. A negative size ends in invalidparameter (33).
Answer<Ref> make(const ClassSelf &self, Ref elementTemplate, Index size) {
    if (size < 0) return pass(SITE("invalidparameter"));
    const auto associationClass = send<Ref>(SITE("newclass"), CLASS("associtn"), elementTemplate, CLASS("comp5"));
    if (!associationClass) return null;
    const auto made = sendSuper<Ref>(SUPER("privatenew"), self);
    if (made) send(SITE("initialize"), made, elementTemplate, associationClass, size);
    return made;
}
Answer<Ref> ofValues(ClassSelf self, Ref elementTemplate, Index size) { return make(self, elementTemplate, size); }
Answer<Ref> ofReferences(ClassSelf self, Index size) { return make(self, null, size); }

// initialize (template, association class, size). A size of 10 when it is left out.
void initialize(Self self, Ref elementTemplate, Ref associationClass, Optional<Count> size) {
    constexpr Count capacity = 10;
    const auto width = elementTemplate ? send<Count>(SITE("sizeinbytes"), elementTemplate) : Count{sizeof(Ref)};
    const auto contents = send<Ref>(SITE("privatenew"), CLASS("dictinry"), size ? *size : capacity, null,
                                    Count{sizeof(Ref)}, associationClass);
    const Temporary former(self->contents);
    self->elementTemplate = elementTemplate;
    self->elementSize = width;
    self->associationClass = associationClass;
    self->slotCount = 0;
    self->contents = contents;
}

// ---- Elements -----------------------------------------------------------------------------------------------------
// Counts are stored as they are given: what is 0 or negative as a signed number counts as no occurrence.

bool isPresent(const Self &self, Element element) { return send<bool>(SITE("includeskey"), self->contents, element); }
Count countOf(const Self &self, Element element) { return send<Count>(SITE("at"), self->contents, element); }

// The count of an element where it lies, as long as the dictionary is reached natively; null otherwise, or when the
// element is absent. Good until the next message.
std::byte *nativeCount(const Self &self, Element element) {
    return self->associationClass ? nativeDatum(self->contents, element.address).address : nullptr;
}
Count read(const std::byte *count) {
    Count value;
    std::memcpy(&value, count, sizeof value);
    return value;
}

// addwithoccurrences (element, count).
void addWithOccurrences(Self self, Element element, Count count) {
    if (auto *stored = nativeCount(self, element)) {
        const auto sum = read(stored) + count;
        std::memcpy(stored, &sum, sizeof sum);
        self->slotCount += count;
        return;
    }
    const auto isNew = !isPresent(self, element);
    const auto sum = isNew ? count : countOf(self, element) + count;
    const auto before = send<Count>(SITE("size"), self->contents);
    send(SITE("atput"), self->contents, element, sum);
    // A new element that could not be stored has raised why.
    if (!isNew || send<Count>(SITE("size"), self->contents) != before) self->slotCount += count;
}

// add (element).
void add(Self self, Element element) {
    if (nativePath(self.ref(), {"addwithoccurrences"})) return addWithOccurrences(self, element, 1);
    sendSelf(SITE("addwithoccurrences"), self, element, Count{1});
}

// occurrencesof (element) -> count. includes (element) -> flag.
Count occurrencesOf(Self self, Element element) {
    if (const auto *stored = nativeCount(self, element)) return read(stored);
    return isPresent(self, element) ? countOf(self, element) : 0;
}
bool includes(Self self, Element element) { return isPresent(self, element); }

// remove (element). One occurrence. Raises 12 when the element is absent.
Answer<void> remove(Self self, Element element) {
    if (!isPresent(self, element)) return raise(Error::notFound);
    const auto count = countOf(self, element);
    if (static_cast<Index>(count) > 1) {
        send(SITE("atput"), self->contents, element, count - 1);
        --self->slotCount;
    } else {
        send(SITE("removekey"), self->contents, element);
        self->slotCount -= count;
    }
    return {};
}

// size () -> number of all occurrences. isindexed () -> flag.
Count size(Self self) { return self->slotCount; }
bool isIndexed(Self) { return false; }

// ---- Copying ------------------------------------------------------------------------------------------------------

// copy () -> bag with contents of its own. Raises 32 when there is no memory.
Answer<Ref> copy(Self self) {
    const auto made = sendSelf<Ref>(SITE("basiccopy"), self);
    auto *fields = fieldsOfBag(made);
    if (fields == nullptr) return raise(Error::noStorage);
    fields->contents = null; // the receiver's
    fields->original = self.ref();
    const auto contents = send<Ref>(SITE("copy"), self->contents);
    if (!contents) {
        send<Ref>(SITE("finalize"), made);
        return null; // that has been raised
    }
    send(SITE("setcontents"), made, contents);
    return made;
}

// setcontents (dictionary).
void setContents(Self self, Ref contents) { self->contents = contents; }

// ---- Iterating ----------------------------------------------------------------------------------------------------

void clearQuit(Ref bag) {
    if (auto *fields = fieldsOfBag(bag)) fields->quit = 0;
}
bool isOver(const Self &self) {
    const auto *original = fieldsOf<Fields>(self->original);
    return self->quit == 1 || (original != nullptr && original->quit == 1);
}

// dowithoutcopy (block). With each element, as often as it occurs; equal ones one after the other.
Answer<void> doWithoutCopy(Self self, Ref block) {
    const Iteration iteration(self);
    const auto original = self->original;
    clearQuit(original);
    WorkArea answer(areaWidth(self.ref()));
    if (!answer) return raise(Error::noWorkArea);
    {
        const Temporary step(perElement(self.ref(), "doBM", block, Address{answer.bytes()}));
        send(SITE("keysanddatado"), self->contents, step.ref());
    }
    clearQuit(original);
    return {};
}

// dobm (block, answer's address, element, count). A null address ends in invalidparameter (33).
Answer<void> doElement(Self self, Ref block, Address answer, Element element, Index count) {
    if (answer == nullptr) return pass(SITE("invalidparameter"));
    WorkArea shown(areaWidth(self.ref()));
    if (!shown) return raise(Error::noWorkArea);
    const auto width = self->elementSize;
    for (Index i = 0; i < count && !isOver(self); ++i) {
        if (!isLive(block)) break;
        copyElement(shown.bytes(), element.address, width);
        sendInvoke(block, Returning{{static_cast<std::byte *>(answer)}}, shown.element());
    }
    if (isOver(self) || !isLive(block)) send(SITE("quititeration"), self->contents);
    return {};
}

// ---- Finalizing ---------------------------------------------------------------------------------------------------

// finalize () -> null. The contents go with the bag.
Ref finalize(Self self) {
    {
        const Temporary contents(self->contents);
        self->contents = null;
    }
    return self.isAlive() ? sendSuper<Ref>(SUPER("finalize"), self) : null;
}

// deepfinalizewithdepth (depth) -> null.
Ref deepFinalizeWithDepth(Self self, Index depth) {
    const auto contents = self->contents;
    self->contents = null;
    if (contents) send<Ref>(SITE("deepfinalizewithdepth"), contents, depth);
    return self.isAlive() ? sendSuper<Ref>(SUPER("finalize"), self) : null;
}

constexpr std::array methods{
    onClass<ofValues>("ofvalues"),
    onClass<ofReferences>("ofreferences"),
    instance<initialize>("initialize"),
    instance<add>("add"),
    instance<addWithOccurrences>("addwithoccurrences"),
    instance<occurrencesOf>("occurrencesof"),
    instance<includes>("includes"),
    instance<remove>("remove"),
    instance<size>("size"),
    instance<isIndexed>("isindexed"),
    instance<copy>("copy"),
    instance<setContents>("setcontents"),
    instance<doWithoutCopy>("dowithoutcopy"),
    instance<doElement>("dobm"),
    instance<finalize>("finalize"),
    instance<deepFinalizeWithDepth>("deepfinalizewithdepth"),
};

constexpr ClassDef definition{
    .program = program, .name = "bag", .super = "collectn", .instanceData = fields<Fields, 72>(), .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
