// The purchase window opened and closed many times over one host window, each
// cycle loading the local service's page: what stays alive, and how much the
// process's resident memory grows once warmed up. Needs a display (Xvfb).

#include <benchmark/benchmark.h>
#include <gtk/gtk.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "LXHotelsFermo/ui/LXPurchaseWindow.h"
#include "LocalService.h"
#include "core/Facade.h"
#include "presentation/ui/PurchaseWindow.h"

namespace lxhf::bench {
namespace {

constexpr int kWarmUpCycles = 20;
constexpr int kCycles = 1000;
constexpr double kPatience = 30.0;  // the first web process start is slow under Xvfb

double residentMB() {
    long pages = 0, resident = 0;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(statm);
    }
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

// What malloc has handed out and not had back, in all arenas: growth here is
// memory still referenced, where RSS also counts the allocator's free pages.
double heapInUseMB() { return double(mallinfo2().uordblks) / (1024.0 * 1024.0); }

// Processes this one started that still run: the network process and one
// sandbox launcher per web process. A web process kept past its view shows
// here and not in this process's memory.
int childProcesses() {
    int count = 0;
    GDir* proc = g_dir_open("/proc", 0, nullptr);
    while (const char* name = proc ? g_dir_read_name(proc) : nullptr) {
        char* stat = nullptr;
        if (!g_ascii_isdigit(name[0]) ||
            !g_file_get_contents(("/proc/" + std::string(name) + "/stat").c_str(), &stat, nullptr, nullptr))
            continue;
        // "pid (command) state ppid ...": the command may hold spaces and parentheses.
        const char* afterCommand = std::strrchr(stat, ')');
        char processState = 0;
        int parent = 0;
        if (afterCommand && std::sscanf(afterCommand + 1, " %c %d", &processState, &parent) == 2 &&
            parent == getpid() && processState != 'Z')
            ++count;
        g_free(stat);
    }
    if (proc) g_dir_close(proc);
    return count;
}

// Objects a page made and that are not finalized yet, by kind.
struct Live {
    int windows = 0, pages = 0, views = 0, managers = 0;
    int total() const { return windows + pages + views + managers; }
};
Live live;

void track(gpointer object, int* count) {
    ++*count;
    g_object_weak_ref(G_OBJECT(object), [](gpointer n, GObject*) { --*static_cast<int*>(n); }, count);
}

// Iterates the default context until `done` or the time is up; whether `done` held.
template <class Done>
bool iterateUntilOr(Done done, double seconds) {
    const gint64 deadline = g_get_monotonic_time() + gint64(seconds * 1e6);
    const guint tick = g_timeout_add(10, [](gpointer) { return gboolean(G_SOURCE_CONTINUE); }, nullptr);
    while (!done() && g_get_monotonic_time() < deadline) g_main_context_iteration(nullptr, TRUE);
    g_source_remove(tick);
    return done();
}

// One open and close, the way `cycle` picks: the host closes the ready page,
// the page asks to close, the page reports an error, the host closes it
// before it has loaded, or it is dismissed as a leaving button does.
void openAndClose(GtkWindow* host, int cycle) {
    enum { hostCloses, pageCloses, pageError, closedWhileLoading, dismissed };
    const int way = cycle % 5;
    const char* script = way == pageCloses ? "close" : way == pageError ? "error" : "ready";
    bool closed = false;
    GtkWindow* window = LXPurchaseWindow::present(
        host, localService().micrositeBase() + "?lxtest=" + script, [](const LXFermoPurchaseResult&) {},
        [&closed] { closed = true; });
    auto* page = ui::WebViewController::from(gtk_window_get_child(window));
    if (!page) benchFailure("the purchase window shows no page");
    track(window, &live.windows);
    track(page->widget(), &live.pages);
    track(page->webView(), &live.views);
    track(page->contentManager(), &live.managers);
    if (way == hostCloses || way == dismissed) {
        if (!iterateUntilOr([&] { return closed || !page->spinnerSpinning(); }, kPatience) || closed)
            benchFailure("the page did not get ready");
        if (way == hostCloses) gtk_window_close(window);
        else ui::dismissPurchaseWindow(window);
    } else if (way == closedWhileLoading) {
        gtk_window_close(window);
    }
    if (!iterateUntilOr([&] { return closed; }, kPatience)) benchFailure("the purchase window did not close");
    localService().clear();  // its record of the page's requests would otherwise count as growth
}

void BM_PurchaseWindowCycles(benchmark::State& state) {
    if (!gtk_init_check()) {
        state.SkipWithError("no display: run under xvfb-run");
        return;
    }
    EndpointOverrides overrides;
    overrides.caFile = localService().caFile();
    LXHotelsFermoSDK::shared().setEndpoints(overrides);
    GtkWindow* host = GTK_WINDOW(gtk_window_new());
    gtk_window_present(host);

    double start = 0, warm = 0, half = 0, end = 0, heapWarm = 0, heapEnd = 0;
    int childrenWarm = 0, childrenEnd = 0;
    for (auto _ : state) {
        start = residentMB();
        for (int i = 0; i < kWarmUpCycles; ++i) openAndClose(host, i);
        iterateUntilOr([] { return live.total() == 0; }, 5.0);
        warm = residentMB();
        heapWarm = heapInUseMB();
        childrenWarm = childProcesses();
        for (int i = 0; i < kCycles; ++i) {
            openAndClose(host, i);
            if (i + 1 == kCycles / 2) half = residentMB();
        }
        iterateUntilOr([] { return live.total() == 0; }, 5.0);
        end = residentMB();
        heapEnd = heapInUseMB();
        childrenEnd = childProcesses();
    }
    gtk_window_destroy(host);

    state.counters["cycles"] = kCycles;
    state.counters["rss_start_MB"] = start;
    state.counters["rss_warm_MB"] = warm;
    state.counters["rss_end_MB"] = end;
    state.counters["growth_MB"] = end - warm;
    state.counters["growth_2nd_half_MB"] = end - half;
    state.counters["heap_warm_MB"] = heapWarm;
    state.counters["heap_growth_MB"] = heapEnd - heapWarm;
    state.counters["children_warm"] = childrenWarm;
    state.counters["children_end"] = childrenEnd;
    state.counters["live_windows"] = live.windows;
    state.counters["live_pages"] = live.pages;
    state.counters["live_views"] = live.views;
    state.counters["live_managers"] = live.managers;
}

BENCHMARK(BM_PurchaseWindowCycles)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
}  // namespace lxhf::bench
