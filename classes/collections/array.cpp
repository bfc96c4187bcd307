// Array: elements in a fixed number of slots, read and written by index.
#include "classes/collections/collection.h"

namespace oocobol {
namespace {

constexpr char program[] = "array";

using Self = Instance<SequencedFields>;

bool isInBounds(const SequencedFields &fields, Index index) {
    return index > 0 && static_cast<Count>(index) <= fields.slotCount;
}

// at (index) -> element. Raises 3 outside.
Answer<void> at(Self self, Returning element, Index index) {
    const auto &array = *self;
    if (!isInBounds(array, index)) return pass(SITE("errorinbounds")).answering(array.elementSize);
    if (element) copyElement(element.address, slotOf(array, static_cast<Count>(index)), array.elementSize);
    return {};
}

// atput (index, element). Raises 3 outside.
Answer<void> atPut(Self self, Index index, Element element) {
    const auto &array = *self;
    if (!isInBounds(array, index)) return pass(SITE("errorinbounds"));
    if (!isWhole(element, array.elementSize)) return pass(SITE("invalidparameter"));
    copyElement(slotOf(array, static_cast<Count>(index)), element.address, array.elementSize);
    return {};
}

// atnogc (index) -> element. Outside it answers nothing.
void atNoCheck(Self self, Returning element, Index index) {
    const auto &array = *self;
    if (element && isInBounds(array, index))
        copyElement(element.address, slotOf(array, static_cast<Count>(index)), array.elementSize);
}

// asarray () -> a copy.
Ref asArray(Self self) { return sendSelf<Ref>(SITE("copy"), self); }

constexpr std::array methods{
    instance<at>("at"),
    instance<atPut>("atput"),
    instance<atNoCheck>("atnogc"),
    instance<asArray>("asarray"),
};

constexpr ClassDef definition{.program = program,
                              .name = "array",
                              .super = "arrayed",
                              .instanceData = inheritedFields(collectionSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
