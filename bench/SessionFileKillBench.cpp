// A child process saves the session file over and over and is killed with
// SIGKILL at a random moment, again and again. Every time, the file must be
// absent or one whole session, and killed writes must not leave temporary
// files piling up. Counters: "torn" (must be 0), "whole" (rounds that found a
// whole file) and "leftovers" (temporary files at the end).

#include <benchmark/benchmark.h>

#include <glib.h>
#include <signal.h>
#include <sys/wait.h>

#include <filesystem>

#include "BenchRooms.h"
#include "infra/SessionStore.h"
#include "support/TempDir.h"

namespace lxhf::bench {
namespace {

bool wholeSessionIn(const std::filesystem::path& file) {
    auto store = readSessionStore(file, systemNow);
    if (!store) return false;
    const auto session = store.value()->value("session");
    return session && (session->sessionId == "S-short" || session->sessionId == "S-long");
}

void BM_SessionFileKilledWriter(benchmark::State& state) {
    test::TempDir dir;
    const auto file = dir / "sessionStore.cache";
    std::int64_t torn = 0, whole = 0;
    for (auto _ : state) {
        const char* argv[] = {LXHF_SESSION_WRITER, dir.path().c_str(), nullptr};
        GPid writer = 0;
        if (!g_spawn_async(nullptr, const_cast<char**>(argv), nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr,
                           &writer, nullptr))
            benchFailure("cannot start the session writer");
        g_usleep(g_random_int_range(1'000, 12'000));
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        if (!std::filesystem::exists(file)) continue;
        if (wholeSessionIn(file)) ++whole;
        else ++torn;
    }
    const auto entries = std::distance(std::filesystem::directory_iterator(dir.path()), {});
    state.counters["torn"] = double(torn);
    state.counters["whole"] = double(whole);
    state.counters["leftovers"] = double(entries - (std::filesystem::exists(file) ? 1 : 0));
}
BENCHMARK(BM_SessionFileKilledWriter)->Iterations(10'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lxhf::bench
