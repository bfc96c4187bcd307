// Column oocobol: the exported functions and nothing else, every operation a message through its own send site.
#include "bench.h"

#include <string>
#include <vector>

#include "oocobol/oocobol.h"

namespace {

const char *const column = "oocobol";

// ---- Sends -------------------------------------------------------------------------------------------------------

template <class... Arguments>
inline void tell(oops_site &site, oops_ref receiver, void *returning, Arguments *...arguments) {
    oopsresolve(&site, receiver, 1 + static_cast<int32_t>(sizeof...(arguments)), returning,
                const_cast<void *>(static_cast<const void *>(arguments))...);
}
// Each place that sends has a site of its own.
#define SEND(name, ...)                           \
    do {                                          \
        static oops_site site_ = OOPS_SITE(name); \
        tell(site_, __VA_ARGS__);                 \
    } while (0)

oops_ref classOf(const char *program) {
    oops_ref found = 0;
    oopsgetclassobject(&found, program);
    return found;
}

oops_ref picX(int32_t length) {
    oops_ref made = 0;
    SEND("newclass", classOf("picx"), &made, &length);
    return made;
}

void finalize(oops_ref object) { SEND("finalize", object, &object); }

// ---- Sixteen classes of a program's own ----------------------------------------------------------------------------

struct Data {
    int32_t k, spare[3];
};
template <int number> void bump(const oops_ref *, Data *data, int32_t *returning, const int32_t *x) {
    *returning = *x + number + 1 + data->k;
}
template <int number> oops_ref makeClass() {
    std::vector<unsigned char> record(512);
    const std::string name = "bench" + std::to_string(number);
    oopsrecord(record.data(), name.c_str(), name.c_str(), classOf("base"), 0, sizeof(Data));
    oopsrecordmethod(record.data(), record.size(), "bump", reinterpret_cast<oops_method>(bump<number>), 2, 0);
    oops_ref made = 0;
    oopsnewclass2(record.data(), &made);
    return made;
}
template <int... number> std::vector<oops_ref> makeClasses(std::integer_sequence<int, number...>) {
    return {makeClass<number>()...};
}
std::vector<oops_ref> classes;

oops_ref make(size_t which) {
    oops_ref made = 0;
    SEND("new", classes[which], &made);
    return made;
}

const int32_t *ints;
const uint32_t *order;
const char *records;

int32_t sendBump(oops_ref o, int32_t x) {
    int32_t r;
    SEND("bump", o, &r, &x);
    return r;
}
int32_t sendBumpByName(oops_ref o, int32_t x, uint64_t *cache) {
    int32_t r;
    cobinvoke2(o, "bump", &cache[1], &cache[0], 2, &r, &x);
    return r;
}

void sends() {
    const oops_ref o = make(0);
    BENCH(
        "W1", column, 100 * N, , for (int p = 0; p < 100; p++) {
            check = 0;
            for (int i = 0; i < N; i++) check += sendBump(o, i & 1023);
        }, );
    uint64_t cache[2] = {0, 0};
    BENCH(
        "W1n", column, 20 * N, , for (int p = 0; p < 20; p++) {
            check = 0;
            for (int i = 0; i < N; i++) check += sendBumpByName(o, i & 1023, cache);
        }, );
    finalize(o);
    const auto *which = reinterpret_cast<const uint8_t *>(load("classes"));
    std::vector<oops_ref> mixed;
    for (int i = 0; i < NOBJ; i++) mixed.push_back(make(which[i]));
    BENCH(
        "W2", column, 300 * NOBJ, , for (int p = 0; p < 300; p++) {
            check = 0;
            for (const oops_ref m : mixed) check += sendBump(m, 1);
        }, );
    for (const oops_ref m : mixed) finalize(m);
}

void lifecycle() {
    std::vector<oops_ref> objects(N);
    const double before = rss_bytes();
    for (auto &o : objects) o = make(0);
    report_one("W3b", column, (rss_bytes() - before) / int(N));
    for (auto &o : objects) finalize(o);
    BENCH("W3c", column, N, , for (auto &o : objects) o = make(0); check = N, for (auto &o : objects) finalize(o));
    BENCH("W3d", column, N, for (auto &o : objects) o = make(0), for (auto &o : objects) finalize(o); check = N, );
}

// ---- Collections ---------------------------------------------------------------------------------------------------

oops_ref newList(oops_ref elementTemplate, int32_t capacity) {
    oops_ref made = 0;
    SEND("ofvalues", classOf("ordrdcll"), &made, &elementTemplate, &capacity);
    return made;
}
int64_t sizeOf(oops_ref collection) {
    uint32_t size = 0;
    SEND("size", collection, &size);
    return size;
}

int64_t total;
int64_t addToTotal(void *element, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
                   void *, void *, void *, void *) {
    total += *static_cast<const int32_t *>(element);
    return 0;
}
int64_t descending(void *a, void *b, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
                   void *, void *, void *) {
    return *static_cast<const int32_t *>(a) >= *static_cast<const int32_t *>(b);
}

oops_ref numbers(int count) {
    const oops_ref list = newList(classOf("scomp5"), count);
    for (int i = 0; i < count; i++) SEND("add", list, nullptr, &ints[i]);
    return list;
}

void lists() {
    const oops_ref comp5 = classOf("comp5");
    BENCH("W4", column, N, const oops_ref list = newList(comp5, 0),
          for (int i = 0; i < N; i++) SEND("add", list, nullptr, &ints[i]);
          check = sizeOf(list), finalize(list));
    oops_ref o = make(0);
    int32_t none = 0;
    BENCH("W4r", column, N, oops_ref list = 0; SEND("ofreferences", classOf("ordrdcll"), &list, &none),
                                               for (int i = 0; i < N; i++) SEND("add", list, nullptr, &o);
          check = sizeOf(list), finalize(list));
    finalize(o);
    const oops_ref list = numbers(N);
    BENCH(
        "W5", column, N, , for (int32_t i = 1; i <= N; i++) {
            int32_t element;
            SEND("at", list, &element, &i);
            check += element;
        }, );
    host_register_entry("addtototal", addToTotal);
    oops_ref block = 0;
    SEND("new", classOf("entrycll"), &block, "addtototal");
    BENCH("W6", column, N, total = 0, SEND("do", list, nullptr, &block); check = total, );
    finalize(block);
    finalize(list);
}

void sorts() {
    const int32_t middle = N / 2 + 1;
    const oops_ref list = numbers(N);
    BENCH("W7", column, N, oops_ref sorted = 0, SEND("asdefaultsortedcollection", list, &sorted); int32_t found = 0;
          SEND("at", sorted, &found, &middle); check = found, finalize(sorted));
    finalize(list);
    const oops_ref texts = newList(picX(32), N);
    for (int i = 0; i < N; i++) SEND("add", texts, nullptr, records + 32 * i);
    BENCH("W8", column, N, oops_ref sorted = 0, SEND("asdefaultsortedcollection", texts, &sorted); char found[32];
          SEND("at", sorted, found, &middle); check = text_sum(found), finalize(sorted));
    finalize(texts);
    host_register_entry("descending", descending);
    const oops_ref few = numbers(NCALLBACK);
    const int32_t fewMiddle = NCALLBACK / 2 + 1;
    BENCH("W9", column, NCALLBACK, oops_ref sorted = 0; oops_ref elementTemplate = classOf("scomp5");
          int32_t capacity = NCALLBACK; SEND("ofvalues", classOf("srtdclln"), &sorted, &elementTemplate, &capacity);
          SEND("setsortentry", sorted, nullptr, "descending"), SEND("addall", sorted, nullptr, &few); int32_t found = 0;
          SEND("at", sorted, &found, &fewMiddle); check = found, finalize(sorted));
    finalize(few);
}

oops_ref newDictionary(oops_ref keyTemplate, oops_ref dataTemplate) {
    oops_ref made = 0;
    int32_t size = 0;
    SEND("ofvaluesauto", classOf("dictinry"), &made, &keyTemplate, &dataTemplate, &size);
    return made;
}

void dictionaries() {
    const char *keys = load("keys"), *misses = load("misses");
    const oops_ref keyTemplate = picX(16), comp5 = classOf("comp5");
    const auto fill = [&](oops_ref d) {
        for (int i = 0; i < N; i++) SEND("atput", d, nullptr, keys + 16 * i, &i);
    };
    BENCH("W10", column, N, const oops_ref d = newDictionary(keyTemplate, comp5), fill(d);
          check = sizeOf(d), finalize(d));
    const oops_ref d = newDictionary(keyTemplate, comp5);
    fill(d);
    BENCH(
        "W11", column, N, , for (int i = 0; i < N; i++) {
            int32_t value;
            SEND("at", d, &value, keys + 16 * size_t{order[i]});
            check += value;
        }, );
    BENCH(
        "W12", column, N, , for (int i = 0; i < N; i++) {
            unsigned char has;
            SEND("includeskey", d, &has, misses + 16 * i);
            check += has == 0;
        }, );
    BENCH("W13", column, N, oops_ref copy = 0;
          SEND("copy", d, &copy),
          for (int i = 0; i < N; i++) SEND("removekey", copy, nullptr, keys + 16 * size_t{order[i]});
          check = sizeOf(copy), finalize(copy));
    finalize(d);
}

void objectSets() {
    std::vector<oops_ref> objects(N);
    for (auto &o : objects) o = make(0);
    int32_t none = 0;
    const auto fill = [&](oops_ref set) {
        for (const auto &o : objects) SEND("add", set, nullptr, &o);
    };
    BENCH("W14a", column, N, oops_ref set = 0; SEND("ofreferences", classOf("iset"), &set, &none), fill(set);
          check = sizeOf(set), finalize(set));
    oops_ref set = 0;
    SEND("ofreferences", classOf("iset"), &set, &none);
    fill(set);
    BENCH(
        "W14i", column, N, , for (int i = 0; i < N; i++) {
            unsigned char has;
            SEND("includes", set, &has, &objects[order[i]]);
            check += has;
        }, );
    finalize(set);
    for (auto &o : objects) finalize(o);
}

void bags() {
    const char *words = load("words");
    oops_ref wordTemplate = picX(12);
    int32_t size = 10;
    BENCH("W15", column, N, oops_ref bag = 0;
          SEND("ofvalues", classOf("bag"), &bag, &wordTemplate, &size),
          for (int i = 0; i < N; i++) SEND("add", bag, nullptr, words + 12 * i), oops_ref set = 0;
          SEND("asvalueset", bag, &set); check = sizeOf(set); finalize(set); finalize(bag));
}

// ---- Text ----------------------------------------------------------------------------------------------------------

oops_ref text(const char *bytes, int32_t length) {
    oops_ref made = 0;
    SEND("withlengthvalue", classOf("chararry"), &made, &length, bytes);
    return made;
}

void strings() {
    std::vector<oops_ref> s;
    for (int i = 0; i < 1000; i++) s.push_back(text(records + 32 * i, 32));
    BENCH(
        "W16c", column, N, , for (int p = 0; p < 1000; p++) for (int i = 0; i < 1000; i++) {
            oops_ref joined = 0;
            SEND("concat", s[i], &joined, &s[999 - i]);
            check += sizeOf(joined);
            finalize(joined);
        }, );
    const char *hay = load("hay");
    const oops_ref whole = text(hay, NHAY);
    oops_ref needle = text("ethereal", 8);
    const int32_t start = 1;
    BENCH(
        "W16f", column, 1000, , for (int i = 0; i < 1000; i++) {
            int32_t found = 0;
            SEND("indexofsubcollection", whole, &found, &needle, &start);
            check = found - 1;
        }, );
    BENCH(
        "W16u", column, 1000, , for (int i = 0; i < 1000; i++) {
            oops_ref upper = 0;
            SEND("asuppercase", whole, &upper);
            char first[1];
            const int32_t one = 1;
            SEND("at", upper, first, &one);
            check = first[0];
            finalize(upper);
        }, );
    const oops_ref a = text(hay, 1024);
    oops_ref b = text(hay, 1024);
    BENCH(
        "W16e", column, N, , for (int i = 0; i < N; i++) {
            unsigned char same;
            SEND("equal", a, &same, &b);
            check += same;
        }, );
    BENCH(
        "W16h", column, N, , for (int p = 0; p < 1000; p++) for (int i = 0; i < 1000; i++) {
            uint32_t hash;
            SEND("hash", s[i], &hash);
            KEEP(hash);
        }, );
}

void splits() {
    const std::string content = load("text");
    const oops_ref whole = text(content.data(), static_cast<int32_t>(content.size()));
    oops_ref pieces = 0;
    SEND("asseparatelines", whole, &pieces);
    const int64_t lines = sizeOf(pieces);
    SEND("deepfinalize", pieces, &pieces);
    SEND("asarrayofsubstrings", whole, &pieces);
    const int64_t words = sizeOf(pieces);
    SEND("deepfinalize", pieces, &pieces);
    BENCH("W17l", column, lines, oops_ref list = 0, SEND("asseparatelines", whole, &list);
          check = sizeOf(list), SEND("deepfinalize", list, &list));
    BENCH("W17w", column, words, oops_ref list = 0, SEND("asarrayofsubstrings", whole, &list);
          check = sizeOf(list), SEND("deepfinalize", list, &list));
}

} // namespace

int main(int argc, char **argv) {
    if (argc > 1) data_dir = argv[1];
    // As programs do before they show text; here it says that every byte is a character.
    SEND("readyforapplicationstart", classOf("base"), nullptr);
    classes = makeClasses(std::make_integer_sequence<int, NCLASS>());
    lifecycle();
    ints = reinterpret_cast<const int32_t *>(load("ints"));
    order = reinterpret_cast<const uint32_t *>(load("order"));
    records = load("records");
    sends();
    lists();
    sorts();
    dictionaries();
    objectSets();
    bags();
    strings();
    splits();
}
