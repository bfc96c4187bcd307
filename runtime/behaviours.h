// Behaviours: what the receivers of one kind understand, and the cells that remember it.
//
// A behaviour is the identity of a method dictionary with its superclasses, not a class object: classes made by
// copying a class share their original's. A class has two, its instances' and its own as a receiver. A cell belongs
// to one behaviour and one selector and holds what that message runs; cells live for ever, so that send sites,
// callbacks and cache words may keep a cell's number as long as they like. A class that gains a method has the cells
// concerned changed in place.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "runtime/selectors.h"
#include "runtime/types.h"

namespace oocobol {

struct Cell;
struct ClassFamily;

// What a send ends in: the receiver, its data, the argument addresses (the returning item's first, at least as many
// as the cell's parameter count), and the cell it was found through.
using MethodEntry = void (*)(Ref self, void *body, void *const *arguments, const Cell *cell) noexcept;

struct Method {
    MethodEntry entry = nullptr; // for code registered from outside, the bridge to it
    void *code = nullptr;        // that code
    const ClassFamily *owner = nullptr;
    SelectorId selector = 0;
    std::uint32_t dataOffset = 0; // where its class's own data starts in the receiver's
    std::uint8_t parameters = 1;  // the returning item included
    std::uint8_t attributes = 0;
    bool library = false; // compiled into this library
    bool cobol = false;   // the code is COBOL's
};

struct alignas(32) Cell {
    std::atomic<MethodEntry> entry{nullptr};
    std::atomic<const Method *> method{nullptr};
    const Selector *selector = nullptr;
    std::uint32_t behaviour = 0;
    // Never lowered, and raised before the entry changes: a sender that read it passes enough addresses.
    std::atomic<std::uint32_t> parameters{0};
};
static_assert(sizeof(Cell) == 32);

using CellNumber = std::uint32_t; // how many bytes into the range of cells; 0: none, a cell that matches no object
OOCOBOL_LOCAL extern constinit Cell *cells;
// The range is reserved whole, and what has not been used yet is zero and matches no object: whatever a cell number
// that comes from outside holds, the masked one names a cell that may be looked at.
inline constexpr std::uint32_t cellCapacity = std::uint32_t{1} << 22;
inline Cell &cellAt(CellNumber number) {
    constexpr CellNumber mask = (cellCapacity - 1) * CellNumber{sizeof(Cell)};
    return *reinterpret_cast<Cell *>(reinterpret_cast<std::byte *>(cells) + (number & mask));
}

// ---- Needs ------------------------------------------------------------------------------------------------------
// Messages whose library code a native loop may stand for. A behaviour's mask tells which of them still resolve to
// the library, so that a loop over a collection asks once: may I do natively what I would otherwise send?

inline constexpr std::string_view guardedMessages[] = {"at",
                                                       "atput",
                                                       "atnogc",
                                                       "isat",
                                                       "getkey",
                                                       "size",
                                                       "add",
                                                       "remove",
                                                       "copy",
                                                       "finalize",
                                                       "basicat",
                                                       "basicatnogc",
                                                       "isemptyat",
                                                       "isoccuppiedat",
                                                       "findelement",
                                                       "findkey",
                                                       "grow",
                                                       "hash",
                                                       "equal",
                                                       "sizeinbytes",
                                                       "template",
                                                       "malloc",
                                                       "dealloc",
                                                       "getdata",
                                                       "invoke",
                                                       "getvalue",
                                                       "setvalue",
                                                       "getaddress",
                                                       "species",
                                                       "copyempty",
                                                       "do",
                                                       "basickeyat",
                                                       "basicdataat",
                                                       "firstindexof",
                                                       "setcollptr",
                                                       "copyemptywithsize",
                                                       "withallbm",
                                                       "makeroomatend",
                                                       "basicgrow",
                                                       "resort",
                                                       "sort",
                                                       "insertbeforeindex",
                                                       "defaultsortmethod",
                                                       "lessthanorequalbylengthvalue",
                                                       "lessthanbylengthvalue",
                                                       "greaterthanbylengthvalue",
                                                       "equalbylengthvalue",
                                                       "lessthanorequal",
                                                       "newclass",
                                                       "withvalue",
                                                       "new",
                                                       "newindexedinstance",
                                                       "setlength",
                                                       "initialize",
                                                       "iscompatible",
                                                       "dowithoutcopy",
                                                       "resetcache",
                                                       "addnosort",
                                                       "replacecontentswith",
                                                       "fixcollisionsfrom",
                                                       "setdata",
                                                       "basiccopy",
                                                       "privateat",
                                                       "withlengthvalue",
                                                       "addwithoccurrences",
                                                       "associationsdowithoutcopy",
                                                       "basiccopybm"};

// One bit a message.
inline constexpr std::size_t maskWords = (std::size(guardedMessages) + 63) / 64;

class Needs {
public:
    consteval Needs(std::initializer_list<std::string_view> names) {
        for (const auto name : names) {
            const auto place = placeOf(name);
            words[place / 64] |= std::uint64_t{1} << place % 64;
        }
    }
    std::array<std::uint64_t, maskWords> words{};

private:
    static consteval std::size_t placeOf(std::string_view name) {
        for (std::size_t i = 0; i < std::size(guardedMessages); ++i) {
            if (guardedMessages[i] == name) return i;
        }
        throw "not among guardedMessages";
    }
};

// ---- Behaviours -------------------------------------------------------------------------------------------------

// A behaviour's cells by selector, open-addressed. Readers take no lock: a grown table is published whole.
struct CellTable {
    const CellTable *outgrown; // readers may still probe it: it stays
    std::uint32_t mask;
    std::uint32_t used;
    std::atomic<std::uint64_t> slots[1]; // selector above cell number, 0 where free

    CellNumber find(SelectorId selector) const noexcept {
        for (auto slot = selector & mask;; slot = (slot + 1) & mask) {
            const auto held = slots[slot].load(std::memory_order_acquire);
            if (static_cast<SelectorId>(held >> 32) == selector) return static_cast<CellNumber>(held);
            if (held == 0) return 0;
        }
    }
};

struct Behaviour {
    const ClassFamily *family = nullptr; // none for the behaviour of null
    std::atomic<CellTable *> cells{nullptr};
    // Bit i: guardedMessages[i] resolves to the library's code, or to nothing.
    std::array<std::atomic<std::uint64_t>, maskWords> pristine{};
    std::uint32_t id = 0;
    bool classSide = false;
    // On the class side, where instances need no more than a body of a pooled size: that pool, and their data's size.
    // The pool is 0 for all others.
    std::uint32_t plainPool = 0;
    std::uint32_t plainSize = 0;
};

// A family's two behaviours are neighbours.
constexpr std::uint32_t instancesOfClassSide(std::uint32_t id) { return id - 1; }

inline constexpr std::uint32_t nullBehaviour = 1;

// Reserves the tables of cells and behaviours and makes the behaviour of null. False when there is no memory.
bool reserveBehaviours() noexcept;

Behaviour *makeBehaviour(const ClassFamily *family, bool classSide) noexcept; // null when memory is short
OOCOBOL_LOCAL extern constinit Behaviour *behaviours;
inline Behaviour &behaviourAt(std::uint32_t id) noexcept { return behaviours[id]; }

// The method that a message to a receiver of this behaviour runs, or null. Lookup order: the class's methods, then its
// superclasses'; for class objects, after the class methods of all of these, the instance methods of `behavior` and
// `base`; for null, the instance methods of `base`, then the class methods of `nilobject`.
const Method *lookUp(const Behaviour &behaviour, SelectorId selector) noexcept;

// The cell of that message, made when it does not exist; for a message not understood, a cell that says so. Null only
// when memory is short.
const Cell *cellFor(Behaviour &behaviour, SelectorId selector) noexcept;
inline CellNumber numberOf(const Cell *cell) {
    return static_cast<CellNumber>(reinterpret_cast<const std::byte *>(cell) -
                                   reinterpret_cast<const std::byte *>(cells));
}

// Brings cells and masks up to date after `family` gained methods.
void methodsChanged(const ClassFamily &family) noexcept;

// Rises by 2, from 2 on, whenever the mask of a behaviour may have changed: what was found out about behaviours may be
// kept with this number, and holds as long as it is the same.
OOCOBOL_LOCAL extern constinit std::atomic<std::uint32_t> maskChanges;

// The behaviour that something was found out about last; none any more once behaviours have changed since.
class KnownBehaviour {
public:
    // 0, which is no behaviour's, when there is none.
    std::uint32_t id() const noexcept {
        const auto latest = known.load(std::memory_order_relaxed);
        const auto isCurrent = static_cast<std::uint32_t>(latest) == maskChanges.load(std::memory_order_acquire);
        return isCurrent ? static_cast<std::uint32_t>(latest >> 32) : 0;
    }
    // `changes`: their number when the finding out began.
    void remember(std::uint32_t id, std::uint32_t changes) noexcept {
        known.store(std::uint64_t{id} << 32 | changes, std::memory_order_relaxed);
    }

private:
    std::atomic<std::uint64_t> known{0};
};

// Forces the dispatched road everywhere (and back): a test switch, and what message tracing sets.
void allowNativePaths(bool allowed) noexcept;

// Whether every message in `needs`, sent to receivers of this behaviour, still runs library code.
inline bool isPristine(const Behaviour &behaviour, Needs needs) noexcept {
    for (std::size_t word = 0; word < maskWords; ++word) {
        // What is needed is known when this is compiled: most ask for one word, and for one message at least.
        if (needs.words[word] == 0) continue;
        if ((behaviour.pristine[word].load(std::memory_order_acquire) & needs.words[word]) != needs.words[word])
            return false;
    }
    return true;
}

} // namespace oocobol
