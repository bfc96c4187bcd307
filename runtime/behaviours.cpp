#include "runtime/behaviours.h"

#include <mutex>
#include <new>

#include "runtime/classes.h"
#include "runtime/dispatch.h"
#include "runtime/memory.h"
#include "runtime/own_cell.h"

namespace oocobol {

constinit Cell *cells = nullptr;
constinit Behaviour *behaviours = nullptr;
constinit std::atomic<std::uint32_t> maskChanges{2};

namespace {

constexpr std::uint32_t behaviourCapacity = (std::uint32_t{1} << 20) / owningRangeDivisor;

std::atomic<std::uint32_t> behaviourCount{1};
std::recursive_mutex lock;
std::uint32_t nextCell = 1;
std::atomic<bool> nativeAllowed{true};

// What no object's tag and no class's can match, for sites that have not been resolved.
constexpr std::uint32_t noBehaviour = UINT32_MAX - 1;

CellNumber findCell(const CellTable *table, SelectorId selector) {
    return table != nullptr ? table->find(selector) : 0;
}

void placeCell(CellTable &table, SelectorId selector, CellNumber number) {
    auto slot = selector & table.mask;
    while (table.slots[slot].load(std::memory_order_relaxed) != 0) slot = (slot + 1) & table.mask;
    table.slots[slot].store(std::uint64_t{selector} << 32 | number, std::memory_order_release);
    ++table.used;
}

// The sum of all outgrown tables is less than the current one.
bool makeRoom(Behaviour &behaviour) {
    auto *table = behaviour.cells.load(std::memory_order_relaxed);
    const std::uint32_t capacity = table == nullptr ? 0 : table->mask + 1;
    if (capacity != 0 && table->used < capacity / 2) return true;
    const auto larger = capacity == 0 ? 16 : capacity * 2;
    auto *grown = static_cast<CellTable *>(allocate(sizeof(CellTable) + larger * sizeof(std::uint64_t)));
    if (grown == nullptr) return false;
    grown->outgrown = table;
    grown->mask = larger - 1;
    for (std::uint32_t i = 0; i < capacity; ++i) {
        const auto held = table->slots[i].load(std::memory_order_relaxed);
        if (held != 0) placeCell(*grown, static_cast<SelectorId>(held >> 32), static_cast<CellNumber>(held));
    }
    behaviour.cells.store(grown, std::memory_order_release);
    return true;
}

// The parameter count first: a sender that still runs the old entry may pass more addresses, never fewer.
void link(Cell &cell, const Method *method) {
    const std::uint32_t parameters = method != nullptr ? method->parameters : notUnderstoodParameters;
    if (parameters > cell.parameters.load(std::memory_order_relaxed))
        cell.parameters.store(parameters, std::memory_order_release);
    cell.method.store(method, std::memory_order_release);
    cell.entry.store(method != nullptr ? method->entry : notUnderstood, std::memory_order_release);
}

const Method *inChain(const ClassFamily *family, bool classSide, SelectorId selector) {
    for (; family != nullptr; family = family->super) {
        if (const auto *method = family->methods(classSide).find(selector)) return method;
    }
    return nullptr;
}

bool concerns(const Behaviour &behaviour, const ClassFamily &family) {
    if (behaviour.family == nullptr) return family.isRoot() || family.isNilObject();
    if (behaviour.family->isKindOf(family)) return true;
    return behaviour.classSide && (family.isRoot() || family.isBehavior());
}

bool runsLibraryCode(const Behaviour &behaviour, std::string_view message) {
    const auto selector = findSelector(message);
    const auto *method = selector == 0 ? nullptr : lookUp(behaviour, selector);
    return method == nullptr || method->library;
}

void findPristine(Behaviour &behaviour) {
    for (std::size_t word = 0; word < maskWords; ++word) {
        std::uint64_t mask = 0;
        const auto first = word * 64, end = std::min(first + 64, std::size(guardedMessages));
        for (auto i = first; nativeAllowed && i < end; ++i) {
            if (runsLibraryCode(behaviour, guardedMessages[i])) mask |= std::uint64_t{1} << (i - first);
        }
        behaviour.pristine[word].store(mask, std::memory_order_release);
    }
}

void refresh(Behaviour &behaviour) {
    if (const auto *table = behaviour.cells.load(std::memory_order_relaxed)) {
        for (std::uint32_t i = 0; i <= table->mask; ++i) {
            const auto held = table->slots[i].load(std::memory_order_relaxed);
            if (held == 0) continue;
            auto &cell = cellAt(static_cast<CellNumber>(held));
            const auto *method = lookUp(behaviour, cell.selector->id);
            if (method != cell.method.load(std::memory_order_relaxed)) link(cell, method);
        }
    }
    findPristine(behaviour);
}

} // namespace

bool reserveBehaviours() noexcept {
    cells = static_cast<Cell *>(reserveRange(std::size_t{cellCapacity} * sizeof(Cell)));
    behaviours = static_cast<Behaviour *>(reserveOwningRange(std::size_t{behaviourCapacity} * sizeof(Behaviour)));
    if (cells == nullptr || behaviours == nullptr) return false;
    new (&cells[0]) Cell;
    cells[0].behaviour = noBehaviour;
    return makeBehaviour(nullptr, false)->id == nullBehaviour;
}

Behaviour *makeBehaviour(const ClassFamily *family, bool classSide) noexcept {
    const std::lock_guard guard(lock);
    const auto id = behaviourCount.load(std::memory_order_relaxed);
    if (id == behaviourCapacity) return nullptr;
    auto *behaviour = new (&behaviours[id]) Behaviour;
    behaviour->id = id;
    behaviour->family = family;
    behaviour->classSide = classSide;
    findPristine(*behaviour);
    behaviourCount.store(id + 1, std::memory_order_release);
    return behaviour;
}

const Method *lookUp(const Behaviour &behaviour, SelectorId selector) noexcept {
    const auto &roots = rootFamilies();
    if (behaviour.family == nullptr) {
        if (const auto *method = inChain(roots.base, false, selector)) return method;
        return roots.nilObject != nullptr ? roots.nilObject->methods(true).find(selector) : nullptr;
    }
    if (const auto *method = inChain(behaviour.family, behaviour.classSide, selector)) return method;
    if (!behaviour.classSide) return nullptr;
    return inChain(roots.behavior != nullptr ? roots.behavior : roots.base, false, selector);
}

const Cell *cellFor(Behaviour &behaviour, SelectorId selector) noexcept {
    if (const auto number = findCell(behaviour.cells.load(std::memory_order_acquire), selector)) return &cellAt(number);
    const std::lock_guard guard(lock);
    if (const auto number = findCell(behaviour.cells.load(std::memory_order_relaxed), selector)) return &cellAt(number);
    if (nextCell == cellCapacity || !makeRoom(behaviour)) return nullptr;
    auto *cell = new (&cells[nextCell]) Cell;
    cell->behaviour = behaviour.id;
    cell->selector = &selectorOf(selector);
    link(*cell, lookUp(behaviour, selector));
    ++nextCell;
    placeCell(*behaviour.cells.load(std::memory_order_relaxed), selector, numberOf(cell));
    return cell;
}

void linkCell(Cell &cell, const Behaviour &behaviour, SelectorId selector) noexcept {
    cell.behaviour = behaviour.id;
    cell.selector = &selectorOf(selector);
    link(cell, lookUp(behaviour, selector));
}

void methodsChanged(const ClassFamily &family) noexcept {
    const std::lock_guard guard(lock);
    const auto count = behaviourCount.load(std::memory_order_relaxed);
    for (std::uint32_t id = nullBehaviour; id < count; ++id) {
        if (concerns(behaviours[id], family)) refresh(behaviours[id]);
    }
    maskChanges += 2;
}

void allowNativePaths(bool allowed) noexcept {
    const std::lock_guard guard(lock);
    nativeAllowed = allowed;
    const auto count = behaviourCount.load(std::memory_order_relaxed);
    for (std::uint32_t id = nullBehaviour; id < count; ++id) findPristine(behaviours[id]);
    maskChanges += 2;
}

} // namespace oocobol
