#include "runtime/selectors.h"

#include <atomic>
#include <cstring>
#include <mutex>

#include "runtime/memory.h"

namespace oocobol {

namespace {

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

std::uint32_t hashOf(std::string_view name) {
    std::uint32_t hash = 2166136261U;
    for (const char c : name) hash = (hash ^ static_cast<unsigned char>(lower(c))) * 16777619U;
    return hash ^ hash >> 15;
}

// Readers probe whatever table they find; a grown table is published whole and the old one stays.
struct Table {
    const Table *outgrown;
    std::uint32_t mask;
    std::atomic<const Selector *> slots[1];
};
std::atomic<Table *> table{nullptr};
std::mutex lock;
std::uint32_t used = 0;

constexpr std::size_t directorySize = std::size_t{1} << 24;
const Selector **directory = nullptr; // by number
const Selector noSelector{};

bool matches(const Selector &selector, std::uint32_t hash, std::string_view name) {
    if (selector.hash != hash || selector.length != name.size()) return false;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (selector.name[i] != lower(name[i])) return false;
    }
    return true;
}

const Selector *find(std::string_view name, std::uint32_t hash) {
    const auto *current = table.load(std::memory_order_acquire);
    if (current == nullptr) return nullptr;
    for (auto slot = hash & current->mask;; slot = (slot + 1) & current->mask) {
        const auto *selector = current->slots[slot].load(std::memory_order_acquire);
        if (selector == nullptr || matches(*selector, hash, name)) return selector;
    }
}

void place(Table &into, const Selector *selector) {
    auto slot = selector->hash & into.mask;
    while (into.slots[slot].load(std::memory_order_relaxed) != nullptr) slot = (slot + 1) & into.mask;
    into.slots[slot].store(selector, std::memory_order_release);
}

bool makeRoom() {
    auto *current = table.load(std::memory_order_relaxed);
    const std::uint32_t capacity = current == nullptr ? 0 : current->mask + 1;
    if (capacity != 0 && used < capacity / 2) return true;
    const auto larger = capacity == 0 ? 4096 : capacity * 2;
    auto *grown = static_cast<Table *>(allocate(sizeof(Table) + larger * sizeof(void *)));
    if (grown == nullptr) return false;
    grown->outgrown = current;
    grown->mask = larger - 1;
    for (std::uint32_t i = 0; i < capacity; ++i) {
        if (const auto *selector = current->slots[i].load(std::memory_order_relaxed)) place(*grown, selector);
    }
    table.store(grown, std::memory_order_release);
    return true;
}

Selector *makeSelector(std::string_view name, std::uint32_t hash) {
    auto *memory = static_cast<std::byte *>(allocate(sizeof(Selector) + name.size() + 1));
    if (memory == nullptr) return nullptr;
    auto *selector = new (memory) Selector;
    auto *text = reinterpret_cast<char *>(memory + sizeof(Selector));
    for (std::size_t i = 0; i < name.size(); ++i) text[i] = lower(name[i]);
    selector->hash = hash;
    selector->length = static_cast<std::uint32_t>(name.size());
    selector->name = text;
    std::memcpy(selector->start, text, name.size() < Selector::window ? name.size() : Selector::window);
    return selector;
}

} // namespace

std::string_view nameView(const char *name, std::size_t limit) noexcept {
    if (name == nullptr) return {};
    std::size_t length = 0;
    while (length < limit && name[length] != ' ' && name[length] != '\0') ++length;
    return {name, length};
}

SelectorId findSelector(std::string_view name) noexcept {
    const auto *selector = find(name, hashOf(name));
    return selector != nullptr ? selector->id : 0;
}

SelectorId internSelector(std::string_view name) noexcept {
    if (name.empty() || name.size() > longestName) return 0;
    const auto hash = hashOf(name);
    const std::lock_guard guard(lock);
    if (const auto *known = find(name, hash)) return known->id;
    if (directory == nullptr) {
        directory = static_cast<const Selector **>(reserveRange(directorySize * sizeof(Selector *)));
        if (directory == nullptr) return 0;
    }
    if (used + 1 >= directorySize || !makeRoom()) return 0;
    auto *selector = makeSelector(name, hash);
    if (selector == nullptr) return 0;
    selector->id = ++used;
    directory[selector->id] = selector;
    place(*table.load(std::memory_order_relaxed), selector);
    return selector->id;
}

const Selector &selectorOf(SelectorId id) noexcept { return id == 0 ? noSelector : *directory[id]; }

bool detail::sameLongName(const Selector &selector, const char *name) noexcept {
    const auto view = nameView(name);
    return matches(selector, hashOf(view), view);
}

} // namespace oocobol
