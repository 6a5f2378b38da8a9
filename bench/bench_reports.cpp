// In-process cost of the report sections of one controller.
//
// The controller answers "instantly": every answer the simulator gave on a
// first pass is kept in memory (MemoBackend) and handed back with one lookup
// and one copy, so the figures are the adapter's and the document model's own
// cost. The same runs against the live simulator show what its bookkeeping
// adds.
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <benchmark/benchmark.h>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/ReportSections.h"
#include "provider/Provider.h"
#include "sim/Simulator.h"
#include "json/JsonWriter.h"
#include "json/TextWriter.h"
#include "json/elements.h"

namespace {

// Remembers every answer of an inner backend by request and answers repeats
// from memory.
class MemoBackend : public kvi::Backend {
public:
    explicit MemoBackend(kvi::Backend& inner) : inner_(inner) {}

    int submit(kvi::DirectCommand& cmd) override {
        ++requests_;
        Key key{static_cast<int>(cmd.kind), cmd.opcode,
                std::string(reinterpret_cast<const char*>(cmd.mbox), sizeof cmd.mbox), cmd.length,
                static_cast<int>(cmd.direction)};
        auto it = answers_.find(key);
        if (it == answers_.end()) {
            Answer a;
            a.status = inner_.submit(cmd);
            if (cmd.data != nullptr) {
                a.data.assign(cmd.data, cmd.data + cmd.length);
            }
            std::memcpy(a.mbox, cmd.mbox, sizeof a.mbox);
            it = answers_.emplace(std::move(key), std::move(a)).first;
            return it->second.status;
        }
        const Answer& a = it->second;
        if (cmd.data != nullptr &&
            (cmd.direction == kvi::Direction::Read || cmd.direction == kvi::Direction::Both)) {
            std::memcpy(cmd.data, a.data.data(), a.data.size());
        }
        std::memcpy(cmd.mbox, a.mbox, sizeof a.mbox);
        return a.status;
    }
    int pciLocation(kvi::PciLocation& out) override { return inner_.pciLocation(out); }
    std::string driverName() override { return inner_.driverName(); }
    std::string driverVersion() override { return inner_.driverVersion(); }

    std::uint64_t requests() const { return requests_; }

private:
    using Key = std::tuple<int, std::uint32_t, std::string, std::uint32_t, int>;
    struct Answer {
        int status = 0;
        std::vector<std::uint8_t> data;
        std::uint8_t mbox[12] = {};
    };
    kvi::Backend& inner_;
    std::map<Key, Answer> answers_;
    std::uint64_t requests_ = 0;
};

// `show all`: every section but the summary (the first), in the order it
// prints them.
constexpr int kFirstShowAll = 1;
constexpr int kSections = static_cast<int>(kReportSectionCount);

// One simulated controller of the default profile at a fixed clock.
struct Rig {
    kvi::sim::Simulator sim{kvi::sim::Clock(1700000000)};
    std::unique_ptr<MemoBackend> memo;
    Rig() {
        sim.load("default", 1);
        kvi::setProcessInputs(sim.processInputs());
        memo = std::make_unique<MemoBackend>(sim.controller(0));
        System::getInstance()->setBackend(memo.get());
    }
};

Rig& rig() {
    static Rig r;
    return r;
}

// Builds the given sections with a fresh adapter (its caches empty, as in
// one kvictl run); optionally renders each as text and JSON.
std::size_t buildSections(kvi::Backend& backend, int first, int last, bool render) {
    BackendController controller(backend, ControllerId(0));
    AdapterDataKvi adapter(&controller, controller.getControllerId());
    std::size_t bytes = 0;
    for (int i = first; i < last; ++i) {
        json::Object section;
        benchmark::DoNotOptimize((adapter.*kReportSections[i].build)(section));
        if (render) {
            bytes += json::TextWriter::ToString(section, kReportSections[i].title).size();
            bytes += json::JsonWriter::ToString(section).size();
        }
        benchmark::DoNotOptimize(section);
    }
    return bytes;
}

void setRequests(benchmark::State& state, std::uint64_t before, std::uint64_t after) {
    state.counters["requests"] =
        benchmark::Counter(static_cast<double>(after - before), benchmark::Counter::kAvgIterations);
}

// Every section of `show all` against the instant controller; with argument
// 1 also rendered as text and as JSON.
void BM_ShowAllSections(benchmark::State& state) {
    const bool rendered = state.range(0) != 0;
    MemoBackend& memo = *rig().memo;
    buildSections(memo, kFirstShowAll, kSections, rendered); // fill the memory
    const std::uint64_t before = memo.requests();
    std::size_t bytes = 0;
    for (auto _ : state) {
        bytes += buildSections(memo, kFirstShowAll, kSections, rendered);
    }
    setRequests(state, before, memo.requests());
    if (rendered)
        state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_ShowAllSections)->ArgName("rendered")->Arg(0)->Arg(1);

// The same against the live simulator (its request handling included).
void BM_ShowAllSectionsSimulator(benchmark::State& state) {
    kvi::sim::SimController& sim = rig().sim.controller(0);
    const std::uint64_t before = sim.totalRequests();
    for (auto _ : state) {
        buildSections(sim, kFirstShowAll, kSections, false);
    }
    setRequests(state, before, sim.totalRequests());
}
BENCHMARK(BM_ShowAllSectionsSimulator);

// Each section alone, with a fresh adapter (so each pays its own loads).
void BM_Section(benchmark::State& state) {
    const int i = static_cast<int>(state.range(0));
    MemoBackend& memo = *rig().memo;
    buildSections(memo, i, i + 1, false);
    const std::uint64_t before = memo.requests();
    for (auto _ : state) {
        buildSections(memo, i, i + 1, false);
    }
    setRequests(state, before, memo.requests());
    state.SetLabel(kReportSections[i].title);
}
BENCHMARK(BM_Section)->DenseRange(kFirstShowAll, kSections - 1);

} // namespace

BENCHMARK_MAIN();
