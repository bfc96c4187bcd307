// The exported functions of oocobol.h, but for records (records.cpp) and dynamic calls (host/).
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "host/host.h"
#include "runtime/dispatch.h"
#include "runtime/errors.h"
#include "runtime/objects.h"
#include "runtime/records.h"
#include "runtime/send_fast.h"

using namespace oocobol;

namespace {

constexpr std::string_view runtimeVersion = "0002.0002";

// The addresses of a variadic send, at most as many as a send carries.
struct ArgumentList {
    void *addresses[maximumArguments];
    std::uint32_t count;
};

#define COLLECT(list, count, returning)                                                              \
    ArgumentList list;                                                                               \
    do {                                                                                             \
        (list).addresses[0] = (returning);                                                           \
        (list).count = boundedCount(count);                                                          \
        va_list rest;                                                                                \
        va_start(rest, returning);                                                                   \
        for (std::uint32_t i = 1; i < (list).count; ++i) (list).addresses[i] = va_arg(rest, void *); \
        va_end(rest);                                                                                \
    } while (false)

std::uint32_t boundedCount(int32_t count) {
    if (count < 1) return 1;
    return count > static_cast<int32_t>(maximumArguments) ? maximumArguments : static_cast<std::uint32_t>(count);
}

// Whether a list may be handed on as it is. Counts out of range, and a list that is not there, are put right slowly.
bool isSound(void *const *arguments, int32_t count) {
    return arguments != nullptr && static_cast<std::uint32_t>(count) - 1 < maximumArguments;
}
template <class Send> [[gnu::noinline]] void sendPutRight(void *const *arguments, int32_t count, Send performSend) {
    void *nothing[] = {nullptr};
    if (arguments == nullptr)
        performSend(nothing, 1U);
    else
        performSend(arguments, boundedCount(count));
}
[[gnu::noinline, gnu::cold]] void sendWithoutList(Ref receiver, oops_site &site) {
    void *nothing[] = {nullptr};
    send(receiver, site, nothing, 1);
}
template <class Send> void sendList(void *const *arguments, int32_t count, Send performSend) {
    if (isSound(arguments, count)) [[likely]]
        return performSend(arguments, static_cast<std::uint32_t>(count));
    sendPutRight(arguments, count, performSend);
}

Ref selfOf(const oops_ref *self) { return self != nullptr ? Ref{*self} : null; }

// The data of an object, unless the caller works over bare bytes.
void *dataOf(Ref self, void *data) { return self.isStatic() ? data : bodyOf(self); }

void copyName(char buffer[30], std::string_view name) {
    std::memset(buffer, ' ', 30);
    std::memcpy(buffer, name.data(), name.size() < 30 ? name.size() : 30);
}

// An 8-byte count and then the entries, in memory of its own.
void *makeList(std::uint64_t count, const void *entries, std::size_t bytes) {
    auto *list = static_cast<std::byte *>(allocate(sizeof count + bytes));
    if (list == nullptr) return nullptr;
    std::memcpy(list, &count, sizeof count);
    if (bytes != 0) std::memcpy(list + sizeof count, entries, bytes);
    return list;
}

// The live instances of a class; for null, of all classes.
template <class Visit> void forEachListed(Ref classObject, Visit visit) {
    if (classObject) return forEachInstance(classObject, visit);
    forEachObject([&](Ref object, std::uint32_t, std::uint32_t marks) {
        if ((marks & markClass) == 0) visit(object);
    });
}

void pad(char *buffer, std::size_t width, std::string_view text) {
    if (buffer == nullptr) return;
    std::memset(buffer, ' ', width);
    std::memcpy(buffer, text.data(), text.size() < width ? text.size() : width);
}

} // namespace

extern "C" {

// ---- Sends ------------------------------------------------------------------------------------------------------

#if defined(__x86_64__) && defined(__linux__)
// Every message of a C or C++ program passes here. A variadic argument travels as a named one does, so the first two
// are named: they are in registers then, while a list of variadic arguments writes all registers to memory first and
// counts them off again. With fewer arguments they hold anything, and nobody looks at them.
OOCOBOL_PUBLIC void resolveFromRegisters(oops_site *site, oops_ref receiver, int32_t count, void *returning,
                                         void *first, void *second, ...) __asm__("oopsresolve");
void resolveFromRegisters(oops_site *site, oops_ref receiver, int32_t count, void *returning, void *first, void *second,
                          ...) {
    void *addresses[maximumArguments];
    addresses[0] = returning;
    addresses[1] = first;
    addresses[2] = second;
    auto taken = static_cast<std::uint32_t>(count);
    if (taken - 1 >= 3) [[unlikely]] {
        taken = boundedCount(count);
        va_list rest;
        va_start(rest, second);
        for (std::uint32_t i = 3; i < taken; ++i) addresses[i] = va_arg(rest, void *);
        va_end(rest);
    }
    sendFast(Ref{receiver}, *site, addresses, taken);
}
#else
void oopsresolve(oops_site *site, oops_ref receiver, int32_t count, void *returning, ...) {
    COLLECT(list, count, returning);
    sendFast(Ref{receiver}, *site, list.addresses, list.count);
}
#endif

void oopsresolveself(oops_site *site, const oops_ref *self, void *data, int32_t count, void *returning, ...) {
    COLLECT(list, count, returning);
    sendToSelf(*site, selfOf(self), data, list.addresses, list.count);
}

void oopsresolvetosuper(oops_super_site *site, const oops_ref *self, void *data, int32_t count, void *returning, ...) {
    COLLECT(list, count, returning);
    sendToSuper(*site, selfOf(self), dataOf(selfOf(self), data), list.addresses, list.count);
}

void oopsresolvestatic(oops_site *site, oops_ref class_object, void *data, int32_t count, void *returning, ...) {
    COLLECT(list, count, returning);
    sendStatic(*site, Ref{class_object}, data, list.addresses, list.count);
}

void oopsresolvelist(oops_ref receiver, oops_site *site, void *const *arguments, int32_t count) {
    if (arguments == nullptr) [[unlikely]]
        return sendWithoutList(Ref{receiver}, *site);
    sendFast(Ref{receiver}, *site, arguments, static_cast<std::uint32_t>(count));
}

void oopsresolveselflist(oops_site *site, const oops_ref *self, void *data, int32_t count, void *const *arguments) {
    sendList(arguments, count,
             [=](void *const *list, std::uint32_t length) { sendToSelf(*site, selfOf(self), data, list, length); });
}

void oopsresolvetosuperlist(oops_super_site *site, const oops_ref *self, void *data, int32_t count,
                            void *const *arguments) {
    sendList(arguments, count, [=](void *const *list, std::uint32_t length) {
        sendToSuper(*site, selfOf(self), dataOf(selfOf(self), data), list, length);
    });
}

void oopsresolvestaticlist(oops_site *site, oops_ref class_object, void *data, int32_t count, void *const *arguments) {
    sendList(arguments, count, [=](void *const *list, std::uint32_t length) {
        sendStatic(*site, Ref{class_object}, data, list, length);
    });
}

void cobinvoke2(oops_ref receiver, const char *method, void *second_cache_word, void *cache_word, int32_t count,
                void *returning, ...) {
    COLLECT(list, count, returning);
    sendByName(Ref{receiver}, method, second_cache_word, cache_word, list.addresses, list.count);
}

void oopsfreecache(void *cache_word) {
    if (cache_word != nullptr) std::memset(cache_word, 0, 8);
}

// ---- Classes ----------------------------------------------------------------------------------------------------

void oops(int32_t) { ensureStarted(); }

void oopsnewclass2(const void *record, oops_ref *result) {
    if (result != nullptr) *result = 0;
    ensureStarted();
    Registration request;
    const auto made = readRecord(record, request) ? registerClass(request) : null;
    if (!made) return raiseOn(null, static_cast<Count>(Error::notRegistered), request.program);
    if (result != nullptr) *result = made.bits;
}

void oopsextendclass2(const void *record) {
    ensureStarted();
    Registration request;
    if (!readRecord(record, request) || !extendClass(request))
        raiseOn(null, static_cast<Count>(Error::notRegistered), request.program);
}

void oopsgetclassobject(oops_ref *result, const char *class_program) {
    if (result == nullptr) return;
    *result = classForProgram(nameView(class_program, 81)).bits;
}

void oopsgetsuperclass(oops_ref class_object, oops_ref *result) {
    if (result != nullptr) *result = superclassOf(Ref{class_object}).bits;
}

void oopsclassname(oops_ref class_object, char buffer[30]) {
    if (buffer == nullptr) return;
    const auto *family = familyOfClass(Ref{class_object});
    copyName(buffer, family != nullptr ? std::string_view(family->name) : "");
}

void oopsgetclassfilename(oops_ref class_object, char buffer[30]) {
    if (buffer == nullptr) return;
    const auto *family = familyOfClass(Ref{class_object});
    copyName(buffer, family != nullptr ? std::string_view(family->program) : "");
}

void *oopsgetmethodnames(oops_ref class_object) {
    const auto *family = familyOfClass(Ref{class_object});
    if (family == nullptr) return nullptr;
    std::string names;
    std::uint64_t count = 0;
    for (const auto onClass : {true, false}) {
        for (const auto &method : family->methods(onClass).inOrder()) {
            names += selectorOf(method.selector).name;
            names += '\0';
            ++count;
        }
    }
    return makeList(count, names.data(), names.size());
}

void *oopsgetallinstances(oops_ref class_object) {
    ensureStarted();
    std::uint64_t expected = 0, found = 0;
    forEachListed(Ref{class_object}, [&](Ref) { ++expected; });
    auto *list = static_cast<std::uint64_t *>(allocate((expected + 1) * sizeof(std::uint64_t)));
    if (list == nullptr) return nullptr;
    forEachListed(Ref{class_object}, [&](Ref object) {
        if (found < expected) list[++found] = object.bits; // another thread may have made more meanwhile
    });
    list[0] = found;
    return list;
}

void *oopsgetallclasses(void) {
    const auto classes = allClasses();
    return makeList(classes.size(), classes.data(), classes.size() * sizeof(Ref));
}

void oopsfree(void *list) { release(list); }

uint32_t oopsgetobjectcount(oops_ref class_object) {
    ensureStarted();
    return countInstances(Ref{class_object});
}

// ---- Objects ----------------------------------------------------------------------------------------------------

oops_ref oopsnewinstance(oops_ref class_object) { return createInstance(Ref{class_object}).bits; }

oops_ref oopsnewindexedinstance(oops_ref class_object, uint32_t count) {
    return createIndexedInstance(Ref{class_object}, count).bits;
}

void oopscancel(oops_ref object) { cancelObject(Ref{object}); }

oops_ref oopsshallowcopy(oops_ref object) { return sharingCopy(Ref{object}).bits; }

int32_t oopscopyobjectcontents(oops_ref to, oops_ref from) { return copyContents(Ref{to}, Ref{from}) ? 1 : 0; }

void oopsbecomes(oops_ref one, oops_ref other) {
    if (exchangeIdentities(Ref{one}, Ref{other})) return;
    const auto isClass = familyOfClass(Ref{one}) != nullptr || familyOfClass(Ref{other}) != nullptr;
    const auto error = isClass ? Error::classCannotBecome : Error::staleReference;
    raiseOn(Ref{one}, static_cast<Count>(error), "becomes");
}

oops_ref oopsgetclass(oops_ref object) {
    ensureStarted();
    return classOf(Ref{object}).bits;
}

int32_t oopsislive(oops_ref object) { return isLive(Ref{object}) ? 1 : 0; }

void *oopsgetcomponentdata(oops_ref object) { return componentSlot(Ref{object}); }
void oopssetcomponentdata(oops_ref object, void *pointer) { setComponentSlot(Ref{object}, pointer); }

void *oopsallocmemory(uint32_t size) { return allocate(size); }
void oopsfreememory(void *memory) { release(memory); }

int32_t oopsgrow(oops_ref object, uint32_t count) { return resizeIndexed(Ref{object}, count) ? 1 : 0; }

void *oopsgetaddress(oops_ref object) { return bodyOf(Ref{object}); }

uint32_t oopsindexeddataoffset(oops_ref object) {
    const auto *behaviour = behaviourOfObject(Ref{object});
    return behaviour != nullptr && !behaviour->classSide ? behaviour->family->instanceDataSize : 0;
}

void oopserrordetails(oops_ref object, char name[160], char detail[160]) {
    const auto missing = lastNotUnderstood(Ref{object});
    pad(name, 160, missing);
    pad(detail, 160, missing.empty() ? std::string() : std::string(missing) + " is not understood");
}

// ---- The run ----------------------------------------------------------------------------------------------------

void oopstrace(const char *text) {
    if (text != nullptr) traceText({text, strnlen(text, longestName)});
}
uint32_t oopsgettracelevel(void) { return traceLevel(); }
void oopssettracelevel(uint32_t wanted) { setTraceLevel(wanted); }

void oopsgetversion(char area[16]) { pad(area, 16, runtimeVersion); }

} // extern "C"
