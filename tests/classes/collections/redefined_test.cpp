// Collections of classes written outside the library that redefine one message each: whatever it is, the same messages
// arrive, with the same answers and errors, with native loops and without.
#include <algorithm>

#include "classes/collections/collection.h"
#include "runtime/classes.h"
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

constexpr int mostParameters = 8;

// The message that is redefined just now, and how it reached its receivers.
struct Redefined {
    oops_super_site above{};
    int parameters = 0;
    std::string calls;
};
Redefined redefined;

void redefinition(const oops_ref *self, void *data, void *answer, void *a, void *b, void *c, void *d, void *e, void *f,
                  void *g) {
    void *arguments[mostParameters] = {answer, a, b, c, d, e, f, g};
    redefined.calls += 'c';
    for (int i = 1; i < redefined.parameters; ++i) redefined.calls += arguments[i] == nullptr ? '-' : '+';
    oopsresolvetosuperlist(&redefined.above, self, data, redefined.parameters, arguments);
}

// Makes two collections of the class, uses them in every way, and tells what was seen.
class Usage {
public:
    Usage(Ref classObject, bool isArray) : array(isArray) {
        redefined.calls.clear();
        list = send<Ref>(SITE("ofvalues"), classObject, CLASS("comp5"), Index{array ? 6 : 3});
        other = send<Ref>(SITE("ofvalues"), classObject, CLASS("comp5"), Index{array ? 3 : 0});
        fill();
        use();
        finalize(list);
        finalize(other);
    }
    std::string seen;

private:
    void fill() {
        for (Count i = 1; i <= 6; ++i) give(list, static_cast<Index>(i), i % 4);
        for (Count i = 1; i <= 3; ++i) give(other, static_cast<Index>(i), i);
        show("filled");
    }
    void give(Ref collection, Index index, Count value) {
        if (array)
            send(SITE("atput"), collection, index, value);
        else
            send(SITE("add"), collection, value);
    }
    void show(const char *what) {
        seen += what;
        for (const auto collection : {list, other}) {
            const auto *fields = fieldsOf<CollectionFields>(collection);
            if (fields == nullptr) continue;
            seen += " " + std::to_string(fields->slotCount) + ":";
            for (Count slot = 1; slot <= fields->slotCount; ++slot) {
                Count value;
                std::memcpy(&value, slotOf(*fields, slot), sizeof value);
                seen += value == 0x20202020 ? "_" : std::to_string(value);
            }
        }
        for (const auto number : errors.numbers()) seen += " error " + std::to_string(number);
        seen += " " + redefined.calls + "\n";
        redefined.calls.clear();
    }
    void made(const char *what, Ref collection) {
        const auto *fields = fieldsOf<CollectionFields>(collection);
        if (fields != nullptr && redefined.calls.size() < 100000) {
            seen += std::to_string(send<Count>(SITE("size"), collection)) + "=";
            for (Index i = 1; i <= 12; ++i) {
                Count value = 99;
                send(SITE("at"), collection, Returning{{reinterpret_cast<std::byte *>(&value)}}, i);
                seen += std::to_string(value) + ",";
            }
        }
        if (collection) finalize(collection);
        show(what);
    }
    void answered(const char *what, std::uint64_t answer) {
        seen += std::to_string(answer) + " ";
        show(what);
    }

    void use() {
        const Block odd([](void **arguments) { return numberIn(arguments) % 2; });
        for (Count value : {Count{0}, Count{2}, Count{7}}) {
            answered("includes", send<bool>(SITE("includes"), list, value));
            answered("occurrencesof", send<Count>(SITE("occurrencesof"), list, value));
            answered("indexof", send<Index>(SITE("indexof"), list, value));
            answered("lastindexof", static_cast<Count>(send<Index>(SITE("lastindexof"), list, value, 1, 9)));
            answered("firstindexofidentity", send<Count>(SITE("firstindexofidentity"), list, value, 1, 9));
            made("copywith", send<Ref>(SITE("copywith"), list, value));
            made("copywithout", send<Ref>(SITE("copywithout"), list, value));
            if (!array) send(SITE("remove"), list, value), show("remove");
            if (!array) send(SITE("add"), list, value), show("add");
        }
        for (auto *site : {&SITE("asarray"), &SITE("asorderedcollection"), &SITE("assortedcollection"),
                           &SITE("asvalueset"), &SITE("asbag"), &SITE("copy"), &SITE("copyempty"), &SITE("reverse"),
                           &SITE("deepcopy"), &SITE("copyemptysameclass")})
            made(site->method, send<Ref>(*site, list));
        for (auto *site : {&SITE("collect"), &SITE("select"), &SITE("reject")})
            made(site->method, send<Ref>(*site, list, odd.ref()));
        for (auto *site : {&SITE("do"), &SITE("dowithoutcopy"), &SITE("reversedo"), &SITE("keysanddatado"),
                           &SITE("findfirst"), &SITE("findlast")})
            answered(site->method, static_cast<Count>(send<Index>(*site, list, odd.ref())));
        answered("detect", send<Count>(SITE("detect"), list, odd.ref()));
        send(SITE("withdo"), list, list, odd.ref()), show("withdo");
        made("copyfromto", send<Ref>(SITE("copyfromto"), list, Index{2}, Index{4}));
        made("copyreplace", send<Ref>(SITE("copyreplace"), list, Index{2}, Index{4}, other));
        made("copyreplaceall", send<Ref>(SITE("copyreplaceall"), list, other, other));
        made("concat", send<Ref>(SITE("concat"), list, other));
        made("insertallafter", send<Ref>(SITE("insertallafter"), list, Index{2}, other));
        answered("indexofsubcollection", send<Count>(SITE("indexofsubcollection"), list, other, Index{1}));
        answered("equal", send<bool>(SITE("equal"), list, other));
        const auto twin = send<Ref>(SITE("copy"), list);
        answered("equal", send<bool>(SITE("equal"), list, twin));
        finalize(twin);
        send(SITE("replaceall"), list, Count{3}, Count{5}, Index{1}, Index{9}), show("replaceall");
        for (const Index start : {1, 2, 3, 0, 9})
            send(SITE("replacesubcollection"), list, start, start + 2, list, Index{2}), show("replacesubcollection");
        if (!array) {
            send(SITE("addall"), list, list), show("addall itself");
            for (int i = 0; i < 4; ++i) send(SITE("addall"), list, other), show("addall");
            for (const Index index : {1, 2, 5, 16})
                send(SITE("insertbeforeindex"), list, Count{8}, index), show("insertbeforeindex");
            for (auto *site : {&SITE("addalllast"), &SITE("addallfirst")}) send(*site, list, other), show(site->method);
            for (auto *site : {&SITE("addsubcollectionlast"), &SITE("addsubcollectionfirst")})
                send(*site, list, other, Index{2}, Index{3}), show(site->method);
            for (int i = 0; i < 30; ++i) send(SITE("addfirst"), list, Count{9}), show("addfirst");
            send(SITE("removeallsuchthat"), list, odd.ref()), show("removeallsuchthat");
            for (auto *site : {&SITE("removefirst"), &SITE("removelast"), &SITE("removefirstandfinalize"),
                               &SITE("removelastandfinalize")})
                send(*site, list, Index{2}), show(site->method);
            send(SITE("resort"), list), show("resort");
            send(SITE("makeroomatstart"), list), show("makeroomatstart");
            send(SITE("makeroomatend"), list), show("makeroomatend");
        }
        for (auto *site : {&SITE("grow"), &SITE("grow")}) send(*site, list), show(site->method);
        for (const Index size : {30, 4, -2, 0, 7}) answered("growto", send<Ref>(SITE("growto"), list, size) == list);
        send(SITE("atallput"), list, Count{4}), show("atallput");
        answered("first", send<Count>(SITE("first"), list));
        answered("last", send<Count>(SITE("last"), list));
        answered("hash", send<Count>(SITE("hash"), list));
    }

    RaisedErrors errors;
    bool array;
    Ref list, other;
};

using Messages = std::vector<std::pair<std::string, int>>; // with their parameter counts

Messages messagesOf(Ref classObject) {
    Messages found;
    for (; classObject; classObject = Ref{[&] {
                            oops_ref super = 0;
                            oopsgetsuperclass(classObject.bits, &super);
                            return super;
                        }()}) {
        const auto *family = familyOfClass(classObject);
        for (const auto &method : family->methods(false).inOrder()) {
            const std::string name = selectorOf(method.selector).name;
            const auto isKnown = [&](const auto &message) { return message.first == name; };
            if (std::find_if(found.begin(), found.end(), isKnown) == found.end() && method.parameters <= mostParameters)
                found.emplace_back(name, method.parameters);
        }
    }
    return found;
}

class Redefining : public testing::TestWithParam<const char *> {};
INSTANTIATE_TEST_SUITE_P(Classes, Redefining, testing::Values("array", "ordrdcll", "srtdclln"),
                         [](const auto &program) { return std::string(program.param); });

TEST_P(Redefining, IsNoticedByEveryMethod) {
    const auto superclass = classForProgram(GetParam());
    for (const auto &[name, parameters] : messagesOf(superclass)) {
        SCOPED_TRACE(name);
        static std::vector<std::unique_ptr<std::string>> names; // of classes and messages, for the run
        names.push_back(std::make_unique<std::string>("x" + std::to_string(names.size())));
        const auto *program = names.back()->c_str();
        names.push_back(std::make_unique<std::string>(name));
        redefined = {{{names.back()->c_str(), 0, 0}, program}, parameters, {}};
        const auto classObject = OutsideClass(program, program, superclass)
                                     .method(name.c_str(), asMethod(redefinition), parameters)
                                     .registerIt();
        ASSERT_TRUE(classObject);
        const auto isArray = std::string_view(GetParam()) == "array";
        const Usage native(classObject, isArray);
        std::string messages;
        {
            const OnlyMessages only;
            messages = Usage(classObject, isArray).seen;
        }
        if (native.seen != messages) {
            std::size_t at = 0;
            while (native.seen[at] == messages[at]) ++at;
            const auto start = messages.rfind('\n', at) + 1;
            ADD_FAILURE() << "natively: " << native.seen.substr(start, native.seen.find('\n', at) - start)
                          << "\nby messages: " << messages.substr(start, messages.find('\n', at) - start);
        }
    }
}

} // namespace
} // namespace oocobol::test
