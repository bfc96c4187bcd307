#include "classes/collections/shared_storage.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <unordered_map>

#include "classes/collections/collection.h"

namespace oocobol {

namespace {

// How many collections have a storage besides the first. Most programs never share any.
struct Sharers {
    std::mutex lock;
    std::unordered_map<const std::byte *, std::uint64_t> others;
};
Sharers &sharers() {
    static auto *all = new Sharers; // outlives every thread
    return *all;
}
constinit std::atomic<std::size_t> sharedStorages{0};
bool anyIsShared() { return sharedStorages.load(std::memory_order_acquire) != 0; }

// ---- What a byte copy does ----------------------------------------------------------------------------------------

bool contentsAreShared(Ref original) {
    const auto *fields = fieldsOf<CollectionFields>(original);
    return fields == nullptr || fields->storage == nullptr || shareStorage(fields->storage);
}

void contentsAreReplaced(Ref object) {
    auto *fields = changeableFields<CollectionFields>(object);
    if (fields == nullptr) return;
    auto *storage = fields->storage;
    fields->storage = nullptr;
    fields->slotCount = 0;
    fields->storageLength = 0;
    releaseStorage(Receiver(object, fields), storage);
}

const bool noted = (contentsShared = contentsAreShared, contentsReplaced = contentsAreReplaced, true);

} // namespace

bool shareStorage(std::byte *storage) noexcept try {
    auto &all = sharers();
    const std::lock_guard guard(all.lock);
    ++all.others[storage];
    sharedStorages.store(all.others.size(), std::memory_order_release);
    return true;
} catch (const std::bad_alloc &) {
    return false;
}

bool leaveToOthers(std::byte *storage) noexcept {
    if (!anyIsShared()) return false;
    auto &all = sharers();
    const std::lock_guard guard(all.lock);
    const auto found = all.others.find(storage);
    if (found == all.others.end()) return false;
    if (--found->second == 0) all.others.erase(found);
    sharedStorages.store(all.others.size(), std::memory_order_release);
    return true;
}

bool isShared(std::byte *storage) noexcept {
    if (!anyIsShared()) return false;
    auto &all = sharers();
    const std::lock_guard guard(all.lock);
    return all.others.contains(storage);
}

} // namespace oocobol
