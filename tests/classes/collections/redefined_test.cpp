// Native loops stand for messages. A class written outside the library that redefines a message, if only to pass it on,
// must see it sent at the same moments whether loops run natively or not, and everything must end the same: answers,
// storage and errors. Every message of sequenced collections is redefined in turn, of tables, items and texts
// every guarded one.
#include <algorithm>
#include <cctype>
#include <deque>
#include <map>
#include <sstream>

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

Ref classRedefining(Ref superclass, const std::string &message, int parameters) {
    static std::deque<std::string> names; // of classes and messages, for the run
    const auto &selector = names.emplace_back(message),
               &program = names.emplace_back("x" + std::to_string(names.size()));
    redefined = {{{selector.c_str(), 0, 0}, program.c_str()}, parameters, {}};
    return OutsideClass(program.c_str(), program.c_str(), superclass)
        .method(selector.c_str(), asMethod(redefinition), parameters)
        .registerIt();
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
        : texts(textClass), noting([this](void **arguments) { return visit(arguments); }) {
        const auto isArray = program == "array", isDictionary = program == "dictinry";
        redefined.calls.clear();
        auto elements = items;
        if (isDictionary) elements = send<Ref>(SITE("newclass"), CLASS("associtn"), items, items);
        auto &create = isDictionary ? SITE("ofassociations") : SITE("ofvalues");
        list = send<Ref>(create, ofCollections, elements, Index{isArray ? 6 : 3});
        other = send<Ref>(create, ofCollections, elements, Index{isArray ? 3 : 0});
        fill(list, "123012", isDictionary);
        fill(other, "123", isDictionary);
        twin = send<Ref>(SITE("copy"), list);
        for (const auto value : {'0', '2', '7'}) {
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
        const char word[] = {value, 0};
        objects.push_back(send<Ref>(SITE("withvalue"), texts, Bytes{word}));
        return padded({reinterpret_cast<const char *>(&objects.back()), sizeof(Ref)}, 32);
    }
    void fill(Ref collection, std::string_view values, bool isDictionary) {
        Index index = 0;
        for (const auto value : values) {
            const auto given = elementOf(value);
            ++index;
            if (isDictionary)
                send(SITE("atput"), collection, area(given), area(elementOf('9')));
            else if (sizeOf(collection) >= index)
                send(SITE("atput"), collection, index, area(given));
            else
                send(SITE("add"), collection, area(given));
        }
    }
    std::string argument(char kind) const {
        const std::map<char, std::string> named{{'e', element},
                                                {'d', {element.rbegin(), element.rend()}},
                                                {'l', bytesOf(list)},
                                                {'o', bytesOf(other)},
                                                {'c', bytesOf(twin)},
                                                {'x', bytesOf(noting.ref())},
                                                {'n', bytesOf(Index{-2})},
                                                {'m', bytesOf(Index{30})}};
        const auto found = named.find(kind);
        return found != named.end() ? found->second : bytesOf(Index{kind - '0'});
    }
    void performAll(const char *steps) {
        std::istringstream all(steps);
        for (std::string step; std::getline(all >> std::ws, step, ';');) perform(step);
    }
    void perform(const std::string &step) {
        static std::map<std::string, oops_site> sites;
        const auto space = std::min(step.find(' '), step.size());
        auto &[name, site] = *sites.emplace(step.substr(0, space), oops_site{}).first;
        if (site.method == nullptr) site = OOPS_SITE(name.c_str());
        std::vector<std::string> bytes{std::string(64, '\0')};
        for (const auto kind : step.substr(std::min(space + 1, step.size()))) bytes.push_back(argument(kind));
        std::vector<void *> arguments;
        for (auto &each : bytes) arguments.push_back(each.data());
        oocobol::send(list, site, arguments.data(), static_cast<std::uint32_t>(arguments.size()));
        Ref answer;
        std::memcpy(&answer, bytes[0].data(), sizeof answer);
        auto line = step + " = " + shown(bytes[0].data());
        if (isMade(answer)) {
            line += stored(answer);
            send<Ref>(name == "deepcopy" ? SITE("deepfinalize") : SITE("finalize"), answer);
        }
        line += stored(list) + stored(other);
        for (const auto number : errors.numbers()) line += " error " + std::to_string(number);
        seen.push_back(line + " " + std::exchange(redefined.calls, {}));
    }
    bool isMade(Ref answer) const {
        return isLive(answer) && fieldsOf<CollectionFields>(answer) != nullptr && answer != list && answer != other;
    }
    // Of a value its first byte, of a reference what it refers to.
    std::string shown(const char *bytes) const {
        Ref object;
        std::memcpy(&object, bytes, sizeof object);
        const auto known = std::find(objects.begin(), objects.end(), object);
        if (known != objects.end()) return "<" + std::to_string(known - objects.begin()) + ">";
        if (isLive(object)) return "<>";
        const auto byte = static_cast<unsigned char>(*bytes);
        return std::isgraph(byte) != 0 ? std::string(1, *bytes) : "#" + std::to_string(byte);
    }
    std::string stored(Ref collection) const {
        const auto *fields = fieldsOf<CollectionFields>(collection);
        if (fields == nullptr || fields->elementSize == 0) return " none";
        auto line = " " + std::to_string(fields->slotCount) + ":";
        Words slots;
        for (Count at = 0; at + 8 <= fields->storageLength; at += 8)
            slots.push_back(shown(reinterpret_cast<const char *>(fields->storage + at)));
        // Where references lie in an identity set differs from run to run.
        if (classOf(collection) == CLASS("iset")) std::sort(slots.begin(), slots.end());
        for (const auto &slot : slots) line += slot;
        return line;
    }
    std::int64_t visit(void **arguments) {
        const auto *bytes = static_cast<const char *>(arguments[0]);
        redefined.calls += shown(bytes);
        Ref object;
        std::memcpy(&object, bytes, sizeof object);
        return std::find(objects.begin(), objects.end(), object) != objects.end() ? valueOf(object)[0] % 2 : *bytes % 2;
    }

    Ref texts; // the class of the objects that are referred to; null: there are none
    Block noting;
    RaisedErrors errors;
    Ref list, other, twin;
    std::string element;
    std::vector<Ref> objects;
};

class Redefining : public testing::TestWithParam<const char *> {
protected:
    // Of a family, message and program: what is used when the message is redefined there.
    static void compare(const std::string &family, const std::string &message, int parameters,
                        const std::string &program, bool ofReferences) {
        SCOPED_TRACE(message + " of " + family + " in " + program + (ofReferences ? " of references" : " of values"));
        const auto ofOwn = classRedefining(classForProgram(family.c_str()), message, parameters);
        ASSERT_TRUE(ofOwn);
        const auto classFor = [&](const std::string &wanted) {
            return wanted == family ? ofOwn : classForProgram(wanted.c_str());
        };
        const auto used = [&] {
            const auto items = ofReferences ? null : send<Ref>(SITE("newclass"), classFor("picx"), Index{8});
            auto seen = Usage(program, classFor(program), items, ofReferences ? classFor("chararry") : null).seen;
            if (items) finalize(items);
            return seen;
        };
        const auto natively = used();
        const OnlyMessages only;
        const auto sent = used();
        ASSERT_EQ(natively.size(), sent.size());
        const auto [one, another] = std::mismatch(natively.begin(), natively.end(), sent.begin());
        if (one != natively.end()) ADD_FAILURE() << "natively: " << *one << "\nby messages: " << *another;
    }
};
INSTANTIATE_TEST_SUITE_P(Classes, Redefining,
                         testing::Values("array", "ordrdcll", "srtdclln", "valueset", "bag", "dictinry", "picx",
                                         "chararry"),
                         [](const auto &program) { return std::string(program.param); });

TEST_P(Redefining, IsNoticedByEveryMethod) {
    const std::string family = GetParam();
    const auto ofItems = family == "picx", ofTexts = family == "chararry";
    const auto isSequenced = family == "array" || family == "ordrdcll" || family == "srtdclln";
    for (const auto &[message, parameters] : messagesOf(classForProgram(GetParam()))) {
        const auto isGuarded =
            std::find(std::begin(guardedMessages), std::end(guardedMessages), message) != std::end(guardedMessages);
        if (!isSequenced && !isGuarded) continue;
        for (const std::string program : {"array", "ordrdcll", "srtdclln", "valueset", "bag", "dictinry"}) {
            if (!ofItems && !ofTexts && program != family) continue;
            if (!ofTexts) compare(family, message, parameters, program, false);
            // Of references, order and place in these are chance.
            if (!ofItems && isGuarded && program != "srtdclln" && program != "dictinry")
                compare(family, message, parameters, program, true);
        }
    }
}

} // namespace
} // namespace oocobol::test
