// Classes: how they are declared, registered and found.
//
// A class family is what a class program registers once: names, superclass, methods and the layout of class data and
// instance data. The class object is an object of the table whose body is the class data; classes made by copying a
// class object share the family and have class data of their own.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "oocobol/oocobol.h"
#include "runtime/behaviours.h"
#include "runtime/object_table.h"
#include "runtime/types.h"

namespace oocobol {

// ---- Declarations, as the class modules write them ---------------------------------------------------------------

struct MethodDef {
    std::string_view name;
    MethodEntry entry = nullptr;
    std::uint8_t parameters = 1;
    bool onClass = false;
};

// The registered size of a class's data, superclass's fields included, and where to note which family lays out the
// struct that the methods work on.
struct DataDef {
    std::uint32_t size = 0;
    const ClassFamily **layout = nullptr;
};

// Instances of an indexed class hold as many bytes as each was made with, behind `fixed` bytes of fields.
struct IndexedDef {
    bool indexed = false;
    std::uint32_t fixed = 0;
};

struct ClassDef {
    std::string_view program; // class program, at most 8 characters
    std::string_view name;
    std::string_view super; // class program of the superclass; empty for the root
    DataDef classData{};
    DataDef instanceData{};
    IndexedDef indexed{};
    std::span<const MethodDef> methods{};
};

// A program of the library that is no class: an entry that the dynamic call finds.
struct ProgramDef {
    std::string_view name;
    host_entry entry;
};

// Enters a module's definition into the library's list before main starts. The definition must be static.
class Registered {
public:
    explicit Registered(const ClassDef &definition) noexcept;
    explicit Registered(const ProgramDef &definition) noexcept;
};

// ---- Families ---------------------------------------------------------------------------------------------------

// Immutable once published; a class that gains methods gets a new one.
class MethodDictionary {
public:
    explicit MethodDictionary(std::vector<Method> methods);
    const Method *find(SelectorId selector) const noexcept;
    std::span<const Method> inOrder() const noexcept { return methods; }

private:
    std::vector<Method> methods;      // in registered order
    std::vector<std::uint16_t> slots; // open-addressed, by selector: 1 + position, 0 where empty
    std::uint32_t mask = 0;
};

struct ClassFamily {
    ClassFamily() = default;
    ~ClassFamily(); // of one that nobody has heard of: a class lives for ever
    ClassFamily(const ClassFamily &) = delete;
    ClassFamily &operator=(const ClassFamily &) = delete;

    std::string program;
    std::string name;
    const ClassFamily *super = nullptr;
    const ClassDef *definition = nullptr; // none for classes registered from outside
    Ref classObject{};

    std::uint32_t classDataSize = 0;    // of the whole class data
    std::uint32_t instanceDataSize = 0; // of the whole instance data, the indexed part left out
    std::uint32_t classDataOffset = 0;  // where the family's own data starts
    std::uint32_t instanceDataOffset = 0;
    std::uint32_t registeredClassData = 0; // as registered
    std::uint32_t registeredInstanceData = 0;
    bool indexed = false;

    void *classInitialiser = nullptr; // from outside: code that gets the address of the family's own data
    void *instanceInitialiser = nullptr;
    bool anyInstanceInitialiser = false; // the family's own or an ancestor's

    Behaviour *instances = nullptr;
    Behaviour *classSide = nullptr;

    std::atomic<const MethodDictionary *> instanceMethods{nullptr};
    std::atomic<const MethodDictionary *> classMethods{nullptr};
    std::vector<const ClassFamily *> ancestors; // from the root to the family itself
    std::size_t depth = 0;                      // how many these are

    const MethodDictionary &methods(bool onClass) const noexcept {
        return *(onClass ? classMethods : instanceMethods).load(std::memory_order_acquire);
    }
    bool isKindOf(const ClassFamily &other) const noexcept {
        return other.depth <= depth && ancestors[other.depth - 1] == &other;
    }
    bool isRoot() const noexcept { return super == nullptr; }
    bool isBehavior() const noexcept;
    bool isNilObject() const noexcept;
};

struct RootFamilies {
    const ClassFamily *base = nullptr;
    const ClassFamily *behavior = nullptr;
    const ClassFamily *nilObject = nullptr;
};
const RootFamilies &rootFamilies() noexcept;

// The behaviour of a live object; null for anything else.
inline const Behaviour *behaviourOfObject(Ref object) noexcept {
    const auto *entry = findEntry(object);
    return entry != nullptr ? &behaviourAt(behaviourOf(entry->tag.load(std::memory_order_acquire))) : nullptr;
}
// The family whose class object (or a copy of it) this is; null for anything else.
inline const ClassFamily *familyOfClass(Ref classObject) noexcept {
    const auto *behaviour = behaviourOfObject(classObject);
    return behaviour != nullptr && behaviour->classSide ? behaviour->family : nullptr;
}

// ---- The registry -----------------------------------------------------------------------------------------------

// Starts the runtime: reserves its tables and registers `base`, `behavior` and `nilobject`. Any thread, any number of
// times. The slow roads call it; ends the run with a text when there is no memory for the tables.
void ensureStarted() noexcept;

// The class object of a class program; loads and registers it on first use. Null when there is no such program.
Ref classForProgram(std::string_view program) noexcept;
// The same when it is registered already, else null; nothing is run.
Ref registeredClass(std::string_view program) noexcept;
// Runs a program by name as a dynamic call does: a class program registers its class. False when it does not exist.
bool callProgram(std::string_view program, std::int64_t *answer = nullptr) noexcept;
// Whether a program of that name can be called; nothing is run.
bool programExists(std::string_view program) noexcept;

// What a registration from outside asks for.
struct Registration {
    std::string program, name;
    Ref superclass{};
    std::uint32_t classData = 0, instanceData = 0;
    bool wholeData = false; // the sizes include the superclass's data
    void *classInitialiser = nullptr, *instanceInitialiser = nullptr;
    struct Entry {
        std::string name;
        void *code;
        std::uint8_t parameters;
        std::uint8_t attributes;
    };
    std::vector<Entry> methods;
};
// The new class object, after its `initializeclass`; null when it cannot be registered.
Ref registerClass(const Registration &request) noexcept;
// Adds the methods to the class of that program. False when there is no such class.
bool extendClass(const Registration &request) noexcept;
// The same for a library module that extends another class: adds the methods to the class of `program`.
bool extendClass(std::string_view program, std::span<const MethodDef> methods) noexcept;

// All registered classes, in the order of registration.
std::vector<Ref> allClasses() noexcept;
// The library's own definitions, in no particular order.
std::vector<const ClassDef *> libraryClasses();

// Serialises what changes classes; its owner may take it again.
class RegistrationLock {
public:
    RegistrationLock() noexcept;
    ~RegistrationLock();
    RegistrationLock(const RegistrationLock &) = delete;
    RegistrationLock &operator=(const RegistrationLock &) = delete;
};

} // namespace oocobol
