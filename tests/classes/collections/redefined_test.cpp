// Native loops stand for messages. A class written outside the library that redefines a message, if only to pass it on,
// must see it sent at the same moments whether loops run natively or not, and everything must end the same: answers,
// storage and errors. Every message of sequenced collections is redefined in turn, of tables, items and texts
// every guarded one.
#include <algorithm>
#include <deque>
#include <map>

#include "classes/collections/collection.h"
#include "runtime/classes.h"
#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

constexpr int mostParameters = 8;

// A subclass that redefines one message, to pass it on.
struct Redefinition {
    std::string program, message;
    int parameters;
    oops_super_site above{};
    Ref ofClass{};
};
Redefinition *redefined = nullptr; // just now
std::string calls;                 // of it, and of blocks

void redefinition(const oops_ref *self, void *data, void *answer, void *a, void *b, void *c, void *d, void *e, void *f,
                  void *g) {
    void *arguments[mostParameters] = {answer, a, b, c, d, e, f, g};
    calls += 'c';
    for (int i = 1; i < redefined->parameters; ++i) calls += arguments[i] == nullptr ? '-' : '+';
    oopsresolvetosuperlist(&redefined->above, self, data, redefined->parameters, arguments);
}
Redefinition &redefinitionOf(Ref superclass, const std::string &message, int parameters) {
    static std::deque<Redefinition> made; // for the run
    auto &one = made.emplace_back(Redefinition{"x" + std::to_string(made.size()), message, parameters, {}, {}});
    one.above = {{one.message.c_str(), 0, 0}, one.program.c_str()};
    one.ofClass = OutsideClass(one.program.c_str(), one.program.c_str(), superclass)
                      .method(one.message.c_str(), asMethod(redefinition), parameters)
                      .registerIt();
    return one;
}

// The instance methods of a class and those above it, with their parameter counts.
std::map<std::string, int> messagesOf(Ref classObject) {
    std::map<std::string, int> found;
    while (classObject) {
        for (const auto &method : familyOfClass(classObject)->methods(false).inOrder()) {
            if (method.parameters <= mostParameters) found.emplace(selectorOf(method.selector).name, method.parameters);
        }
        oops_ref superclass = 0;
        oopsgetsuperclass(classObject.bits, &superclass);
        classObject = Ref{superclass};
    }
    return found;
}

// What is sent to a collection, with letters for the arguments: e an element, d another one, l the collection itself,
// o another one, c a copy, x a block, n -2, m 30, digits. What is not for a kind of collection raises the same errors.
constexpr char toElements[] =
    "includes e; occurrencesof e; indexof e; lastindexof e19; firstindexof e19; firstindexofidentity e19; copywith e; "
    "copywithout e; remove e; add e; at e; includeskey e; keyatdata e";
constexpr char toCollections[] =
    "asarray; asorderedcollection; asdefaultsortedcollection; assortedcollection; asvalueset; asbag; asidentityset; "
    "copy; copyempty; reverse; deepcopy; copyemptysameclass; collect x; select x; reject x; do x; dowithoutcopy x; "
    "reversedo x; keysanddatado x; keysdo x; findfirst x; findlast x; detect x; withdo lx; copyfromto 24; "
    "copyreplace 24o; copyreplaceall oo; concat o; insertallafter 2o; indexofsubcollection o1; equal o; equal l; "
    "equal c; replaceall ed19; replacesubcollection 13l2; replacesubcollection 24l2; replacesubcollection 35l2; "
    "replacesubcollection 02l2; replacesubcollection 9ml2; addall l; addall o; addall o; addall o; addall o; "
    "insertbeforeindex e1; insertbeforeindex e2; insertbeforeindex e5; insertbeforeindex em; addalllast o; "
    "addallfirst o; addsubcollectionlast o23; addsubcollectionfirst o23; addfirst e; addfirst e; addfirst e; "
    "addfirst e; removeallsuchthat x; removefirst 2; removelast 2; removefirstandfinalize 2; removelastandfinalize 2; "
    "resort; makeroomatstart; makeroomatend; removekey e; grow; grow; growto m; growto 4; growto n; growto 0; growto "
    "7; atallput e; first; last; hash; size";

// Makes two collections, sends them everything, and tells what was seen: for each message the answer, what lies in the
// storage, the errors, and the calls of what is redefined.
class Usage {
public:
    Usage(std::string_view program, Ref ofCollections, Ref items, Ref textClass)
        : texts(textClass), isDictionary(program == "dictinry"),
          elements(isDictionary ? send<Ref>(SITE("newclass"), CLASS("associtn"), items, items) : items),
          noting([this](void **arguments) { return visit(arguments); }) {
        calls.clear();
        list = make(ofCollections, program == "array" ? 6 : 3, "123012");
        other = make(ofCollections, program == "array" ? 3 : 0, "123");
        twin = send<Ref>(SITE("copy"), list);
        for (const auto value : {'2', '7'}) { // which is there, and which is not
            element = elementOf(value);
            performAll(toElements);
        }
        performAll(toCollections);
        for (const auto made : {twin, list, other}) finalize(made);
        if (isDictionary) finalize(elements);
        for (const auto object : objects) {
            if (isLive(object)) finalize(object);
        }
    }
    Words seen;

private:
    // Bytes enough for whatever takes them for something else.
    std::string elementOf(char value) {
        if (!texts) return padded({&value, 1}, 32);
        objects.push_back(send<Ref>(SITE("withvalue"), texts, Bytes{std::string(1, value).c_str()}));
        return padded(bytesOf(objects.back()), 32);
    }
    Ref make(Ref ofCollections, Index size, std::string_view values) {
        auto &create = isDictionary ? SITE("ofassociations") : SITE("ofvalues");
        const auto made = send<Ref>(create, ofCollections, elements, size);
        Index index = 0;
        for (const auto value : values) {
            const auto given = elementOf(value);
            ++index;
            if (isDictionary)
                send(SITE("atput"), made, area(given), area(elementOf('9')));
            else if (sizeOf(made) >= index)
                send(SITE("atput"), made, index, area(given));
            else
                send(SITE("add"), made, area(given));
        }
        return made;
    }
    std::string argument(char kind) const {
        if (kind == 'e') return element;
        if (kind == 'd') return {element.rbegin(), element.rend()};
        if (kind >= '0' && kind <= '9') return bytesOf(Index{kind - '0'});
        if (kind == 'n' || kind == 'm') return bytesOf(kind == 'n' ? Index{-2} : Index{30});
        return bytesOf(kind == 'l' ? list : kind == 'o' ? other : kind == 'c' ? twin : noting.ref());
    }
    void performAll(std::string_view steps) {
        for (std::size_t end = 0; !steps.empty(); steps.remove_prefix(std::min(end + 2, steps.size()))) {
            end = std::min(steps.find(';'), steps.size());
            perform(steps.substr(0, end));
        }
    }
    void perform(std::string_view step) {
        const auto name = message = step.substr(0, step.find(' '));
        std::vector<std::string> bytes{std::string(64, '\0')};
        for (auto i = name.size() + 1; i < step.size(); ++i) bytes.push_back(argument(step[i]));
        sendAreas(list, name, bytes);
        const auto answer = valueIn<Ref>(bytes[0].data());
        auto &line = seen.emplace_back(step) += " = " + shown(bytes[0].data());
        if (isLive(answer) && fieldsOf<CollectionFields>(answer) != nullptr && answer != list && answer != other) {
            line += stored(answer);
            send<Ref>(name == "deepcopy" ? SITE("deepfinalize") : SITE("finalize"), answer);
        }
        line += stored(list) + stored(other);
        for (const auto number : errors.numbers()) line += " error " + std::to_string(number);
        line += " " + std::exchange(calls, {});
    }
    // Of a value its first byte, of a reference what it refers to.
    std::string shown(const char *bytes) const {
        const auto object = valueIn<Ref>(bytes);
        const auto known = std::find(objects.begin(), objects.end(), object);
        if (known != objects.end()) return "<" + std::to_string(known - objects.begin()) + ">";
        return isLive(object) ? "<>" : std::string(bytes, 1);
    }
    std::string stored(Ref collection) const {
        const auto *fields = fieldsOf<CollectionFields>(collection);
        if (fields == nullptr || fields->elementSize == 0) return " none";
        auto line = " " + std::to_string(fields->slotCount) + ":";
        const auto *storage = reinterpret_cast<const char *>(fields->storage);
        Words slots;
        for (Count at = 0; at + 8 <= fields->storageLength; at += 8) slots.push_back(shown(storage + at));
        // Where references lie in an identity set differs from run to run.
        if (classOf(collection) == CLASS("iset")) std::sort(slots.begin(), slots.end());
        for (const auto &slot : slots) line += slot;
        return line;
    }
    std::int64_t visit(void **arguments) {
        const auto isIndex = message == "keysanddatado" && !isDictionary; // which is shorter than an element
        if (isIndex) calls += std::to_string(numberIn(arguments));
        const auto *bytes = static_cast<const char *>(arguments[isIndex ? 1 : 0]);
        calls += shown(bytes);
        const auto object = valueIn<Ref>(bytes);
        return std::find(objects.begin(), objects.end(), object) != objects.end() ? valueOf(object)[0] % 2 : *bytes % 2;
    }

    Ref texts; // the class of the objects that are referred to; null: there are none
    bool isDictionary;
    Ref elements;
    Block noting;
    RaisedErrors errors;
    Ref list, other, twin;
    std::string_view message; // that is being performed
    std::string element;
    std::vector<Ref> objects;
};

class Redefining : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Classes, Redefining,
                         testing::Values("array", "ordrdcll", "srtdclln", "valueset", "bag", "dictinry", "picx",
                                         "chararry"),
                         [](const auto &program) { return program.param; });

TEST_P(Redefining, IsNoticedByEveryMethod) {
    const auto &family = GetParam();
    const auto ofItems = family == "picx", ofTexts = family == "chararry";
    const auto isSequenced = family == "array" || family == "ordrdcll" || family == "srtdclln";
    struct Case {
        Redefinition *redefinition;
        std::string program;
        bool ofReferences;
    };
    std::vector<Case> cases;
    for (const auto &[message, parameters] : messagesOf(classForProgram(family.c_str()))) {
        const auto isGuarded =
            std::find(std::begin(guardedMessages), std::end(guardedMessages), message) != std::end(guardedMessages);
        if (!isSequenced && !isGuarded) continue;
        auto &one = redefinitionOf(classForProgram(family.c_str()), message, parameters);
        ASSERT_TRUE(one.ofClass);
        for (const std::string program : {"array", "ordrdcll", "srtdclln", "valueset", "bag", "dictinry"}) {
            if (!ofItems && !ofTexts && program != family) continue;
            if (!ofTexts) cases.push_back({&one, program, false});
            // Of references, order and place in these are chance.
            if (!ofItems && isGuarded && program != "srtdclln" && program != "dictinry")
                cases.push_back({&one, program, true});
        }
    }
    std::vector<Words> seen;
    onBothRoads([&] {
        for (const auto &[one, program, ofReferences] : cases) {
            const Sweep sweep; // of what is answered in collections
            redefined = one;
            const auto classFor = [&](const std::string &wanted) {
                return wanted == family ? redefined->ofClass : classForProgram(wanted.c_str());
            };
            const auto items = ofReferences ? null : send<Ref>(SITE("newclass"), classFor("picx"), Index{8});
            seen.push_back(Usage(program, classFor(program), items, ofReferences ? classFor("chararry") : null).seen);
            if (items) finalize(items);
        }
    });
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto &sent = seen[cases.size() + i];
        ASSERT_EQ(seen[i].size(), sent.size());
        const auto [one, another] = std::mismatch(seen[i].begin(), seen[i].end(), sent.begin());
        if (one != seen[i].end())
            ADD_FAILURE() << cases[i].redefinition->message << " in " << cases[i].program
                          << (cases[i].ofReferences ? " of references" : " of values") << "\nnatively: " << *one
                          << "\nby messages: " << *another;
    }
}

} // namespace
} // namespace oocobol::test
