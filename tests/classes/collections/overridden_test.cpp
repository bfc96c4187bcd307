// Native loops stand for messages. A class written outside the library that redefines one of these messages, if only to
// pass it on, must see it sent at the same moments whether loops run natively or not, and everything must end the same.
#include <algorithm>
#include <array>
#include <utility>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {
namespace {

using Log = std::vector<std::string>;
Log *current = nullptr;
bool argumentsVary = false;
void log(std::string line) {
    if (current != nullptr) current->push_back(std::move(line));
}

// Elements and indexes. References differ from run to run.
bool showsArguments(std::string_view message) {
    constexpr std::string_view those[] = {"at",        "atput",         "atnogc",   "isat",      "basicat",
                                          "add",       "remove",        "grow",     "basicgrow", "malloc",
                                          "isemptyat", "isoccuppiedat", "privateat"};
    return !argumentsVary && std::find(std::begin(those), std::end(those), message) != std::end(those);
}

// What is redefined: a message for the collections themselves, or for the items or texts that they hold.
constexpr const char *families[] = {"ordrdcll", "srtdclln", "array", "valueset", "iset",
                                    "bag",      "dictinry", "picx",  "chararry"};
constexpr std::size_t familyCount = std::size(families), messageCount = std::size(guardedMessages);

struct Override {
    std::string program;
    oops_super_site site{};
    int parameters = 0; // the returning item included; 0 when the family has no such method
    Ref classObject;
};
std::array<std::array<Override, messageCount>, familyCount> overrides;

template <std::size_t family, std::size_t message>
void passOn(const oops_ref *self, void *data, void *a0, void *a1, void *a2, void *a3, void *a4, void *a5, void *a6,
            void *a7) {
    auto &own = overrides[family][message];
    std::string line(guardedMessages[message]);
    void *arguments[] = {a0, a1, a2, a3, a4, a5, a6, a7};
    for (int i = 1; i < own.parameters && showsArguments(guardedMessages[message]); ++i) {
        const auto *argument = static_cast<const unsigned char *>(arguments[i]);
        line += argument != nullptr ? " " + std::to_string(*argument) : " -";
    }
    log(line);
    oopsresolvetosuperlist(&own.site, self, data, own.parameters, arguments);
}

template <std::size_t family, std::size_t message> void declare() {
    auto &own = overrides[family][message];
    const auto superclass = classForProgram(families[family]);
    const auto *method = lookUp(*familyOfClass(superclass)->instances, findSelector(guardedMessages[message]));
    if (method == nullptr || method->parameters > 8) return;
    own.program = "ov" + std::to_string(family) + "x" + std::to_string(message);
    own.parameters = method->parameters;
    own.site = OOPS_SUPER_SITE(own.program.c_str(), guardedMessages[message].data());
    const std::string name(guardedMessages[message]);
    own.classObject = OutsideClass(own.program.c_str(), own.program.c_str(), superclass)
                          .method(name.c_str(), asMethod(passOn<family, message>), method->parameters)
                          .registerIt();
}
template <std::size_t... at> void declareAll(std::index_sequence<at...>) {
    (declare<at / messageCount, at % messageCount>(), ...);
}

// ---- The script --------------------------------------------------------------------------------------------------

class Script {
public:
    Script(Ref collections, Ref items, Ref texts, bool ofReferences)
        : item(items), text(texts), references(ofReferences),
          blockShown(block([this](void **arguments) { return shown(arguments); })) {
        collection = collections;
    }
    ~Script() {
        for (const auto made : ended) finalize(made);
        finalize(blockShown);
    }

    void run(std::size_t family) {
        ordered = family != 4;
        static constexpr const char *words[] = {"pear", "fig", "plum", "apple", "fig", "kiwi"};
        for (const auto *word : words) elements.push_back(references ? reference(word) : padded(word));
        if (family == 6) return runDictionary();
        const auto made = references ? make("ofreferences", Index{3}) : make("ofvalues", item, Index{3});
        if (family == 2) {
            for (Index i = 1; i <= 4; ++i) send(SITE("atput"), made, i, element(static_cast<std::size_t>(i - 1)));
        } else {
            for (std::size_t i = 0; i < elements.size(); ++i) send(SITE("add"), made, element(i));
        }
        runOn(made);
        if (family < 3) runSequenced(made);
        if (family != 2) {
            send(SITE("remove"), made, element(1));
            send(SITE("addall"), made, made);
            answer("size", made);
        }
        show(made, ordered);
    }

private:
    std::string padded(const char *word) { return (std::string(word) + "       ").substr(0, 8); }
    std::string reference(const char *word) {
        const auto object = keep(send<Ref>(SITE("withvalue"), text, Bytes{word}));
        return {reinterpret_cast<const char *>(&object), sizeof object};
    }
    Element element(std::size_t index) const { return {reinterpret_cast<const std::byte *>(elements[index].data())}; }
    Ref keep(Ref made) {
        ended.push_back(made);
        return made;
    }
    template <class... Arguments> Ref make(const char *message, const Arguments &...arguments) {
        oops_site site = OOPS_SITE(message);
        return keep(send<Ref>(site, collection, arguments...));
    }
    // A message with a number or flag as its answer, which is noted.
    template <class... Arguments> void answer(const char *message, Ref to, const Arguments &...arguments) {
        oops_site site = OOPS_SITE(message);
        log(std::string(message) + " = " + std::to_string(send<Count>(site, to, arguments...) & 0xFF));
    }
    // One with a collection, which is shown.
    template <class... Arguments> void derive(const char *message, Ref from, const Arguments &...arguments) {
        oops_site site = OOPS_SITE(message);
        const auto made = keep(send<Ref>(site, from, arguments...));
        log(std::string(message) + ":");
        show(made, ordered && std::string_view(message) != "asidentityset");
    }
    std::int64_t shown(void **arguments) {
        if (references) {
            Ref object;
            std::memcpy(&object, arguments[0], sizeof object);
            log("- " + valueOf(object));
        } else {
            log("- " + std::string(static_cast<const char *>(arguments[0]), 8));
        }
        return 0;
    }
    // Identity decides the order in an identity set, and that differs from run to run: nothing is said of it then.
    void show(Ref made, bool inOrder = true) {
        auto *all = current;
        Log lines;
        current = &lines;
        send(SITE("do"), made, blockShown);
        current = all;
        if (!inOrder) std::sort(lines.begin(), lines.end());
        for (auto &line : lines) log(std::move(line));
    }

    void runOn(Ref made) {
        show(made, ordered);
        answer("size", made);
        for (const auto index : {std::size_t{0}, std::size_t{3}}) {
            answer("includes", made, element(index));
            answer("occurrencesof", made, element(index));
        }
        for (const auto *message : {"copy", "asorderedcollection", "asvalueset", "asbag", "asidentityset"})
            derive(message, made);
        const auto twin = keep(send<Ref>(SITE("copy"), made));
        answer("equal", made, twin);
    }
    void runSequenced(Ref made) {
        for (const auto *message : {"firstindexof", "lastindexof", "indexof"}) answer(message, made, element(2));
        for (const auto *message : {"reverse", "asarray"}) derive(message, made);
        derive("copyfromto", made, Index{2}, Index{3});
        derive("copywith", made, element(0));
        derive("copywithout", made, element(1));
        const auto part = keep(send<Ref>(SITE("copyfromto"), made, Index{2}, Index{3}));
        answer("indexofsubcollection", made, part, Index{1});
        derive("concat", made, part);
        if (!references) derive("asdefaultsortedcollection", made);
    }
    void runDictionary() {
        const auto pair = keep(send<Ref>(SITE("newclass"), classForProgram("associtn"), item, item));
        const auto made = make("ofassociations", pair, Index{3});
        if (!made) return;
        for (std::size_t i = 0; i < elements.size(); ++i) send(SITE("atput"), made, element(i), element((i + 1) % 6));
        for (const auto index : {std::size_t{0}, std::size_t{4}}) {
            std::array<char, 512> datum{};
            send(SITE("at"), made, Returning{{reinterpret_cast<std::byte *>(datum.data())}}, element(index));
            log(std::string("at = ") + datum.data());
            answer("includeskey", made, element(index));
        }
        send(SITE("removekey"), made, element(0));
        answer("size", made);
        show(made);
    }

    Ref collection, item, text;
    bool references;
    bool ordered = true;
    Ref blockShown;
    std::vector<std::string> elements;
    std::vector<Ref> ended;
};

Log logOf(std::size_t family, std::size_t message, std::size_t script, bool references) {
    const auto classFor = [&](std::size_t wanted) {
        const auto &own = overrides[wanted][message];
        return wanted == family && own.parameters != 0 ? own.classObject : classForProgram(families[wanted]);
    };
    Log lines;
    RaisedErrors errors;
    current = &lines;
    argumentsVary = references || script >= 3;
    const auto item = send<Ref>(SITE("newclass"), classFor(7), Index{8});
    Script(classFor(script), item, classFor(8), references).run(script);
    finalize(item);
    current = nullptr;
    for (const auto &raised : errors.all) lines.push_back("error " + std::to_string(raised.number));
    return lines;
}

class Overridden : public testing::TestWithParam<std::size_t> {
protected:
    static void SetUpTestSuite() { declareAll(std::make_index_sequence<familyCount * messageCount>()); }

    static void compare(std::size_t family, std::size_t message, std::size_t script, bool references) {
        SCOPED_TRACE(std::string(guardedMessages[message]) + " of " + families[family] + " in " + families[script] +
                     (references ? " of references" : " of values"));
        const auto native = logOf(family, message, script, references);
        const OnlyMessages dispatched;
        const auto sent = logOf(family, message, script, references);
        const auto [one, other] = std::mismatch(native.begin(), native.end(), sent.begin(), sent.end());
        if (one == native.end() && other == sent.end()) return;
        ADD_FAILURE() << "line " << one - native.begin() << " natively " << (one == native.end() ? "the end" : *one)
                      << ", by messages " << (other == sent.end() ? "the end" : *other);
    }
};

TEST_P(Overridden, IsSentWhetherLoopsAreNativeOrNot) {
    const auto family = GetParam();
    const auto ofElements = family >= 7;
    for (std::size_t message = 0; message < messageCount; ++message) {
        if (overrides[family][message].parameters == 0) continue;
        for (std::size_t script = ofElements ? 0 : family; script <= (ofElements ? 6 : family); ++script) {
            if (script == 4) continue; // where its elements lie differs from run to run; its code is the value set's
            if (family != 8) compare(family, message, script, false);
            if (script != 1 && script != 6 && family != 7) compare(family, message, script, true);
        }
    }
}
// Of the sequenced collections themselves every message is redefined in redefined_test.cpp.
INSTANTIATE_TEST_SUITE_P(Families, Overridden, testing::Range(std::size_t{3}, familyCount),
                         [](const auto &family) { return std::string(families[family.param]); });

} // namespace
} // namespace oocobol::test
