// How long the library keeps the host's main context from running. A 1 ms
// periodic timer on that context (a timerfd, so the beat itself is kept to
// the microsecond by the kernel) notes how late each tick is served while a
// facade on the real GLib and libsoup services works against the local
// HTTPS service. "net" takes off the time the thread sat runnable waiting
// for a CPU, by the scheduler's own count: on a loaded machine that wait is
// not the library's doing. "cpu" counts only what the thread ran meanwhile,
// so it misses blocking calls but no machine noise reaches it.
//
// Run with --benchmark_filter=Stall, so that FirstUse is the process's
// first TLS client.

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <glib-unix.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <thread>

#include "BenchRooms.h"
#include "LocalService.h"

namespace lxhf::bench {
namespace {

using Clock = std::chrono::steady_clock;
constexpr gint64 kTickMicros = 1000;
constexpr std::size_t kBigAnswerBytes = 5'000'000;
constexpr int kBigAnswerRooms = 10;

// Nanoseconds this thread has spent runnable, waiting for a CPU.
class RunQueueWait {
public:
    RunQueueWait() : fd_(open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC)) {}
    ~RunQueueWait() {
        if (fd_ >= 0) close(fd_);
    }
    RunQueueWait(const RunQueueWait&) = delete;
    RunQueueWait& operator=(const RunQueueWait&) = delete;

    gint64 nanoseconds() const {
        char text[128];
        const ssize_t n = fd_ < 0 ? -1 : pread(fd_, text, sizeof text - 1, 0);
        if (n <= 0) return 0;
        text[n] = '\0';
        unsigned long long running = 0, waiting = 0;
        return std::sscanf(text, "%llu %llu", &running, &waiting) == 2 ? gint64(waiting) : 0;
    }

private:
    int fd_;
};

// How late each beat of a 1 ms timer on the default main context is served,
// in milliseconds, over every run between start() and stop().
class TickRecorder {
public:
    TickRecorder() : fd_(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {
        if (fd_ < 0) benchFailure("no timerfd");
    }
    ~TickRecorder() {
        stop();
        close(fd_);
    }
    TickRecorder(const TickRecorder&) = delete;
    TickRecorder& operator=(const TickRecorder&) = delete;

    void start() {
        const timespec period{0, kTickMicros * 1000};
        const itimerspec beat{period, period};
        nextDue_ = g_get_monotonic_time() + kTickMicros;
        timerfd_settime(fd_, 0, &beat, nullptr);
        lastWait_ = wait_.nanoseconds();
        lastCpu_ = threadCpuMs();
        source_ = g_unix_fd_source_new(fd_, G_IO_IN);
        g_source_set_callback(source_, G_SOURCE_FUNC(onTick), this, nullptr);
        g_source_attach(source_, nullptr);
    }

    void stop() {
        if (source_ == nullptr) return;
        g_source_destroy(source_);
        g_source_unref(source_);
        source_ = nullptr;
        const itimerspec off{};
        timerfd_settime(fd_, 0, &off, nullptr);
    }

    std::vector<double> late, net, cpu;

private:
    static double threadCpuMs() {
        timespec t{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
    }

    static gboolean onTick(gint, GIOCondition, gpointer self) {
        static_cast<TickRecorder*>(self)->tick();
        return G_SOURCE_CONTINUE;
    }

    void tick() {
        std::uint64_t beats = 0;
        if (read(fd_, &beats, sizeof beats) != sizeof beats || beats == 0) return;
        const gint64 now = g_get_monotonic_time();
        const gint64 waited = wait_.nanoseconds();
        const double ran = threadCpuMs();
        // The first beat this dispatch serves fell due at nextDue_.
        const double lateMs = double(std::max<gint64>(0, now - nextDue_)) / 1e3;
        late.push_back(lateMs);
        net.push_back(std::max(0.0, lateMs - double(waited - lastWait_) / 1e6));
        cpu.push_back(std::min(lateMs, ran - lastCpu_));
        nextDue_ += gint64(beats) * kTickMicros;
        lastWait_ = waited;
        lastCpu_ = ran;
    }

    int fd_;
    GSource* source_ = nullptr;
    gint64 nextDue_ = 0;
    RunQueueWait wait_;
    gint64 lastWait_ = 0;
    double lastCpu_ = 0;
};

double percentile(std::vector<double> values, double fraction) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const auto rank = static_cast<std::size_t>(std::ceil(fraction * double(values.size())));
    return values[std::clamp<std::size_t>(rank, 1, values.size()) - 1];
}

// A cache folder on a disk where every touch takes 50 ms.
class SlowCacheDirectory final : public CacheDirectory {
public:
    SlowCacheDirectory(std::shared_ptr<CacheDirectory> inner, std::atomic<int>& touchesOnMain)
        : inner_(std::move(inner)), touchesOnMain_(touchesOnMain), mainThread_(std::this_thread::get_id()) {}
    std::optional<std::filesystem::path> path() const override {
        if (std::this_thread::get_id() == mainThread_) ++touchesOnMain_;
        g_usleep(50'000);
        return inner_->path();
    }

private:
    std::shared_ptr<CacheDirectory> inner_;
    std::atomic<int>& touchesOnMain_;
    std::thread::id mainThread_;
};

// How a host's facade differs from the plain one: a slow cache folder, no
// CA file, as in production, so that the service's certificate is refused,
// or ten offer batches in flight at once.
enum class Setup { plain, slowCache, systemTrust, concurrent };

// A facade as a host makes one, from systemParts() pointed at the local
// service. Offer requests are counted as sent, answers once the library has
// had them.
class Host {
public:
    explicit Host(Setup setup) {
        auto& svc = localService();
        FacadeParts parts = systemParts();
        parts.makeHttp = [this, make = parts.makeHttp](const EndpointOverrides& o) -> std::shared_ptr<HttpClient> {
            return std::make_shared<Observed>(make(o), *this);
        };
        if (setup == Setup::slowCache) {
            parts.makeCache = [this, make = parts.makeCache](const EndpointOverrides& o) {
                return std::make_shared<SlowCacheDirectory>(make(o), cacheTouchesOnMain);
            };
        }
        sdk = FacadeAccess::make(std::move(parts));
        const auto caFile = setup == Setup::systemTrust ? std::nullopt : std::optional(svc.caFile());
        sdk->setEndpoints(LXEndpoints{svc.apiBase(), svc.micrositeBase(), svc.intakeUrl(), caFile,
                                                           cache.path().string()});
        if (setup == Setup::concurrent) {
            LXFetchPolicy policy;
            policy.maxConcurrentBatches = 10;
            sdk->setFetchPolicy(policy);
        }
        sdk->configure("bench-token", LXEnvironmentType::staging);
        subscription = sdk->subscribeFermoOffers([this](const LXHotelsFermoSDK::Offers& offers) {
            shown = offers.size();
            available = std::size_t(std::count_if(offers.begin(), offers.end(), [](const LXFermoOffer& o) {
                return o.state.kind() == LXFermoOfferState::Kind::available;
            }));
        });
    }

    bool allAvailable(std::size_t rooms) const { return shown == rooms && available == rooms; }

    std::atomic<int> cacheTouchesOnMain{0};
    int offerRequests = 0;
    int offerAnswers = 0;
    int transportFailures = 0;
    std::function<void(std::size_t bodyBytes)> afterOfferAnswer;
    test::TempDir cache;
    std::unique_ptr<LXHotelsFermoSDK> sdk;
    LXSubscription subscription;

private:
    class Observed final : public HttpClient {
    public:
        Observed(std::shared_ptr<HttpClient> inner, Host& host) : inner_(std::move(inner)), host_(host) {}
        void send(HttpRequest request, std::function<void(HttpResult)> done) override {
            const bool offers = request.url.ends_with("fermo_offers");
            if (offers) ++host_.offerRequests;
            inner_->send(std::move(request), [this, offers, done = std::move(done)](HttpResult result) {
                const std::size_t bytes = result ? result.value().body.size() : 0;
                if (!result) ++host_.transportFailures;
                done(std::move(result));
                if (!offers) return;
                ++host_.offerAnswers;
                if (host_.afterOfferAnswer) host_.afterOfferAnswer(bytes);
            });
        }

    private:
        std::shared_ptr<HttpClient> inner_;
        Host& host_;
    };

    std::size_t shown = 0, available = 0;
};

// Runs `script` on a fresh host per iteration with the timer ticking, from
// before the facade is made until the script ends; the service's `faults`
// are set before the timer starts (a 5 MB body takes milliseconds to copy)
// and the facade's destruction is timed on its own.
using Faults = std::function<void(testing::FermoTestService&)>;
template <class Script>
void measure(benchmark::State& state, Setup setup, Script script, const Faults& faults = {}) {
    auto& svc = localService();
    TickRecorder ticks;
    double destroyMs = 0;
    int cacheTouchesOnMain = 0;
    for (auto _ : state) {
        svc.clearFaults();
        svc.clear();
        if (faults) faults(svc);
        const auto start = Clock::now();
        ticks.start();
        auto host = std::make_unique<Host>(setup);
        script(*host);
        ticks.stop();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        cacheTouchesOnMain += host->cacheTouchesOnMain;
        const auto destroyStart = Clock::now();
        host.reset();
        destroyMs = std::max(destroyMs, std::chrono::duration<double, std::milli>(Clock::now() - destroyStart).count());
    }
    svc.clearFaults();
    state.counters["p999_ms"] = percentile(ticks.late, 0.999);
    state.counters["max_ms"] = percentile(ticks.late, 1.0);
    state.counters["p999_net_ms"] = percentile(ticks.net, 0.999);
    state.counters["max_net_ms"] = percentile(ticks.net, 1.0);
    state.counters["p999_cpu_ms"] = percentile(ticks.cpu, 0.999);
    state.counters["max_cpu_ms"] = percentile(ticks.cpu, 1.0);
    state.counters["ticks"] = double(ticks.late.size());
    state.counters["destroy_ms"] = destroyMs;
    if (setup == Setup::slowCache) state.counters["cache_on_main"] = cacheTouchesOnMain;
}

void fetchAll(Host& host, const std::vector<LXRoomDetails>& rooms) {
    host.sdk->cacheOffers(rooms);
    iterateUntil([&] { return host.allAvailable(rooms.size()); });
}

testing::Fault delay(double seconds) {
    testing::Fault fault;
    fault.delaySeconds = seconds;
    return fault;
}

// The first rooms' offers among thousands for rooms of other hotels.
const std::string& bigAnswer() {
    static const std::string text = [] {
        const json::Encoder encoder(json::KeyEncoding::convertToSnakeCase);
        const std::size_t each = encoder.encode(benchResponse(benchRoom(0))).size() + 1;
        std::vector<LXOfferResponse> answer;
        for (const auto& room : benchRooms(int(kBigAnswerBytes / each) + 1)) answer.push_back(benchResponse(room));
        return encoder.encode(answer);
    }();
    return text;
}

// The machine's own noise: the timer alone beside an idle facade.
void BM_Stall_Idle(benchmark::State& state) {
    measure(state, Setup::plain, [](Host&) { iterateFor(2.0); });
}

// Rooms are made before the timer starts: making them is the host's work.
void BM_Stall_FirstUse(benchmark::State& state) {
    const auto rooms = benchRooms(10);
    measure(state, Setup::plain, [&rooms](Host& host) { fetchAll(host, rooms); });
}

// The production path: no CA file, so each new connection reads the system
// store, and each is refused, so every fetch needs new ones: three hotels,
// three session attempts per fetch, and a refresh fetches again.
void BM_Stall_SystemTrust(benchmark::State& state) {
    const auto rooms = benchRooms(30);
    measure(state, Setup::systemTrust, [&rooms](Host& host) {
        host.sdk->cacheOffers(rooms);
        iterateUntil([&] { return host.transportFailures == 3; });
        host.sdk->refreshCachedOffers(LXRefresh::all);
        iterateUntil([&] { return host.transportFailures == 6; });
    });
}

void BM_Stall_Rooms1000(benchmark::State& state) {
    const auto rooms = benchRooms(1000);
    measure(state, Setup::plain, [&rooms](Host& host) { fetchAll(host, rooms); });
}

void BM_Stall_Rooms1000Concurrent10(benchmark::State& state) {
    const auto rooms = benchRooms(1000);
    measure(state, Setup::concurrent, [&rooms](Host& host) { fetchAll(host, rooms); });
}

void BM_Stall_SlowAnswers(benchmark::State& state) {
    const auto rooms = benchRooms(30);
    measure(
        state, Setup::plain, [&rooms](Host& host) { fetchAll(host, rooms); },
        [](testing::FermoTestService& svc) {
            svc.setFault("sessions", delay(1.0));
            svc.setFault("fermo_offers", delay(1.0));
        });
}

// Offer answers never come; a refresh and new rooms meanwhile send more
// requests, which need connections of their own.
void BM_Stall_HangingAnswers(benchmark::State& state) {
    const auto rooms = benchRooms(40);
    measure(
        state, Setup::plain,
        [&rooms](Host& host) {
            host.sdk->cacheOffers({rooms.begin(), rooms.begin() + 20});
            iterateFor(1.0);
            host.sdk->refreshCachedOffers(LXRefresh::all);
            host.sdk->cacheOffers({rooms.begin() + 20, rooms.end()});
            iterateFor(1.0);
        },
        [](testing::FermoTestService& svc) { svc.setFault("fermo_offers", delay(3600)); });
}

// A 5 MB answer; while it is decoded the user changes and offers refresh.
// Whether that refresh fetches again depends on which comes first, the
// decoding or the 0.2 s debounce: an answer handled after the refresh takes
// the refreshed batch out of the queue with its own. Either way the run
// ends once every room is available and every request answered.
void BM_Stall_BigAnswer(benchmark::State& state) {
    const auto rooms = benchRooms(kBigAnswerRooms);
    testing::Fault big;
    big.body = bigAnswer();
    big.count = 1;
    measure(
        state, Setup::plain,
        [&rooms](Host& host) {
            bool refreshed = false;
            host.afterOfferAnswer = [&host, &refreshed](std::size_t bytes) {
                if (bytes < kBigAnswerBytes) return;
                host.sdk->updateUser("traveller-2");
                host.sdk->refreshCachedOffers(LXRefresh::all);
                refreshed = true;
            };
            host.sdk->cacheOffers(rooms);
            iterateUntil([&] { return refreshed; });
            iterateFor(0.5);  // past the debounce
            iterateUntil([&] { return host.offerAnswers == host.offerRequests && host.allAvailable(kBigAnswerRooms); });
            iterateFor(0.3);  // the last answer's decoding and apply
        },
        [&big](testing::FermoTestService& svc) { svc.setFault("fermo_offers", big); });
}

// Every touch of the cache folder takes 50 ms; a user change saves the
// session file again.
void BM_Stall_SlowCache(benchmark::State& state) {
    const auto rooms = benchRooms(100);
    measure(state, Setup::slowCache, [&rooms](Host& host) {
        fetchAll(host, rooms);
        host.sdk->updateUser("traveller-2");
        iterateUntil([&] { return host.offerAnswers >= 20 && host.allAvailable(100); });
    });
}

BENCHMARK(BM_Stall_FirstUse)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Stall_Idle)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Stall_SystemTrust)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Stall_Rooms1000)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Stall_Rooms1000Concurrent10)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Stall_SlowAnswers)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Stall_HangingAnswers)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Stall_BigAnswer)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Stall_SlowCache)->UseManualTime()->Iterations(2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lxhf::bench
