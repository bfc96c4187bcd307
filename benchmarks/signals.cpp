// Signals between components, and the same through the signals of GLib's object system where that is installed.
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "oocobol/oocobol.h"

#ifdef OOCOBOL_GOBJECT_PEER
extern "C" void *gobject_peer_make(void);
extern "C" int64_t gobject_peer_emits(void *object, int count);
#endif

namespace {

constexpr int batch = 1000;

template <class... Arguments> void tell(oops_site &site, oops_ref receiver, Arguments *...arguments) {
    void *list[] = {const_cast<void *>(static_cast<const void *>(arguments))...};
    oopsresolvelist(receiver, &site, list, static_cast<int32_t>(sizeof...(arguments)));
}
char nothing; // stands for a returning item that is not wanted

struct Data {
    int32_t k;
};
void note(const oops_ref *, Data *data, int32_t *returning, const int32_t *x) {
    data->k += *x;
    *returning = *x + 1;
}

oops_ref listenerClass() {
    static const oops_ref made = [] {
        oops_ref base = 0, found = 0;
        oopsgetclassobject(&base, "base");
        std::vector<unsigned char> record(512);
        oopsrecord(record.data(), "bmlisten", "benchmarklistener", base, 0, sizeof(Data));
        oopsrecordmethod(record.data(), record.size(), "note", reinterpret_cast<oops_method>(note), 2, 0);
        oopsnewclass2(record.data(), &found);
        return found;
    }();
    return made;
}

oops_ref newComponent() {
    static oops_site makeComponent = OOPS_SITE("makecomponent"), defineSocket = OOPS_SITE("defineinsocket"),
                     defineSignal = OOPS_SITE("defineinsignal"), defineOutput = OOPS_SITE("defineoutsignal");
    const auto made = oopsnewinstance(listenerClass());
    tell(makeComponent, made, &nothing);
    tell(defineOutput, made, &nothing, "PRICECHANGED ");
    tell(defineSocket, made, &nothing, "PRICES ");
    tell(defineSignal, made, &nothing, "PRICECHANGED ", "PRICES ", "note ");
    return made;
}

struct World {
    oops_ref source;
    std::vector<oops_ref> receivers;
};
World newWorld(int receivers) {
    static oops_site connect = OOPS_SITE("connectto");
    World world{newComponent(), {}};
    for (int i = 0; i < receivers; ++i) {
        world.receivers.push_back(newComponent());
        tell(connect, world.source, &nothing, &world.receivers.back(), "PRICES ");
    }
    return world;
}
void endWorld(const World &world) {
    static oops_site end = OOPS_SITE("finalize");
    auto none = world.source;
    for (const auto receiver : world.receivers) tell(end, receiver, &none);
    tell(end, world.source, &none);
}

// The method itself, at a site that knows it.
void sendNote(benchmark::State &state, int receivers) {
    static oops_site site = OOPS_SITE("note");
    const auto world = newWorld(receivers);
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            int32_t x = i, r;
            void *arguments[] = {&r, &x};
            oopsresolvelist(world.receivers[static_cast<std::size_t>(i % receivers)], &site, arguments, 2);
            benchmark::DoNotOptimize(r);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
    endWorld(world);
}
void sendToOne(benchmark::State &state) { sendNote(state, 1); }
BENCHMARK(sendToOne)->Name("signal/plain_send");
void sendToThousand(benchmark::State &state) { sendNote(state, 1000); }
BENCHMARK(sendToThousand)->Name("signal/plain_sends_1000");

void emitSignal(benchmark::State &state, int receivers) {
    static oops_site site = OOPS_SITE("signal");
    const auto world = newWorld(receivers);
    const auto rounds = batch / receivers;
    for (auto _ : state) {
        for (int i = 0; i < rounds; ++i) {
            int32_t x = i, r;
            tell(site, world.source, &r, "PRICECHANGED ", &x, static_cast<char *>(nullptr),
                 static_cast<char *>(nullptr), static_cast<char *>(nullptr), static_cast<char *>(nullptr),
                 static_cast<char *>(nullptr), static_cast<char *>(nullptr), static_cast<char *>(nullptr),
                 static_cast<char *>(nullptr), static_cast<char *>(nullptr));
            benchmark::DoNotOptimize(r);
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
    endWorld(world);
}
void signalOne(benchmark::State &state) { emitSignal(state, 1); }
BENCHMARK(signalOne)->Name("signal/one_receiver");
void signalThousand(benchmark::State &state) { emitSignal(state, 1000); }
BENCHMARK(signalThousand)->Name("signal/1000_receivers");

#ifdef OOCOBOL_GOBJECT_PEER
void gobjectEmit(benchmark::State &state) {
    void *object = gobject_peer_make();
    for (auto _ : state) benchmark::DoNotOptimize(gobject_peer_emits(object, batch));
    state.SetItemsProcessed(state.iterations() * batch);
}
BENCHMARK(gobjectEmit)->Name("gobject/emit_by_number");
#endif

} // namespace
