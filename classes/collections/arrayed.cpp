// Arrayed collection: what collections of fixed size share. They are filled by index and refuse `add`.
#include "classes/collections/appending.h"
#include "classes/collections/collection.h"

namespace oocobol {
namespace {

constexpr char program[] = "arrayed";

using Self = Instance<SequencedFields>;
using ClassSelf = Receiver;

// A per-element method's name as this class hands it out: padded to 80 bytes.
constexpr char numberedPut[] = "withAllBM                                                                       ";
static_assert(sizeof numberedPut == 80 + 1);

// withall (source) -> collection of the source's elements, in the order in which it walks them.
Ref withAll(ClassSelf self, Ref source) {
    const auto elementTemplate = send<Ref>(SITE("template"), source);
    if (!isLive(source)) return null;
    const auto size = send<Index>(SITE("size"), source);
    const auto made = sendSelf<Ref>(SITE("ofvalues"), self, elementTemplate, size);
    if (!made) return null;
    if (nativePath(self.ref(), {"withallbm"}) && fillNatively(made, source)) return made;
    const Temporary putter(perElement(self.ref(), numberedPut, std::uint64_t{0}, made));
    send(SITE("do"), source, putter.ref());
    return made;
}

// withallbm (counter, collection, element).
void putNext(ClassSelf, InOut<Index> counter, Ref made, Element element) {
    if (counter.get() == INT32_MAX) return;
    counter.set(counter.get() + 1);
    send(SITE("atput"), made, counter.get(), element);
}

// add (element). Raises 1.
Answer<void> add(Self, Area) { return raise(Error::notGrowable); }

constexpr std::array methods{
    onClass<withAll>("withall"),
    onClass<putNext>("withallbm"),
    instance<add>("add"),
};

constexpr ClassDef definition{.program = program,
                              .name = "arrayedcollection",
                              .super = "sequence",
                              .instanceData = inheritedFields(collectionSize),
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
