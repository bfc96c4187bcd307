// Text: the walk over characters of one and two bytes beside a plain loop, and what the methods of single-byte text
// cost where there may be double-byte characters beside what they cost where there are none.
#include <cstdlib>
#include <random>
#include <string>

#include <benchmark/benchmark.h>

#include "oocobol/oocobol.h"

namespace {

oops_ref classOf(const char *program) {
    oops_ref found = 0;
    oopsgetclassobject(&found, program);
    return found;
}

template <class... Items> void tell(oops_ref object, oops_site &site, Items *...items) {
    void *arguments[] = {const_cast<void *>(static_cast<const void *>(items))...};
    oopsresolvelist(object, &site, arguments, sizeof...(items));
}

// As a program says it, at its start.
void enterEnvironment(bool doubleByte) {
    static oops_site ready = OOPS_SITE("readyforapplicationstart");
    setenv("OOCOBOL_DBCS", doubleByte ? "1" : "0", 1);
    char nothing[8];
    tell(classOf("base"), ready, nothing);
}

void finalize(oops_ref object) {
    static oops_site site = OOPS_SITE("finalize");
    oops_ref nothing = 0;
    tell(object, site, &nothing);
}

// ---- The walk -----------------------------------------------------------------------------------------------------

constexpr int32_t textSize = 64 * 1024;

// Words of hiragana between words of ASCII letters.
const std::string &mixedText() {
    static const auto text = [] {
        std::mt19937 random(5);
        std::string made;
        while (made.size() < textSize) {
            for (auto length = 2 + random() % 6; length > 0; --length)
                made += {'\x82', static_cast<char>(0xA0 + random() % 64)};
            for (auto length = 1 + random() % 8; length > 0; --length) made += static_cast<char>('a' + random() % 26);
        }
        made.resize(textSize - 1);
        return made + ' ';
    }();
    return text;
}

bool isLead(unsigned char byte) { return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC); }

void plainWalk(benchmark::State &state) {
    const auto &text = mixedText();
    for (auto _ : state) {
        std::size_t count = 0;
        for (std::size_t at = 0; at < text.size(); ++count) at += isLead(static_cast<unsigned char>(text[at])) ? 2 : 1;
        benchmark::DoNotOptimize(count);
    }
}
BENCHMARK(plainWalk)->Name("text/plain_walk");

void walk(benchmark::State &state) {
    static oops_site site = OOPS_SITE("stringlengthinchars");
    enterEnvironment(true);
    const auto mixed = classOf("dbcsarry");
    auto size = textSize;
    for (auto _ : state) {
        int32_t count = 0;
        tell(mixed, site, &count, mixedText().data(), &size);
        benchmark::DoNotOptimize(count);
    }
}
BENCHMARK(walk)->Name("text/walk");

template <bool isMixed, bool atEnd> void characterAt(benchmark::State &state) {
    static oops_site make = OOPS_SITE("withlengthvalue"), at = OOPS_SITE("at");
    enterEnvironment(true);
    const auto value = isMixed ? mixedText() : std::string(textSize, 'a');
    int32_t size = textSize / 2, position = atEnd ? size - 1 : 1;
    oops_ref text = 0;
    tell(classOf("dbcsarry"), make, &text, &size, value.data());
    for (auto _ : state) {
        char character[8];
        tell(text, at, character, &position);
        benchmark::DoNotOptimize(character);
    }
    finalize(text);
}
BENCHMARK(characterAt<false, false>)->Name("text/at_start");
BENCHMARK(characterAt<false, true>)->Name("text/at_end");

// ---- Methods of single-byte text in both environments --------------------------------------------------------------

oops_ref textOf(std::string value) {
    static oops_site site = OOPS_SITE("withlengthvalue");
    auto size = static_cast<int32_t>(value.size());
    oops_ref made = 0;
    tell(classOf("chararry"), site, &made, &size, value.data());
    return made;
}

struct Texts {
    oops_ref self = textOf("  the quick brown fox jumps over "), other = textOf("fox jumps"),
             type = classOf("chararry");
    std::string value = std::string("the quick brown fox jumps over") + '\0' + "  ";
    int32_t size = 32, one = 1, ten = 10;
};

// Sends one message; what it makes is finalized.
struct Method {
    const char *name;
    oops_ref (*run)(oops_site &site, Texts &texts, void *answer);
};
template <class... Items> oops_ref made(oops_ref object, oops_site &site, Items *...items) {
    oops_ref text = 0;
    tell(object, site, &text, items...);
    return text;
}
template <class... Items> oops_ref told(oops_ref object, oops_site &site, void *answer, Items *...items) {
    tell(object, site, static_cast<char *>(answer), items...);
    return 0;
}
constexpr Method methods[] = {
    {"withbytelengthvalue", [](auto &site, auto &t, void *) { return made(t.type, site, &t.size, t.value.data()); }},
    {"withvalue", [](auto &site, auto &t, void *) { return made(t.type, site, t.value.data()); }},
    {"withspaceterminator", [](auto &site, auto &t, void *) { return made(t.type, site, t.value.data() + 4); }},
    {"frombuffer", [](auto &site, auto &t, void *) { return made(t.type, site, &t.size, t.value.data()); }},
    {"setvalue", [](auto &site, auto &t, void *answer) { return told(t.self, site, answer, t.value.data()); }},
    {"atput", [](auto &site, auto &t, void *answer) { return told(t.self, site, answer, &t.ten, "x"); }},
    {"movevalue", [](auto &site, auto &t, void *answer) { return told(t.self, site, answer, &t.other); }},
    {"concat", [](auto &site, auto &t, void *) { return made(t.self, site, &t.other); }},
    {"trimblanks", [](auto &site, auto &t, void *) { return made(t.self, site); }},
    {"asuppercase", [](auto &site, auto &t, void *) { return made(t.self, site); }},
    {"copyfromto", [](auto &site, auto &t, void *) { return made(t.self, site, &t.one, &t.ten); }},
    {"equal", [](auto &site, auto &t, void *answer) { return told(t.self, site, answer, &t.other); }},
    {"hash", [](auto &site, auto &t, void *answer) { return told(t.self, site, answer); }},
    {"indexofsubcollection",
     [](auto &site, auto &t, void *answer) { return told(t.self, site, answer, &t.other, &t.one); }},
};

void run(benchmark::State &state, const Method &method, bool doubleByte) {
    enterEnvironment(doubleByte);
    oops_site site = OOPS_SITE(method.name);
    Texts texts;
    for (auto _ : state) {
        char answer[8];
        if (const auto text = method.run(site, texts, answer)) finalize(text);
        benchmark::DoNotOptimize(answer);
    }
    finalize(texts.self);
    finalize(texts.other);
}

const bool areRegistered = [] {
    for (const auto &method : methods) {
        for (const bool doubleByte : {false, true}) {
            const auto name = std::string("text/") + (doubleByte ? "double_byte_" : "single_byte_") + method.name;
            benchmark::RegisterBenchmark(name.c_str(), run, method, doubleByte);
        }
    }
    return true;
}();

} // namespace
