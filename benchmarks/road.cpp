// What programs do all day: sends of every kind, objects made and ended, and the typical road through a collection.
// Everything goes through the exported functions.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "oocobol/oocobol.h"

#ifdef OOCOBOL_OBJC_PEER
extern "C" void *objc_peer_make(void);
extern "C" int64_t objc_peer_sends(void *object, int count);
#endif

namespace {

struct Data {
    int32_t k, spare[3];
};
template <int number> void bump(const oops_ref *, Data *data, int32_t *returning, const int32_t *x) {
    *returning = *x + number + 1 + data->k;
}
oops_super_site superBump = OOPS_SUPER_SITE("rdleaf", "bump");
void leafBump(const oops_ref *self, void *data, int32_t *returning, const int32_t *x) {
    oopsresolvetosuper(&superBump, self, data, 2, returning, const_cast<int32_t *>(x));
}

oops_ref classOf(const char *program) {
    oops_ref found = 0;
    oopsgetclassobject(&found, program);
    return found;
}

template <class Code> oops_ref makeClass(const std::string &name, oops_ref superclass, Code code) {
    std::vector<unsigned char> record(512);
    oopsrecord(record.data(), name.c_str(), name.c_str(), superclass, 0,
               superclass == classOf("base") ? sizeof(Data) : 0);
    oopsrecordmethod(record.data(), record.size(), "bump", reinterpret_cast<oops_method>(code), 2, 0);
    oops_ref made = 0;
    oopsnewclass2(record.data(), &made);
    return made;
}
template <int... number> std::vector<oops_ref> makeObjects(std::integer_sequence<int, number...>) {
    return {oopsnewinstance(makeClass("rd" + std::to_string(number), classOf("base"), bump<number>))...};
}
const std::vector<oops_ref> &objects() {
    static const auto made = makeObjects(std::make_integer_sequence<int, 16>());
    return made;
}

// ---- Sends -------------------------------------------------------------------------------------------------------

constexpr int batch = 1000;

__attribute__((noinline)) int32_t directBump(const Data *data, const int32_t *x) {
    __asm__ volatile("");
    return *x + 1 + data->k;
}
void callDirect(benchmark::State &state) {
    Data data{};
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            int32_t x = i;
            benchmark::DoNotOptimize(directBump(&data, &x));
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(callDirect)->Name("call/direct");

struct Bumper {
    int32_t k = 0;
    virtual ~Bumper() = default;
    virtual int32_t bump(const int32_t *x) { return *x + 1 + k; }
};
void callVirtual(benchmark::State &state) {
    auto *object = new Bumper;
    benchmark::DoNotOptimize(object);
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            int32_t x = i;
            benchmark::DoNotOptimize(object);
            benchmark::DoNotOptimize(object->bump(&x));
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
    delete object;
}
BENCHMARK(callVirtual)->Name("call/virtual");

#ifdef OOCOBOL_OBJC_PEER
void objcSend(benchmark::State &state) {
    void *object = objc_peer_make();
    for (auto _ : state) benchmark::DoNotOptimize(objc_peer_sends(object, batch));
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(objcSend)->Name("objc/send");
#endif

void sendTo(benchmark::State &state, const std::vector<oops_ref> &receivers) {
    static oops_site site = OOPS_SITE("bump");
    site.cell = 0;
    int32_t sum = 0, number = 0;
    for (auto _ : state) {
        for (const auto receiver : receivers) {
            int32_t x = ++number & 1023, r;
            void *arguments[] = {&r, &x};
            oopsresolvelist(receiver, &site, arguments, 2);
            sum += r;
        }
    }
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(receivers.size()));
}
void sendOneClass(benchmark::State &state) { sendTo(state, std::vector<oops_ref>(batch, objects()[0])); }
BENCHMARK(sendOneClass)->Name("send/one_class");

// A method of the library's own: what most sends of a program are.
void sendLibrary(benchmark::State &state) {
    static oops_site site = OOPS_SITE("equal");
    const std::vector<oops_ref> receivers(batch, objects()[0]);
    for (auto _ : state) {
        for (auto receiver : receivers) {
            unsigned char same;
            void *arguments[] = {&same, &receiver};
            oopsresolvelist(receiver, &site, arguments, 2);
            benchmark::DoNotOptimize(same);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(sendLibrary)->Name("send/library_method");

void sendVariadic(benchmark::State &state) {
    static oops_site site = OOPS_SITE("bump");
    const auto receiver = objects()[0];
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            int32_t x = i & 1023, r;
            oopsresolve(&site, receiver, 2, &r, &x);
            benchmark::DoNotOptimize(r);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(sendVariadic)->Name("send/variadic");

std::vector<oops_ref> mixed(int classes, bool atRandom) {
    std::mt19937 random(1);
    std::vector<oops_ref> receivers;
    for (int i = 0; i < 65536; ++i)
        receivers.push_back(
            objects()[atRandom ? random() % static_cast<unsigned>(classes) : static_cast<unsigned>(i % classes)]);
    return receivers;
}
void sendFour(benchmark::State &state) { sendTo(state, mixed(4, false)); }
BENCHMARK(sendFour)->Name("send/four_classes");
void sendSixteen(benchmark::State &state) { sendTo(state, mixed(16, true)); }
BENCHMARK(sendSixteen)->Name("send/sixteen_classes");

void sendStatic(benchmark::State &state) {
    static oops_site site = OOPS_SITE("bump");
    const auto classObject = oopsgetclass(objects()[0]);
    Data data{};
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            int32_t x = i, r;
            void *arguments[] = {&r, &x};
            oopsresolvestaticlist(&site, classObject, &data, 2, arguments);
            benchmark::DoNotOptimize(r);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(sendStatic)->Name("send/static");

void sendSuper(benchmark::State &state) {
    static const auto leaf = oopsnewinstance(makeClass("rdleaf", oopsgetclass(objects()[0]), leafBump));
    static oops_site site = OOPS_SITE("bump");
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            int32_t x = i, r;
            void *arguments[] = {&r, &x};
            oopsresolvelist(leaf, &site, arguments, 2);
            benchmark::DoNotOptimize(r);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(sendSuper)->Name("send/super");

void sendByName(benchmark::State &state) {
    const auto receiver = objects()[0];
    uint64_t cache[2] = {0, 0};
    const char field[80] = "bump ";
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            int32_t x = i, r;
            cobinvoke2(receiver, field, &cache[1], &cache[0], 2, &r, &x);
            benchmark::DoNotOptimize(r);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(sendByName)->Name("send/by_name");

void sendCold(benchmark::State &state) {
    const auto receiver = objects()[0];
    for (auto _ : state) {
        int32_t x = 1, r;
        oops_site site = OOPS_SITE("bump");
        oopsresolve(&site, receiver, 2, &r, &x);
        benchmark::DoNotOptimize(r);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(sendCold)->Name("send/cold");

// ---- Objects -----------------------------------------------------------------------------------------------------

void createFinalize(benchmark::State &state) {
    const auto classObject = oopsgetclass(objects()[0]);
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) oopscancel(oopsnewinstance(classObject));
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(createFinalize)->Name("object/create_finalize");

void newFinalize(benchmark::State &state) {
    const auto classObject = oopsgetclass(objects()[0]);
    static oops_site make = OOPS_SITE("new"), end = OOPS_SITE("finalize");
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            oops_ref made = 0;
            void *arguments[] = {&made};
            oopsresolvelist(classObject, &make, arguments, 1);
            oopsresolvelist(made, &end, arguments, 1);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(newFinalize)->Name("object/new_finalize_messages");

// Zeroed, as an object's data is.
void mallocFree(benchmark::State &state) {
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            void *memory = std::malloc(sizeof(Data) + 16);
            std::memset(memory, 0, sizeof(Data) + 16);
            benchmark::DoNotOptimize(memory);
            std::free(memory);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(mallocFree)->Name("object/malloc_free");

// ---- Collections ---------------------------------------------------------------------------------------------------

template <class... Arguments> void tell(oops_site &site, oops_ref receiver, Arguments *...arguments) {
    void *list[] = {const_cast<void *>(static_cast<const void *>(arguments))...};
    oopsresolvelist(receiver, &site, list, static_cast<int32_t>(sizeof...(arguments)));
}
char nothing; // stands for a returning item that is not wanted
oops_site newList = OOPS_SITE("ofvalues"), add = OOPS_SITE("add"), at = OOPS_SITE("at"), end = OOPS_SITE("finalize"),
          walk = OOPS_SITE("do"), sorted = OOPS_SITE("asdefaultsortedcollection");

oops_ref listOf(oops_ref elementTemplate, int32_t capacity) {
    oops_ref made = 0;
    tell(newList, classOf("ordrdcll"), &made, &elementTemplate, &capacity);
    return made;
}
void finalize(oops_ref object) { tell(end, object, &object); }

constexpr int many = 100000;

void collectionAdd(benchmark::State &state) {
    const auto comp5 = classOf("comp5");
    for (auto _ : state) {
        const auto list = listOf(comp5, 0);
        for (int i = 0; i < many; ++i) tell(add, list, &nothing, &i);
        finalize(list);
    }
    state.SetItemsProcessed(state.iterations() * many);
}
BENCHMARK(collectionAdd)->Name("collection/add");

void collectionAt(benchmark::State &state) {
    const auto list = listOf(classOf("comp5"), many);
    for (int i = 0; i < many; ++i) tell(add, list, &nothing, &i);
    for (auto _ : state) {
        for (int32_t i = 1; i <= many; ++i) {
            int32_t element;
            tell(at, list, &element, &i);
            benchmark::DoNotOptimize(element);
        }
    }
    finalize(list);
    state.SetItemsProcessed(state.iterations() * many);
}
BENCHMARK(collectionAt)->Name("collection/at");

int64_t visit(void *element, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
              void *, void *, void *) {
    benchmark::DoNotOptimize(element);
    return 0;
}
void collectionDo(benchmark::State &state) {
    const auto list = listOf(classOf("comp5"), many);
    for (int i = 0; i < many; ++i) tell(add, list, &nothing, &i);
    host_register_entry("rdvisit", visit);
    oops_ref block = 0;
    static oops_site make = OOPS_SITE("new");
    tell(make, classOf("entrycll"), &block, "rdvisit");
    for (auto _ : state) tell(walk, list, &nothing, &block);
    finalize(block);
    finalize(list);
    state.SetItemsProcessed(state.iterations() * many);
}
BENCHMARK(collectionDo)->Name("collection/do");

// ---- Sorting -------------------------------------------------------------------------------------------------------

constexpr int records = 1000000, width = 10;

const std::string &randomRecords() {
    static const std::string made = [] {
        std::mt19937 random(3);
        std::string bytes(std::size_t{records} * width, ' ');
        for (auto &c : bytes) c = static_cast<char>('a' + random() % 26);
        return bytes;
    }();
    return made;
}

void sortValues(benchmark::State &state) {
    oops_ref elementTemplate = 0;
    const int32_t length = width;
    static oops_site newClass = OOPS_SITE("newclass");
    tell(newClass, classOf("picx"), &elementTemplate, &length);
    const auto list = listOf(elementTemplate, records);
    for (int i = 0; i < records; ++i) tell(add, list, &nothing, randomRecords().data() + i * width);
    for (auto _ : state) {
        oops_ref made = 0;
        tell(sorted, list, &made);
        finalize(made);
    }
    finalize(list);
    state.SetItemsProcessed(state.iterations() * records);
}
BENCHMARK(sortValues)->Name("sort/values")->Unit(benchmark::kMillisecond);

void sortStd(benchmark::State &state) {
    struct Record {
        char bytes[width];
        bool operator<(const Record &other) const { return std::memcmp(bytes, other.bytes, width) < 0; }
    };
    for (auto _ : state) {
        std::vector<Record> all(records);
        std::memcpy(all.data(), randomRecords().data(), randomRecords().size());
        std::sort(all.begin(), all.end());
        benchmark::DoNotOptimize(all.data());
    }
    state.SetItemsProcessed(state.iterations() * records);
}
BENCHMARK(sortStd)->Name("sort/std")->Unit(benchmark::kMillisecond);

} // namespace
