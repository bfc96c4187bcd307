// The door for classes written in COBOL: a class program declares its class step by step, and its methods send to their
// superclass.
//
//     CALL "ooclassbegin"  USING "savings" "savings" account-class class-size instance-size
//     CALL "oomethod"      USING "I" "balance" method-pointer parameter-count
//     CALL "ooclassend"    USING savings-class
//
// Each method is a separate program: USING self data returning-item argument ..., where self is a POINTER item and data
// the group of items that its class declares. What is declared is kept per thread until ooclassend.
#include <cstdarg>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>

#include "oocobol/oocobol.h"
#include "runtime/classes.h"
#include "runtime/cobol_items.h"
#include "runtime/dispatch.h"
#include "runtime/errors.h"
#include "runtime/object_table.h"

using namespace oocobol;

namespace {

std::unique_ptr<Registration> &declaration() {
    static thread_local std::unique_ptr<Registration> current;
    return current;
}

// A super send's name is "program.method". The site that remembers the lookup belongs to the literal; what the literal
// says is compared each time, for the address may be an item's.
struct SuperSend {
    std::string text, program, method;
    oops_super_site site;
};

SuperSend &superSend(const char *name, std::size_t size) {
    static thread_local std::unordered_map<const char *, std::unique_ptr<SuperSend>> known;
    auto &held = known[name];
    const auto text = nameView(name, size != 0 ? size : longestNameItem);
    if (held != nullptr && held->text == text) return *held;
    held = std::make_unique<SuperSend>();
    held->text = text;
    const auto period = text.find('.');
    held->program = text.substr(0, period);
    held->method = period == std::string_view::npos ? std::string_view() : text.substr(period + 1);
    held->site = OOPS_SUPER_SITE(held->program.c_str(), held->method.c_str());
    return *held;
}

// No exception may pass a COBOL program: memory that cannot be had is an error like any other.
template <class Step> int guarded(Step step) {
    try {
        step();
    } catch (const std::bad_alloc &) {
        raiseOn(null, static_cast<Count>(Error::noStorage), "");
    }
    return 0;
}

void sendAboveOf(const char *name, std::size_t size, Ref receiver, const ItemList &list) {
    auto &send = superSend(name, size);
    void *data = receiver.isStatic() ? staticDataOf(receiver) : bodyOf(receiver);
    sendToSuper(send.site, receiver, data, list.addresses, list.count);
}

} // namespace

extern "C" {

int ooclassbegin(const char *class_program, const char *class_name, const void *superclass, const void *class_data_size,
                 const void *instance_data_size) {
    return guarded([&] {
        auto request = std::make_unique<Registration>();
        request->program = nameItem(class_program, 0);
        request->name = nameItem(class_name, 1);
        request->superclass = item<Ref>(superclass);
        request->classData = item<Count>(class_data_size);
        request->instanceData = item<Count>(instance_data_size);
        declaration() = std::move(request);
    });
}

int oomethod(const char *kind, const char *name, const void *entry, const void *parameter_count) {
    auto &request = declaration();
    if (request == nullptr || kind == nullptr) return 0;
    const auto onClass = *kind == 'C' || *kind == 'c';
    const auto parameters = item<Count>(parameter_count);
    return guarded([&] {
        request->methods.push_back({std::string(nameItem(name, 1)), item<void *>(entry),
                                    static_cast<std::uint8_t>(parameters <= maximumArguments ? parameters : 0),
                                    static_cast<std::uint8_t>(onClass ? OOPS_CLASS_METHOD : 0)});
    });
}

int ooinitializer(const char *kind, const void *entry) {
    auto &request = declaration();
    if (request == nullptr || kind == nullptr) return 0;
    (*kind == 'C' || *kind == 'c' ? request->classInitialiser : request->instanceInitialiser) = item<void *>(entry);
    return 0;
}

int ooclassend(void *class_object) {
    const host::gnucobol::SenderScope scope;
    return guarded([&] {
        const auto request = std::move(declaration());
        const auto made = request != nullptr ? registerClass(*request) : null;
        put(class_object, &made, sizeof made);
        if (!made) raiseOn(null, static_cast<Count>(Error::notRegistered), request != nullptr ? request->program : "");
    });
}

int oosuper(const char *name, const void *self, ...) {
    const host::gnucobol::SenderScope caller;
    va_list rest;
    va_start(rest, self);
    const ItemList list(caller.count(), rest);
    va_end(rest);
    if (name == nullptr) return 0;
    return guarded([&] { sendAboveOf(name, caller.size(0), item<Ref>(self), list); });
}

} // extern "C"
