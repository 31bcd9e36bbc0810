// Settle time of 100 rooms in 10 hotels against the local HTTPS service when
// every "sessions" and "fermo_offers" answer comes 0.1 s late, as on a mobile
// or transatlantic round trip: batches one after another (the default)
// against up to ten at once. Wall time from cacheOffers to the last room
// available, debounce included.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

#include "BenchRooms.h"
#include "LocalService.h"
#include "ServiceProcess.h"
#include "platform/LibsoupHttpClient.h"

namespace lxhf::bench {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kRooms = 100;
constexpr double kAnswerDelay = 0.1;

struct Settled {
    double seconds = 0;
    int connections = 0;
};

Settled settle(const std::vector<LXRoomDetails>& rooms, std::uint32_t width) {
    auto& svc = ServiceProcess::shared();
    test::TempDir cache;
    LibsoupHttpClient* client = nullptr;
    auto sdk = configuredFacade(svc, cache.path().string(), client, width);
    SettleWatch watch;
    auto subscription = watchSettled(*sdk, rooms.size(), watch);
    const auto start = Clock::now();
    sdk->cacheOffers(rooms);
    iterateUntil([&] { return watch.settled; });
    Settled run{std::chrono::duration<double>(watch.end - start).count(), client ? client->connectionCount() : 0};
    subscription = {};
    sdk.reset();
    return run;
}

void BM_SettleWithSlowAnswers(benchmark::State& state) {
    const auto width = static_cast<std::uint32_t>(state.range(0));
    const auto rooms = benchRooms(kRooms);
    auto& svc = ServiceProcess::shared();
    const std::string slow = R"({"delay": )" + std::to_string(kAnswerDelay) + "}";
    svc.setFaults(R"({"sessions": )" + slow + R"(, "fermo_offers": )" + slow + "}");
    settle(rooms, width);  // the first TLS use in a process loads the trust store
    double sessions = 0, offers = 0, connections = 0, peak = 0;
    for (auto _ : state) {
        svc.clear();
        const Settled run = settle(rooms, width);
        state.SetIterationTime(run.seconds);
        sessions += svc.count("sessions");
        offers += svc.count("fermo_offers");
        connections += run.connections;
        for (const auto& r : svc.requests("fermo_offers")) peak = std::max(peak, double(r.concurrent));
    }
    svc.setFaults("{}");
    const double n = double(state.iterations());
    state.counters["session_calls"] = sessions / n;
    state.counters["offers_calls"] = offers / n;
    state.counters["connections"] = connections / n;
    state.counters["peak_in_flight"] = peak;
}

BENCHMARK(BM_SettleWithSlowAnswers)
    ->ArgName("maxConcurrentBatches")
    ->Arg(1)
    ->Arg(10)
    ->UseManualTime()
    ->Iterations(10)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lxhf::bench
