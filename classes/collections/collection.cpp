#include "classes/collections/collection.h"

#include "classes/collections/shared_storage.h"

namespace oocobol {

// ---- Storage ------------------------------------------------------------------------------------------------------

std::byte *allocateStorage(const Receiver &self, Count bytes) noexcept {
    if (nativePath(self.ref(), {"malloc"})) return static_cast<std::byte *>(allocate(std::size_t{bytes} + 1));
    return static_cast<std::byte *>(sendSelf<Address>(SITE("malloc"), self, Count{bytes + 1}));
}

void releaseStorage(const Receiver &self, std::byte *storage) noexcept {
    if (storage == nullptr || leaveToOthers(storage)) return;
    if (nativePath(self.ref(), {"dealloc"})) return release(storage);
    sendSelf(SITE("dealloc"), self, Address{storage});
}

namespace {
// The others keep what is shared.
std::byte *ownCopy(const CollectionFields &fields, std::size_t length) {
    auto *storage = static_cast<std::byte *>(allocate(length));
    if (storage == nullptr) return nullptr;
    std::memcpy(storage, fields.storage, fields.storageLength);
    if (!leaveToOthers(fields.storage)) release(fields.storage); // the last of them has just gone
    return storage;
}
} // namespace

bool renewStorage(const Instance<SequencedFields> &self, Count bytes) noexcept {
    auto *storage = allocateStorage(self, bytes);
    if (storage == nullptr) return false;
    const auto kept = std::min(bytes, Count{self->storageLength});
    if (kept != 0) std::memcpy(storage, self->storage, kept);
    std::memset(storage + kept, ' ', std::size_t{bytes} + 1 - kept);
    auto *old = self->storage;
    self->storage = storage;
    releaseStorage(self, old);
    return true;
}

bool stretchStorage(CollectionFields &fields, Count bytes) noexcept {
    const auto kept = std::min(bytes, Count{fields.storageLength});
    const auto length = std::size_t{std::max(bytes, Count{fields.storageLength})} + 1;
    auto *storage = isShared(fields.storage) ? ownCopy(fields, length)
                                             : static_cast<std::byte *>(reallocate(fields.storage, length));
    if (storage == nullptr) return false;
    std::memset(storage + kept, ' ', length - kept);
    fields.storage = storage;
    return true;
}

namespace {
// What a byte copy shares. User code that has run since may have given the receiver other storage: then it is the
// copy's alone. Fields that a program copied by itself name the receiver's storage without a share in it. There are no
// slots while this can run code of the program's own.
Ref withoutStorage(Ref copy, Ref original) noexcept {
    auto *fields = changeableFields<CollectionFields>(copy);
    if (fields == nullptr) return null;
    const auto shared = *fields;
    fields->storage = nullptr;
    fields->slotCount = 0;
    fields->storageLength = 0;
    const auto *owner = fieldsOf<CollectionFields>(original);
    const auto hasNoShare = owner != nullptr && owner->storage == shared.storage && !isShared(shared.storage);
    if (!hasNoShare) releaseStorage(Receiver(copy, fields), shared.storage);
    fields = changeableFields<CollectionFields>(copy);
    if (fields == nullptr) return null;
    fields->slotCount = shared.slotCount;
    fields->storageLength = shared.storageLength;
    return copy;
}
} // namespace

Ref copyForOwnStorage(const Receiver &self, oops_super_site &basicCopy) noexcept {
    static const auto &base = *rootFamilies().base->instances;
    if (!isPristine(base, {"basiccopy"}) || !nativePath(self.ref(), {"resetcache"}))
        return withoutStorage(sendSuper<Ref>(basicCopy, self), self.ref());
    const auto copy = shallowCopy(self.ref());
    if (auto *fields = changeableFields<CollectionFields>(copy)) fields->storage = nullptr;
    if (copy) sendSelf(SITE("resetcache"), self);
    return copy;
}

// ---- Reading elements ---------------------------------------------------------------------------------------------

std::size_t areaWidth(Ref collection) noexcept {
    const auto *fields = fieldsOf<CollectionFields>(collection);
    const std::size_t width = fields != nullptr ? fields->elementSize : 0;
    return std::max(width, sizeof(std::uint64_t));
}

constinit thread_local const Travelling *Travelling::innermost [[gnu::tls_model("initial-exec")]] = nullptr;

bool Travelling::holds(const std::byte *address, std::size_t wanted) noexcept {
    for (const auto *area = innermost; area != nullptr; area = area->outer) {
        if (address == area->start) return wanted <= std::max(area->width, narrow);
    }
    return true; // the caller's, who answers for it
}

void NativeElements::findOut() noexcept {
    known.look(collection);
    layout = Layout::none;
    if (!nativePath(collection, needs) || fieldsOf<SequencedFields>(collection) == nullptr) return;
    layout = fieldsOf<DynamicFields>(collection) != nullptr ? Layout::dynamic : Layout::fixed;
}

bool ElementReader::readByMessage(Index index) noexcept {
    if (!isLive(collection) || areaWidth(collection) > area.size()) return false;
    // What is no collection answers elements of any width, each of which must end where it ends.
    if (fieldsOf<CollectionFields>(collection) == nullptr) std::memset(area.bytes(), 0, area.size());
    send(SITE("at"), collection, area.returning(), index);
    return true;
}

// ---- Searching ------------------------------------------------------------------------------------------------------

std::optional<Run> ElementMatcher::values() noexcept {
    auto all = native.run();
    if (native.ofReferences() || (all && all->width > width)) all.reset();
    return all;
}

bool ElementMatcher::matches(Element element, Index index) noexcept {
    const auto all = native.run();
    if (!all || index < 1 || static_cast<Count>(index) > all->count)
        return areaWidth(collection) <= width && send<bool>(SITE("isat"), collection, element, index);
    if (all->width > width) return false;
    const auto *stored = all->start + (static_cast<std::size_t>(index) - 1) * all->width;
    if (!native.ofReferences()) return equalElements(stored, element.address, all->width);
    Ref held{}, wanted{};
    std::memcpy(&held, stored, std::min(sizeof held, std::size_t{all->width}));
    std::memcpy(&wanted, element.address, sizeof wanted);
    return send<bool>(SITE("equal"), held, wanted);
}

Index searchForward(const Receiver &self, Element element, std::int64_t from, std::int64_t to) noexcept {
    ElementMatcher matcher(self.ref());
    for (auto index = from; index <= to; ++index) {
        const auto values = matcher.values();
        if (values && index <= values->count) {
            const auto last = std::min<std::int64_t>(to, values->count);
            const auto wanted = static_cast<std::size_t>(last - index + 1);
            const auto *start = values->start + static_cast<std::size_t>(index - 1) * values->width;
            const auto found = findElement(start, wanted, element.address, values->width);
            if (found < wanted) return static_cast<Index>(index + static_cast<std::int64_t>(found));
            index = last;
            continue;
        }
        if (!self.isAlive()) return 0;
        if (matcher.matches(element, static_cast<Index>(index))) return static_cast<Index>(index);
    }
    return 0;
}

Index searchBackward(const Receiver &self, Element element, std::int64_t from, std::int64_t to) noexcept {
    ElementMatcher matcher(self.ref());
    for (auto index = to; index >= from; --index) {
        if (!self.isAlive()) return 0;
        if (matcher.matches(element, static_cast<Index>(index))) return static_cast<Index>(index);
    }
    return 0;
}

// ---- Writing --------------------------------------------------------------------------------------------------------

bool runsMethodOf(Ref object, std::string_view message, std::string_view program) noexcept {
    const auto *behaviour = behaviourOfObject(object);
    const auto *method = behaviour != nullptr ? lookUp(*behaviour, findSelector(message)) : nullptr;
    return method != nullptr && method->library && method->owner != nullptr && method->owner->program == program;
}

} // namespace oocobol
