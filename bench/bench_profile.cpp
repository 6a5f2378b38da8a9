// Memory per event of a simulated controller's event log: a profile with N
// explicit events is loaded. bytes_per_event is what the log's own store holds
// per event (records, texts, intern table); resident_bytes_per_event is the
// growth of the resident set divided by N (freed parser memory the allocator
// keeps counts there too). Run with scripts/bench; the figures go to
// docs/PERFORMANCE.md.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <unistd.h>

#include "sim/ControllerState.h"
#include "sim/Simulator.h"

namespace {

long residentBytes() {
    long pages = 0, resident = 0;
    std::FILE* f = std::fopen("/proc/self/statm", "r");
    if (f == nullptr)
        return 0;
    if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2)
        resident = 0;
    std::fclose(f);
    return resident * ::sysconf(_SC_PAGESIZE);
}

std::string profileWithEvents(int n) {
    std::string p = R"({"base": "default", "events": [)";
    for (int i = 0; i < n; ++i) {
        p += i ? "," : "";
        p += R"({"code": 113, "class": 0, "locale": 1, "description": "Controller event )" +
             std::to_string(i) + R"(", "age": )" + std::to_string(n - i) + "}";
    }
    return p + "]}";
}

void ProfileEventsMemory(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const std::string path = "/tmp/kvictl-bench-profile-" + std::to_string(::getpid()) + ".json";
    {
        std::FILE* f = std::fopen(path.c_str(), "w");
        const std::string text = profileWithEvents(n);
        std::fwrite(text.data(), 1, text.size(), f);
        std::fclose(f);
    }
    double resident = 0, held = 0;
    for (auto _ : state) {
        kvi::sim::Simulator sim{kvi::sim::Clock(1700000000)};
        const long before = residentBytes();
        sim.load(path, 1);
        resident = static_cast<double>(residentBytes() - before) / n;
        const kvi::sim::EventLog& log = sim.controller(0).state().events;
        held = static_cast<double>(log.storedBytes()) / static_cast<double>(log.storedCount());
        benchmark::DoNotOptimize(sim.size());
    }
    state.counters["bytes_per_event"] = held;
    state.counters["resident_bytes_per_event"] = resident;
    std::remove(path.c_str());
}
BENCHMARK(ProfileEventsMemory)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

} // namespace
