// What the root classes do: errors raised to a handler and back, questions to classes about their methods, and the walk
// over all objects. Bars are in sends of the same run, but for the walk's, which is in milliseconds.
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "oocobol/oocobol.h"

namespace {

constexpr int batch = 100;

oops_ref classOf(const char *program) {
    oops_ref found = 0;
    oopsgetclassobject(&found, program);
    return found;
}
oops_ref refOf(oops_site &site, oops_ref receiver, void *a = nullptr, void *b = nullptr) {
    oops_ref answer = 0;
    oopsresolve(&site, receiver, 3, &answer, a, b);
    return answer;
}

// ---- Raising ------------------------------------------------------------------------------------------------------

void answerSeven(const oops_ref *, void *, int64_t *returning, const void *, const void *, const void *) {
    *returning = 7;
}
oops_ref handlerClass() {
    static const auto made = [] {
        std::vector<unsigned char> record(512);
        oopsrecord(record.data(), "rootshnd", "rootshandler", classOf("base"), 0, 0);
        oopsrecordmethod(record.data(), record.size(), "handle", reinterpret_cast<oops_method>(answerSeven), 4, 0);
        oops_ref result = 0;
        oopsnewclass2(record.data(), &result);
        return result;
    }();
    return made;
}
void raiseTo(benchmark::State &state, oops_ref object, oops_ref registeredFor) {
    static oops_site make = OOPS_SITE("new"), enter = OOPS_SITE("register"), leave = OOPS_SITE("cancel"),
                     raise = OOPS_SITE("raiseexception");
    auto receiver = oopsnewinstance(handlerClass());
    char method[] = "handle ";
    auto callback = refOf(make, classOf("callback"), &receiver, method);
    refOf(enter, classOf("exptnmgr"), &registeredFor, &callback);
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            uint32_t error = 12;
            int64_t answer = 0;
            oopsresolve(&raise, object, 2, &answer, &error);
            if (answer != 7) state.SkipWithError("the handler was not reached");
        }
    }
    refOf(leave, classOf("exptnmgr"), &registeredFor);
    state.SetItemsProcessed(state.iterations() * batch);
}
void raiseToOwnHandler(benchmark::State &state) {
    const auto object = oopsnewinstance(classOf("base"));
    raiseTo(state, object, object);
}
BENCHMARK(raiseToOwnHandler)->Name("root/raise_and_back");
void raiseToClassHandler(benchmark::State &state) {
    const auto object = oopsnewinstance(classOf("base"));
    raiseTo(state, object, classOf("base"));
}
BENCHMARK(raiseToClassHandler)->Name("root/raise_to_class_handler");

// ---- Questions ----------------------------------------------------------------------------------------------------

void ask(benchmark::State &state, oops_site &site, const char *program, const char *name, int classesOnChain) {
    static oops_site make = OOPS_SITE("withlengthvalue");
    auto length = static_cast<int32_t>(std::strlen(name));
    std::string bytes(name);
    auto text = refOf(make, classOf("chararry"), &length, bytes.data());
    const auto receiver = classOf(program);
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            unsigned char answer = 0;
            oopsresolve(&site, receiver, 2, &answer, &text);
            benchmark::DoNotOptimize(answer);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch * classesOnChain);
}
void askImplements(benchmark::State &state) {
    static oops_site site = OOPS_SITE("implements");
    ask(state, site, "ordrdcll", "AddFirst", 1);
}
BENCHMARK(askImplements)->Name("root/implements");
// A class, and six above it that have no such method either.
void askRespondsTo(benchmark::State &state) {
    static oops_site site = OOPS_SITE("respondsto");
    ask(state, site, "ordrdcll", "keysanddatado", 6);
}
BENCHMARK(askRespondsTo)->Name("root/respondsto_per_class");

// ---- The walk -------------------------------------------------------------------------------------------------------

constexpr int manyObjects = 1000000;

// Made once and ended at the end of each benchmark, so that the others run in a small table.
class Crowd {
public:
    Crowd() : members(manyObjects) {
        for (auto &member : members) member = oopsnewinstance(classOf("base"));
    }
    ~Crowd() {
        for (const auto member : members) oopscancel(member);
    }
    std::vector<oops_ref> members;
};

void walkAll(benchmark::State &state, const char *program) {
    static oops_site all = OOPS_SITE("allinstances"), end = OOPS_SITE("finalize");
    const Crowd crowd;
    for (auto _ : state) {
        const auto found = refOf(all, classOf(program));
        benchmark::DoNotOptimize(found);
        state.PauseTiming();
        refOf(end, found);
        state.ResumeTiming();
    }
}
void walkForNone(benchmark::State &state) { walkAll(state, "recurset"); }
BENCHMARK(walkForNone)->Name("root/allinstances_none_of_1M")->Unit(benchmark::kMillisecond)->Iterations(10);
void walkForAll(benchmark::State &state) { walkAll(state, "base"); }
BENCHMARK(walkForAll)->Name("root/allinstances_1M")->Unit(benchmark::kMillisecond)->Iterations(3);

// What the walk may cost besides: the same list, filled by the same messages.
void addAll(benchmark::State &state) {
    static oops_site make = OOPS_SITE("ofreferences"), add = OOPS_SITE("add"), end = OOPS_SITE("finalize");
    const Crowd crowd;
    for (auto _ : state) {
        int32_t capacity = manyObjects;
        const auto list = refOf(make, classOf("ordrdcll"), &capacity);
        for (auto member : crowd.members) oopsresolve(&add, list, 2, nullptr, &member);
        state.PauseTiming();
        refOf(end, list);
        state.ResumeTiming();
    }
}
BENCHMARK(addAll)->Name("root/add_1M")->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
