#include "runtime/objects.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

#include "host/host.h"
#include "runtime/thread_store.h"

namespace oocobol {

namespace {

constexpr std::uint64_t largestData = 0xFFFFFF00;

// From the root down, each class's own part.
void runInitialisers(const ClassFamily &family, Ref object) {
    for (const auto *ancestor : family.ancestors) {
        if (ancestor->instanceInitialiser == nullptr) continue;
        auto *body = bodyOf(object);
        if (body == nullptr) return;
        void *data = body + ancestor->instanceDataOffset;
        host::callMethod(ancestor->instanceInitialiser, host::isCobolCode(ancestor->instanceInitialiser), &data, 1);
        ++thread.epoch;
    }
}

Ref create(const ClassFamily &family, Ref classObject, std::uint64_t size) {
    if (size > largestData) return null;
    auto *body = allocateBody(static_cast<std::uint32_t>(size));
    if (body == nullptr) return null;
    headerOf(body)->classIndex = classObject.index();
    const auto object = enterObject(body, family.instances->id);
    if (!object) {
        freeBody(body);
        return null;
    }
    if (family.anyInstanceInitialiser) runInitialisers(family, object);
    return object;
}

// An ended object is made anew, its index and its body together.
inline Ref revive(ObjectPool &pool, const Behaviour &classSide, std::uint32_t classIndex) {
    const auto index = pool.take();
    auto &entry = objects.entries[index];
    auto *body = entry.body.load(std::memory_order_relaxed);
    auto *header = headerOf(body);
    detail::clearSteps(body, classSide.plainPool - 1);
    header->classIndex = classIndex;
    header->size = classSide.plainSize;
    header->marks = 0;
    return detail::makeLive(index, entry, instancesOfClassSide(classSide.id));
}

std::recursive_mutex &exchangeLock() {
    static auto *lock = new std::recursive_mutex;
    return *lock;
}

bool isClassObject(const std::byte *body) { return isMarked(*headerOf(const_cast<std::byte *>(body)), markClass); }

[[gnu::noinline]] Ref createSlowly(Ref classObject) {
    const auto *family = familyOfClass(classObject);
    if (family == nullptr) return null;
    const auto &classSide = *family->classSide;
    if (auto *pool = classSide.plainPool != 0 ? restedPool(classSide.plainPool) : nullptr)
        return revive(*pool, classSide, classObject.index());
    return create(*family, classObject, family->instanceDataSize);
}

// A tied class object counts its instances where others note their class.
std::atomic_ref<std::uint32_t> instancesOf(BodyHeader *classHeader) {
    return std::atomic_ref<std::uint32_t>(classHeader->classIndex);
}

// The header of the class object of a tied instance, as long as that is tied too; else null.
BodyHeader *tiedClassOf(const BodyHeader *instance) {
    auto *body = bodyOf(referenceAt(instance->classIndex));
    if (body == nullptr) return nullptr;
    auto *header = headerOf(body);
    return isMarked(*header, markTied) ? header : nullptr;
}

void joinTied(BodyHeader *instance) {
    mark(*instance, markTied);
    if (auto *header = tiedClassOf(instance)) ++instancesOf(header);
}

void removeClass(Ref classObject) {
    auto *entry = findEntry(classObject);
    if (auto *body = entry != nullptr ? removeObject(classObject, *entry) : nullptr) freeBody(body);
}

// With the last instance its class object goes.
void leaveTied(const BodyHeader *instance) {
    auto *header = tiedClassOf(instance);
    if (header != nullptr && --instancesOf(header) == 0) removeClass(referenceAt(instance->classIndex));
}

void untie(Ref classObject) {
    if (auto *body = bodyOf(classObject))
        std::atomic_ref(headerOf(body)->marks).fetch_and(static_cast<std::uint16_t>(~markTied));
}

// Where a body may wait for its next life; 0 when it goes its own way, without its index.
std::size_t poolFor(const BodyHeader &header, Ref object) {
    const auto sizeClass = detail::bodyClassOf(header.size);
    const auto alone = !detail::hasBodyCaches || sizeClass > bodyClasses || isMarked(header, markTied) ||
                       object.generation() + 1 >= detail::lastGeneration;
    return alone ? 0 : sizeClass;
}

struct FoundClass {
    Ref classObject;
    const BodyHeader *instance = nullptr; // null for what is no instance
};
FoundClass findClass(Ref object) {
    if (object.isNull()) return {rootFamilies().nilObject->classObject};
    if (object.isStatic()) return {object.withoutStatic()};
    auto *body = bodyOf(object);
    if (body == nullptr) return {null};
    if (isClassObject(body)) return {rootFamilies().behavior->classObject};
    const auto *header = headerOf(body);
    return {referenceAt(header->classIndex), header};
}

[[gnu::noinline]] bool cancelSlowly(Ref object) {
    auto *entry = findEntry(object);
    if (entry == nullptr || isClassObject(entry->body.load(std::memory_order_relaxed))) return false;
    auto *header = headerOf(entry->body.load(std::memory_order_relaxed));
    const auto sizeClass = poolFor(*header, object);
    if (auto *pool = sizeClass != 0 ? roomyPool(sizeClass) : nullptr) {
        if (!endObject(object, *entry)) return false;
        header->pool = static_cast<std::uint16_t>(sizeClass);
        pool->put(object.index());
        return true;
    }
    auto *body = removeObject(object, *entry);
    if (body == nullptr) return false;
    if (isMarked(*header, markTied)) leaveTied(header);
    freeBody(body);
    return true;
}

bool isOfSameShape(Ref to, Ref from) {
    auto *target = bodyOf(to), *source = bodyOf(from);
    if (target == nullptr || source == nullptr || isClassObject(target)) return false;
    return headerOf(target)->classIndex == headerOf(source)->classIndex &&
           headerOf(target)->size == headerOf(source)->size;
}

} // namespace

// The two below are the common case of the general ones, with everything asked before anything is changed: without a
// call in them they need no registers saved, which is a good part of their time.

Ref createInstance(Ref classObject) noexcept {
    const auto index = classObject.index();
    if (index >= objects.limit.load(std::memory_order_relaxed)) return null;
    const auto tag = objects.entries[index].tag.load(std::memory_order_acquire);
    const auto &behaviour = behaviourAt(behaviourOf(tag));
    auto &pool = *thread.store->pools[behaviour.plainPool];
    if (static_cast<std::uint32_t>(tag) != classObject.generation() || behaviour.plainPool == 0 || !pool.hasRested())
        [[unlikely]]
        return createSlowly(classObject);
    return revive(pool, behaviour, index);
}

bool cancelObject(Ref object) noexcept {
    if (!isLive(object)) return false;
    auto &entry = objects.entries[object.index()];
    const std::size_t sizeClass = headerOf(entry.body.load(std::memory_order_relaxed))->pool;
    auto &pool = *thread.store->pools[sizeClass];
    if (sizeClass == 0 || !pool.hasRoom() || (object.generation() + 1) >= detail::lastGeneration) [[unlikely]]
        return cancelSlowly(object);
    if (!detail::claim(entry, object.generation())) return false;
    ++thread.epoch;
    pool.put(object.index());
    return true;
}

Ref createIndexedInstance(Ref classObject, std::uint64_t count) noexcept {
    const auto *family = familyOfClass(classObject);
    return family != nullptr ? create(*family, classObject, family->instanceDataSize + count) : null;
}

Ref shallowCopy(Ref object) noexcept {
    const auto *entry = findEntry(object);
    if (entry == nullptr) return null;
    const auto behaviour = behaviourOf(entry->tag.load(std::memory_order_acquire));
    const auto size = headerOf(bodyOf(object))->size;
    auto *body = allocateBody(size);
    if (body == nullptr) return null;
    auto *original = bodyOf(object);
    std::memcpy(body, original, size);
    const auto *from = headerOf(original);
    auto *header = headerOf(body);
    header->classIndex = from->classIndex;
    if (isMarked(*from, markClass)) mark(*header, markClass | markCopied | markLibrary);
    const auto copy = enterObject(body, behaviour);
    if (!copy)
        freeBody(body);
    else if (isMarked(*from, markTied) && !isMarked(*from, markClass))
        joinTied(header);
    return copy;
}

bool (*contentsShared)(Ref original) = nullptr;
void (*contentsReplaced)(Ref object) = nullptr;
void (*contentsCopied)(Ref copy) = nullptr;

Ref sharingCopy(Ref object) noexcept {
    const auto copy = shallowCopy(object);
    if (copy && contentsShared != nullptr && !contentsShared(copy)) {
        cancelObject(copy);
        return null;
    }
    if (copy && contentsCopied != nullptr) contentsCopied(copy);
    return copy;
}

bool copyContents(Ref to, Ref from) noexcept {
    if (!isOfSameShape(to, from)) return false;
    if (to == from) return true;
    if (contentsShared != nullptr && !contentsShared(from)) return false;
    if (contentsReplaced != nullptr) contentsReplaced(to);
    if (!isOfSameShape(to, from)) return false; // releasing an area may have run user code
    const auto *source = bodyOf(from);
    std::memmove(bodyOf(to), source, headerOf(const_cast<std::byte *>(source))->size);
    ++thread.epoch;
    if (contentsCopied != nullptr) contentsCopied(to);
    return true;
}

bool exchangeIdentities(Ref one, Ref other) noexcept {
    const std::lock_guard guard(exchangeLock());
    auto *first = findEntry(one);
    auto *second = findEntry(other);
    if (first == nullptr || second == nullptr) return false;
    auto *firstBody = first->body.load();
    auto *secondBody = second->body.load();
    if (isClassObject(firstBody) || isClassObject(secondBody)) return false;
    if (isWatched(one) != isWatched(other)) { // registries know references: either may have an entry from now on
        watchObject(one);
        watchObject(other);
    }
    const auto firstBehaviour = behaviourOf(first->tag.load());
    const auto secondBehaviour = behaviourOf(second->tag.load());
    auto *firstComponent = componentSlot(one);
    auto *secondComponent = componentSlot(other);
    first->body.store(secondBody);
    second->body.store(firstBody);
    first->tag.store(makeTag(one.generation(), secondBehaviour), std::memory_order_release);
    second->tag.store(makeTag(other.generation(), firstBehaviour), std::memory_order_release);
    std::swap(headerOf(firstBody)->index, headerOf(secondBody)->index);
    if (firstComponent != secondComponent) {
        setComponentSlot(one, secondComponent);
        setComponentSlot(other, firstComponent);
    }
    ++thread.epoch;
    return true;
}

Ref peekClass(Ref object) noexcept { return findClass(object).classObject; }

Ref classOfSlowly(Ref object) noexcept {
    const auto found = findClass(object);
    if (found.instance != nullptr && isMarked(*found.instance, markTied)) [[unlikely]]
        untie(found.classObject);
    return found.classObject;
}

Ref superclassOf(Ref classObject) noexcept {
    const auto *family = familyOfClass(classObject);
    return family != nullptr && family->super != nullptr ? family->super->classObject : null;
}

bool resizeIndexed(Ref object, std::uint64_t count) noexcept {
    auto *entry = findEntry(object);
    if (entry == nullptr) return false;
    const auto *behaviour = behaviourOfObject(object);
    if (behaviour->classSide || !behaviour->family->indexed) return false;
    const auto size = behaviour->family->instanceDataSize + count;
    if (size > largestData) return false;
    auto *body = allocateBody(static_cast<std::uint32_t>(size));
    if (body == nullptr) return false;
    auto *old = entry->body.load();
    const auto *header = headerOf(old);
    std::memcpy(body, old, std::min<std::size_t>(size, header->size));
    headerOf(body)->index = header->index;
    headerOf(body)->classIndex = header->classIndex;
    mark(*headerOf(body), marksOf(*header));
    entry->body.store(body, std::memory_order_release);
    ++thread.epoch;
    freeBody(old);
    return true;
}

void tieClass(Ref classObject, Ref instance) noexcept {
    auto *classBody = bodyOf(classObject);
    auto *body = bodyOf(instance);
    if (classBody == nullptr) return;
    if (body == nullptr) return removeClass(classObject);
    mark(*headerOf(classBody), markTied);
    headerOf(classBody)->classIndex = 1;
    mark(*headerOf(body), markTied);
}

void keepForLibrary(Ref object) noexcept {
    if (auto *body = bodyOf(object)) mark(*headerOf(body), markLibrary);
}

void watchObject(Ref object) noexcept {
    auto *body = bodyOf(object);
    if (body == nullptr || isWatched(object)) return;
    mark(*headerOf(body), markWatched);
}

bool isWatched(Ref object) noexcept {
    auto *body = bodyOf(object);
    return body != nullptr && isMarked(*headerOf(body), markWatched);
}

Count countInstances(Ref classObject) noexcept {
    Count count = 0;
    if (classObject)
        forEachInstance(classObject, [&](Ref) { ++count; });
    else
        forEachObject([&](Ref, std::uint32_t, std::uint32_t marks) { count += (marks & markLibrary) == 0 ? 1 : 0; });
    return count;
}

void reportLeaks() noexcept {
    std::map<std::string, Count> byClass;
    Count total = 0;
    forEachObject([&](Ref object, std::uint32_t, std::uint32_t marks) {
        if ((marks & markLibrary) != 0) return;
        const auto *behaviour = behaviourOfObject(object);
        ++byClass[behaviour != nullptr ? behaviour->family->name : std::string("?")];
        ++total;
    });
    std::string text = "oocobol: " + std::to_string(total) + " live objects at the end of the run\n";
    for (const auto &[name, count] : byClass) text += "oocobol: " + std::to_string(count) + " " + name + "\n";
    host::report(text);
}

} // namespace oocobol
