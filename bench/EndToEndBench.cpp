// From cacheOffers of 100 rooms in 10 hotels to every room available, against
// the local HTTPS service in a child process, with the real GLib queue and the
// libsoup client. The reported time is the library's own share: the total
// less the 0.2 s debounce and less a bare replay of the same HTTP exchanges
// (one fresh client: the session call with its TLS handshake, then the ten
// offer calls in turn), which stands for the service's own time. The
// concurrent variant asks for ten batches at once, and its replay sends the
// ten offer calls at once too, after opening ten connections during a wait as
// long as the debounce, as the library does (the wait is not counted).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <vector>

#include "BenchRooms.h"
#include "LocalService.h"
#include "ServiceProcess.h"
#include "platform/CacheDirectory.h"
#include "platform/GLibMainQueue.h"
#include "platform/LibsoupHttpClient.h"

namespace lxhf::bench {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kRooms = 100;
constexpr double kDebounce = 0.2;

ServiceProcess& service() { return ServiceProcess::shared(); }

// CPU time of this thread, which runs the library, libsoup and its TLS.
double threadCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

struct LibraryRun {
    double seconds = 0;
    int tlsHandshakes = 0;
    double storeWriteSeconds = 0;
    double cpuSeconds = 0;
    double firstCallSeconds = 0;
};

struct Replay {
    double seconds = 0;
    double cpuSeconds = 0;
};

// What saving the session file costs on this disk: the library writes it in
// the background once the session answer is in, so none of it is counted.
double timeStoreWrite(const std::filesystem::path& dir) {
    const auto file = dir / "sessionStore.cache";
    auto saved = readWholeFile(file);
    const std::string text = saved ? saved.value() : std::string(300, 'x');
    const auto start = Clock::now();
    if (writeWholeFileAtomically(dir / "timing.cache", text)) benchFailure("could not write the store copy");
    return std::chrono::duration<double>(Clock::now() - start).count();
}

LibraryRun runLibrary(const std::vector<LXRoomDetails>& rooms, std::uint32_t width) {
    auto& svc = service();
    test::TempDir cache;
    LibsoupHttpClient* client = nullptr;
    auto sdk = configuredFacade(svc, cache.path().string(), client, width);
    SettleWatch watch;
    auto subscription = watchSettled(*sdk, rooms.size(), watch);
    const double cpuStart = threadCpuSeconds();
    const auto start = Clock::now();
    sdk->cacheOffers(rooms);
    const auto firstCallEnd = Clock::now();
    iterateUntil([&] { return watch.settled; });
    const double cpu = threadCpuSeconds() - cpuStart;
    LibraryRun run{std::chrono::duration<double>(watch.end - start).count(), client ? client->tlsHandshakeCount() : 0,
                   timeStoreWrite(cache.path()), cpu, std::chrono::duration<double>(firstCallEnd - start).count()};
    subscription = {};
    sdk.reset();
    return run;
}

// The same requests the library just made, by a fresh client of the same
// kind (made inside the timing, as the library makes its own on the first
// call): the session call first, then the offer calls `width` at a time.
Replay replayBare(const std::vector<testing::RecordedRequest>& recorded, std::uint32_t width) {
    auto& svc = service();
    const double cpuStart = threadCpuSeconds();
    const auto start = Clock::now();
    LibsoupHttpClient client{std::filesystem::path(svc.caFile())};
    client.allowConcurrentRequests(width);
    double waited = 0;
    if (width > 1 && recorded.size() > 1) {
        client.preconnect(svc.baseUrl() + recorded[1].path, width);
        const auto waitStart = Clock::now();
        iterateFor(kDebounce);
        waited = std::chrono::duration<double>(Clock::now() - waitStart).count();
    }
    std::size_t next = 0, answered = 0;
    const auto sendNext = [&] {
        const auto& r = recorded[next++];
        HttpRequest request;
        request.method = r.method;
        request.url = svc.baseUrl() + r.path;
        request.body = r.body;
        for (const char* name : {"Authorization", "LX-Session-ID"})
            if (auto value = r.header(name)) request.headers.emplace_back(name, *value);
        client.send(std::move(request), [&](HttpResult result) {
            if (!result || result.value().status >= 300) benchFailure("the bare replay was refused");
            ++answered;
        });
    };
    if (!recorded.empty()) sendNext();  // the session
    iterateUntil([&] { return answered == next; });
    while (next < recorded.size()) {
        for (std::uint32_t i = 0; i < width && next < recorded.size(); ++i) sendNext();
        iterateUntil([&] { return answered == next; });
    }
    return {std::chrono::duration<double>(Clock::now() - start).count() - waited, threadCpuSeconds() - cpuStart};
}

void BM_EndToEnd100Rooms(benchmark::State& state) {
    const auto width = std::uint32_t(state.range(0));
    const auto rooms = benchRooms(kRooms);
    // The first TLS use in a process loads the system trust store (GLib's
    // default TLS database), once, whoever asks; that is not the library's
    // cost per fetch, so one untimed round goes first.
    const LibraryRun warmUp = runLibrary(rooms, width);
    service().clear();
    double total = 0, bare = 0, sessions = 0, offers = 0, intake = 0, handshakes = 0, storeWrite = 0, cpu = 0,
           bareCpu = 0, firstCall = 0;
    std::vector<double> overheads;
    for (auto _ : state) {
        auto& svc = service();
        svc.clear();
        const LibraryRun run = runLibrary(rooms, width);
        std::vector<testing::RecordedRequest> exchanges = svc.requests("sessions");
        for (auto& r : svc.requests("fermo_offers")) exchanges.push_back(std::move(r));
        sessions += svc.count("sessions");
        offers += svc.count("fermo_offers");
        intake += svc.count("/api/v2/logs");
        handshakes += run.tlsHandshakes;
        storeWrite += run.storeWriteSeconds;
        firstCall += run.firstCallSeconds;
        const Replay replay = replayBare(exchanges, width);
        total += run.seconds;
        bare += replay.seconds;
        cpu += run.cpuSeconds;
        bareCpu += replay.cpuSeconds;
        // Noise can push a single run below zero; the mean stays honest.
        overheads.push_back(run.seconds - kDebounce - replay.seconds);
        state.SetIterationTime(std::max(1e-9, overheads.back()));
    }
    using benchmark::Counter;
    const double n = double(state.iterations());
    state.counters["total_ms"] = 1e3 * total / n;
    state.counters["bare_http_ms"] = 1e3 * bare / n;
    state.counters["overhead_ms"] = 1e3 * (total - n * kDebounce - bare) / n;
    // Two vCPUs shared with the service make single runs noisy; the median resists that.
    std::nth_element(overheads.begin(), overheads.begin() + overheads.size() / 2, overheads.end());
    state.counters["overhead_median_ms"] = 1e3 * overheads[overheads.size() / 2];
    state.counters["overhead_cpu_ms"] = 1e3 * (cpu - bareCpu) / n;
    state.counters["warm_up_ms"] = 1e3 * warmUp.seconds;
    state.counters["first_call_ms"] = 1e3 * firstCall / n;
    state.counters["intake_calls"] = intake / n;
    state.counters["store_write_ms"] = 1e3 * storeWrite / n;
    state.counters["session_calls"] = sessions / n;
    state.counters["offers_calls"] = offers / n;
    state.counters["tls_handshakes"] = handshakes / n;
}

// The argument is maxConcurrentBatches: 1 is the plain behaviour. Thirty
// iterations, as single ones with ten at once differ by up to tens of
// milliseconds (a request may wait on the network thread behind the last new
// connections' reads of the system trust store), and the median needs them.
BENCHMARK(BM_EndToEnd100Rooms)->Arg(1)->Arg(10)->UseManualTime()->Iterations(30)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lxhf::bench
