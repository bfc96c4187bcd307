#include "runtime/classes.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>

#include "host/gnucobol.h"
#include "host/host.h"
#include "runtime/dispatch.h"
#include "runtime/environment.h"
#include "runtime/memory.h"
#include "runtime/object_table.h"
#include "runtime/objects.h"
#include "runtime/receiver.h"

namespace oocobol {

// ---- Method dictionaries ----------------------------------------------------------------------------------------

MethodDictionary::MethodDictionary(std::vector<Method> all) : methods(std::move(all)) {
    std::uint32_t capacity = 4;
    while (capacity < methods.size() * 2) capacity *= 2;
    mask = capacity - 1;
    slots.assign(capacity, 0);
    for (std::size_t i = 0; i < methods.size(); ++i) {
        auto slot = methods[i].selector & mask;
        while (slots[slot] != 0) slot = (slot + 1) & mask;
        slots[slot] = static_cast<std::uint16_t>(i + 1);
    }
}

const Method *MethodDictionary::find(SelectorId selector) const noexcept {
    for (auto slot = selector & mask; slots[slot] != 0; slot = (slot + 1) & mask) {
        const auto &method = methods[slots[slot] - 1U];
        if (method.selector == selector) return &method;
    }
    return nullptr;
}

ClassFamily::~ClassFamily() {
    delete instanceMethods.load(std::memory_order_relaxed);
    delete classMethods.load(std::memory_order_relaxed);
}

// ---- The registry -----------------------------------------------------------------------------------------------

namespace {

constexpr std::uint32_t largestData = std::uint32_t{1} << 28;
constexpr std::size_t longestProgram = 80;
constexpr std::size_t mostMethods = 60000;

// The definitions that the modules entered, linked before main starts.
std::vector<const ClassDef *> &classDefinitions() {
    static std::vector<const ClassDef *> definitions;
    return definitions;
}
std::vector<const ProgramDef *> &programDefinitions() {
    static std::vector<const ProgramDef *> definitions;
    return definitions;
}

struct Registry {
    std::recursive_mutex lock;
    std::vector<ClassFamily *> families; // in the order of registration; they live for ever
    RootFamilies roots;
    std::vector<const MethodDictionary *> replaced; // senders may still be looking through them
    bool starting = false;
};
Registry &registry() {
    static auto *instance = new Registry; // outlives every thread and every other static object
    return *instance;
}
std::atomic<bool> started{false};

bool sameText(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; };
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

ClassFamily *findFamily(std::string_view program) {
    for (auto *family : registry().families) {
        if (sameText(family->program, program)) return family;
    }
    return nullptr;
}

template <class Definition>
const Definition *findDefinition(const std::vector<const Definition *> &all, std::string_view Definition::*name,
                                 std::string_view wanted) {
    for (const auto *definition : all) {
        if (sameText(definition->*name, wanted)) return definition;
    }
    return nullptr;
}
const ClassDef *findClassDefinition(std::string_view program) {
    return findDefinition(classDefinitions(), &ClassDef::program, program);
}

// Throws std::bad_alloc, as all does that makes a class: what is half made goes, and the class can be had later.
SelectorId selectorFor(std::string_view name) {
    const auto selector = internSelector(name);
    if (selector == 0) throw std::bad_alloc();
    return selector;
}

Method methodFrom(const MethodDef &definition, const ClassFamily &owner) {
    Method method;
    method.entry = definition.entry;
    method.owner = &owner;
    method.selector = selectorFor(definition.name);
    method.parameters = definition.parameters;
    method.attributes = definition.onClass ? OOPS_CLASS_METHOD : 0;
    method.library = true;
    return method;
}

Method methodFrom(const Registration::Entry &entry, const ClassFamily &owner) {
    Method method;
    method.code = entry.code;
    method.owner = &owner;
    method.selector = selectorFor(entry.name);
    method.parameters = entry.parameters;
    method.attributes = entry.attributes;
    method.cobol = host::isCobolCode(entry.code);
    method.entry = entryForOutside(entry.parameters, method.cobol);
    method.dataOffset = (entry.attributes & OOPS_CLASS_METHOD) != 0 ? owner.classDataOffset : owner.instanceDataOffset;
    host::pinModule(entry.code);
    return method;
}

// The methods with the given ones added or put in the place of those of the same name.
std::unique_ptr<MethodDictionary> merged(const MethodDictionary *current, const std::vector<Method> &added) {
    std::vector<Method> all;
    if (current != nullptr) all.assign(current->inOrder().begin(), current->inOrder().end());
    for (const auto &method : added) {
        const auto same =
            std::find_if(all.begin(), all.end(), [&](const Method &held) { return held.selector == method.selector; });
        if (same != all.end())
            *same = method;
        else
            all.push_back(method);
    }
    return std::make_unique<MethodDictionary>(std::move(all));
}

// The old dictionary stays for senders that are looking through it: there is room to note that.
void publish(std::atomic<const MethodDictionary *> &dictionary, std::unique_ptr<MethodDictionary> methods) noexcept {
    if (const auto *current = dictionary.load(std::memory_order_relaxed)) registry().replaced.push_back(current);
    dictionary.store(methods.release(), std::memory_order_release);
}

// All of them, or none.
template <class Definitions> void addMethods(ClassFamily &family, const Definitions &definitions, auto isOnClass) {
    std::vector<Method> onClass, onInstance;
    for (const auto &definition : definitions) {
        (isOnClass(definition) ? onClass : onInstance).push_back(methodFrom(definition, family));
    }
    auto classMethods = merged(family.classMethods.load(std::memory_order_relaxed), onClass);
    auto instanceMethods = merged(family.instanceMethods.load(std::memory_order_relaxed), onInstance);
    registry().replaced.reserve(registry().replaced.size() + 2);
    publish(family.classMethods, std::move(classMethods));
    publish(family.instanceMethods, std::move(instanceMethods));
}
void addMethods(ClassFamily &family, std::span<const MethodDef> definitions) {
    addMethods(family, definitions, [](const MethodDef &definition) { return definition.onClass; });
}
void addMethods(ClassFamily &family, const std::vector<Registration::Entry> &entries) {
    addMethods(family, entries,
               [](const Registration::Entry &entry) { return (entry.attributes & OOPS_CLASS_METHOD) != 0; });
}

void inherit(ClassFamily &family, const ClassFamily *super) {
    family.super = super;
    if (super != nullptr) {
        family.ancestors = super->ancestors;
        family.classDataSize = super->classDataSize;
        family.instanceDataSize = super->instanceDataSize;
        family.indexed = super->indexed;
        family.anyInstanceInitialiser = super->anyInstanceInitialiser;
    }
    family.ancestors.push_back(&family);
    family.depth = family.ancestors.size();
}

// The family's own data lies behind its superclass's, or takes the superclass's fields in.
void layOut(std::uint32_t &size, std::uint32_t &offset, std::uint32_t registered, bool whole) {
    if (whole) {
        size = std::max(size, registered);
        return;
    }
    offset = (size + 7) / 8 * 8;
    if (registered == 0) {
        offset = size;
        return;
    }
    size = offset + registered;
}

// Makes the two behaviours, which know the family from then on, and the class object. Instances' ids are even, the
// class side's the odd ones above: see dispatch.cpp, static sends. False when a table is full.
bool materialise(ClassFamily &family, std::byte *classData) noexcept {
    family.instances = makeBehaviour(&family, false);
    family.classSide = makeBehaviour(&family, true);
    if (family.instances == nullptr || family.classSide == nullptr) return false;
    mark(*headerOf(classData), markClass | markLibrary);
    family.classObject = enterObject(classData, family.classSide->id);
    if (!family.classObject) return false;
    headerOf(classData)->classIndex = family.classObject.index();
    const auto bodyClass = detail::bodyClassOf(family.instanceDataSize);
    if (detail::hasBodyCaches && !family.anyInstanceInitialiser && bodyClass <= bodyClasses) {
        family.classSide->plainPool = static_cast<std::uint32_t>(bodyClass);
        family.classSide->plainSize = family.instanceDataSize;
    }
    return true;
}

void initialise(const ClassFamily &family) {
    if (family.classInitialiser != nullptr) {
        void *data = bodyOf(family.classObject) + family.classDataOffset;
        host::callMethod(family.classInitialiser, host::isCobolCode(family.classInitialiser), &data, 1);
    }
    static constinit oops_site site = OOPS_SITE("initializeclass");
    void *arguments[1] = {nullptr};
    send(family.classObject, site, arguments, 1);
}

// Completes a family whose methods are known. Whatever needs memory comes first; null when a table is full.
ClassFamily *enter(std::unique_ptr<ClassFamily> made) {
    auto &all = registry();
    all.families.reserve(all.families.size() + 1);
    auto *classData = allocateBody(made->classDataSize);
    if (classData == nullptr) throw std::bad_alloc();
    auto *family = made.release();
    if (!materialise(*family, classData)) {
        freeBody(classData);
        return nullptr;
    }
    all.families.push_back(family);
    if (family->program == "base") all.roots.base = family;
    if (family->program == "behavior") all.roots.behavior = family;
    if (family->program == "nil") all.roots.nilObject = family;
    if (family->isRoot() || family->isBehavior() || family->isNilObject()) methodsChanged(*family);
    return family;
}

// Registers a module's class; its `initializeclass` is the caller's to send.
const ClassFamily *registerDefinition(const ClassDef &definition) noexcept try {
    const ClassFamily *super = nullptr;
    if (!definition.super.empty()) {
        const auto superclass = classForProgram(definition.super);
        super = familyOfClass(superclass);
        if (super == nullptr) return nullptr;
        if (auto *known = findFamily(definition.program)) return known; // the superclass has drawn it in
    }
    auto family = std::make_unique<ClassFamily>();
    family->program = definition.program;
    family->name = definition.name;
    family->definition = &definition;
    inherit(*family, super);
    if (definition.indexed.indexed) {
        family->indexed = true;
        family->instanceDataSize = definition.indexed.fixed;
    } else if (!family->indexed) {
        layOut(family->instanceDataSize, family->instanceDataOffset, definition.instanceData.size, true);
    }
    layOut(family->classDataSize, family->classDataOffset, definition.classData.size, true);
    family->registeredClassData = definition.classData.size;
    family->registeredInstanceData = definition.instanceData.size;
    addMethods(*family, definition.methods);
    const auto *entered = enter(std::move(family));
    if (entered == nullptr) return nullptr;
    if (definition.instanceData.layout != nullptr) *definition.instanceData.layout = entered;
    if (definition.classData.layout != nullptr) *definition.classData.layout = entered;
    return entered;
} catch (const std::bad_alloc &) {
    return nullptr;
}

bool isSound(const Registration &request) {
    if (request.program.empty() || request.name.empty() || request.methods.size() > mostMethods) return false;
    if (request.classData >= largestData || request.instanceData >= largestData) return false;
    return std::all_of(request.methods.begin(), request.methods.end(), [](const Registration::Entry &entry) {
        return entry.code != nullptr && !entry.name.empty() && entry.parameters >= 1 &&
               entry.parameters <= maximumArguments;
    });
}

ClassFamily *registerFromOutside(const Registration &request, const ClassFamily &super) noexcept try {
    auto family = std::make_unique<ClassFamily>();
    family->program = request.program;
    family->name = request.name;
    inherit(*family, &super);
    layOut(family->classDataSize, family->classDataOffset, request.classData, request.wholeData);
    if (!family->indexed)
        layOut(family->instanceDataSize, family->instanceDataOffset, request.instanceData, request.wholeData);
    family->registeredClassData = request.classData;
    family->registeredInstanceData = request.instanceData;
    family->classInitialiser = request.classInitialiser;
    family->instanceInitialiser = request.instanceInitialiser;
    family->anyInstanceInitialiser = super.anyInstanceInitialiser || request.instanceInitialiser != nullptr;
    addMethods(*family, request.methods);
    return enter(std::move(family));
} catch (const std::bad_alloc &) {
    return nullptr;
}

void start() {
    if (!reserveObjectTable() || !reserveBehaviours()) {
        host::report("oocobol: no address space for the object table; the run ends.\n");
        host::endRunUnit(1);
    }
    for (const std::string_view root : {"base", "behavior", "nil"}) {
        const auto *definition = findClassDefinition(root);
        if (definition == nullptr || registerDefinition(*definition) == nullptr) {
            host::report("oocobol: the root classes cannot be registered; the run ends.\n");
            host::endRunUnit(1);
        }
    }
    for (std::size_t i = 0; i < 3; ++i) initialise(*registry().families[i]);
    for (const auto *program : programDefinitions()) host::registerEntry(program->name, program->entry);
    applyEnvironment();
}

} // namespace

Registered::Registered(const ClassDef &definition) noexcept { classDefinitions().push_back(&definition); }
Registered::Registered(const ProgramDef &definition) noexcept { programDefinitions().push_back(&definition); }

RegistrationLock::RegistrationLock() noexcept {
    auto &lock = registry().lock;
    if (lock.try_lock()) return;
    const host::gnucobol::BlockingSection blocking; // whoever registers may be running COBOL code
    lock.lock();
}
RegistrationLock::~RegistrationLock() { registry().lock.unlock(); }

bool ClassFamily::isBehavior() const noexcept { return this == rootFamilies().behavior; }
bool ClassFamily::isNilObject() const noexcept { return this == rootFamilies().nilObject; }

const RootFamilies &rootFamilies() noexcept { return registry().roots; }

void ensureStarted() noexcept {
    if (started.load(std::memory_order_acquire)) [[likely]]
        return;
    const RegistrationLock lock;
    auto &all = registry();
    if (all.starting) return; // on this thread: the root classes' own sends
    all.starting = true;
    start();
    started.store(true, std::memory_order_release);
}

Ref classForProgram(std::string_view program) noexcept {
    ensureStarted();
    const RegistrationLock lock;
    if (auto *family = findFamily(program)) return family->classObject;
    if (program.empty() || program.size() > longestProgram) return null;
    if (!callProgram(program)) return null;
    auto *family = findFamily(program);
    return family != nullptr ? family->classObject : null;
}

Ref registeredClass(std::string_view program) noexcept {
    const RegistrationLock lock;
    const auto *family = findFamily(program);
    return family != nullptr ? family->classObject : null;
}

bool callProgram(std::string_view program, std::int64_t *answer) noexcept {
    ensureStarted();
    if (answer != nullptr) *answer = 0;
    if (const auto *definition = findClassDefinition(program)) {
        const RegistrationLock lock;
        if (findFamily(program) != nullptr) return true;
        auto *family = registerDefinition(*definition);
        if (family != nullptr) initialise(*family);
        return family != nullptr;
    }
    void *arguments[host::entryArguments] = {};
    host::Program found;
    if (const auto *own = findDefinition(programDefinitions(), &ProgramDef::name, program))
        found.entry = own->entry;
    else
        found = host::findProgram(program);
    if (!found) return false;
    const auto result = host::call(found, arguments);
    afterUserCode();
    if (answer != nullptr) *answer = result;
    return true;
}

bool programExists(std::string_view program) noexcept {
    return findClassDefinition(program) != nullptr ||
           findDefinition(programDefinitions(), &ProgramDef::name, program) != nullptr || host::findProgram(program);
}

Ref registerClass(const Registration &request) noexcept {
    ensureStarted();
    const RegistrationLock lock;
    if (!isSound(request)) return null;
    if (const auto *known = findFamily(request.program))
        return known->definition == nullptr ? known->classObject : null;
    const auto *super = familyOfClass(request.superclass);
    if (super == nullptr || findClassDefinition(request.program) != nullptr) return null;
    auto *family = registerFromOutside(request, *super);
    if (family == nullptr) return null;
    initialise(*family);
    return family->classObject;
}

namespace {
template <class Definitions> bool extend(ClassFamily *family, const Definitions &methods) noexcept try {
    if (family == nullptr) return false;
    addMethods(*family, methods);
    methodsChanged(*family);
    return true;
} catch (const std::bad_alloc &) {
    return false;
}
} // namespace

bool extendClass(const Registration &request) noexcept {
    ensureStarted();
    const RegistrationLock lock;
    const auto target = classForProgram(request.program);
    return target && isSound(request) && extend(findFamily(request.program), request.methods);
}

bool extendClass(std::string_view program, std::span<const MethodDef> methods) noexcept {
    const RegistrationLock lock;
    return extend(findFamily(program), methods);
}

std::vector<Ref> allClasses() noexcept {
    ensureStarted();
    const RegistrationLock lock;
    std::vector<Ref> classes;
    for (const auto *family : registry().families) classes.push_back(family->classObject);
    return classes;
}

std::vector<const ClassDef *> libraryClasses() { return classDefinitions(); }

} // namespace oocobol
