#include "classes/collections/appending.h"

#include <algorithm>

namespace oocobol {

namespace {

// The walk over a copy of the source that `do` makes, what making it sends to the source, and the callback that carries
// each element.
bool walksNatively(Ref source) noexcept {
    constexpr Needs walking{"do", "dowithoutcopy", "finalize", "at", "size"};
    constexpr Needs copying{"copy", "basiccopy", "malloc", "dealloc", "setcollptr", "resetcache"};
    return nativePath(source, walking) && nativePath(source, copying) &&
           nativeElements(CLASS("callback"), {"invoke", "finalize"});
}

// As the walk leaves it.
void clearQuit(Ref source) noexcept {
    if (auto *fields = changeableFields<CollectionFields>(source)) fields->quit = 0;
}

// As many elements as there is room for at the end; answers how many.
Count appendToRoom(DynamicFields &fields, const Run &source, Count done) {
    const auto count = std::min(source.count - done, fields.slotCount - fields.last);
    std::memmove(slotOf(fields, fields.last + 1), source.start + std::size_t{done} * source.width,
                 std::size_t{count} * source.width);
    fields.last += count;
    return count;
}

} // namespace

bool appendNatively(const Receiver &receiver, Ref source) noexcept {
    const Instance<DynamicFields> self(receiver.ref(),
                                       resolveData(receiver.ref(), receiver.data(), layoutOf<DynamicFields>, false));
    const Needs onSelf{"add", "addnosort", "makeroomatend", "grow", "basicgrow", "malloc", "dealloc"};
    if (!walksNatively(source) || !nativePath(self.ref(), onSelf)) return false;
    NativeElements elements(source, {"at"});
    const auto all = elements.run();
    if (!all || all->width != self->elementSize) return false;
    // A collection that is its own source is read as it was at the start: what is appended comes behind that.
    const auto count = all->count;
    for (Count done = 0; done < count;) {
        if (self->last >= self->slotCount) sendSelf(SITE("makeroomatend"), self);
        const auto now = elements.run();
        if (!now || now->count < count || self->elementSize != now->width) break; // a handler of error 32 was here
        if (self->last >= self->slotCount) {
            ++done; // no room could be had for this one; the next is tried all the same
            continue;
        }
        done += appendToRoom(*self, {now->start, count, now->width}, done);
    }
    clearQuit(source);
    return true;
}

bool appendReference(Ref list, Ref object) noexcept {
    const auto *entry = findEntry(list);
    const auto *family = familyOfClass(CLASS("ordrdcll"));
    if (entry == nullptr || family == nullptr) return false;
    const auto &ordered = *family->instances;
    if (behaviourOf(entry->tag.load(std::memory_order_acquire)) != ordered.id) return false;
    auto &fields = *reinterpret_cast<DynamicFields *>(entry->body.load(std::memory_order_relaxed));
    if (fields.last >= fields.slotCount || !holdsReferences(fields) || !isPristine(ordered, {"add"})) return false;
    std::memcpy(slotOf(fields, ++fields.last), &object, sizeof object);
    return true;
}

bool fillNatively(Ref made, Ref source) noexcept {
    if (!walksNatively(source) || !nativePath(made, {"atput"})) return false;
    NativeElements elements(source, {"at"});
    const auto all = elements.run();
    auto *fields = changeableFields<SequencedFields>(made);
    if (!all || fields == nullptr || fieldsOf<DynamicFields>(made) != nullptr) return false;
    if (fields->elementSize != all->width || fields->slotCount < all->count) return false;
    if (all->count != 0) std::memcpy(fields->storage, all->start, std::size_t{all->count} * all->width);
    clearQuit(source);
    return true;
}

} // namespace oocobol
