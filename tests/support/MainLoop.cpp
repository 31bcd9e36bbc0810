#include "support/MainLoop.h"

#include <glib.h>

namespace lxhf::test {

namespace {

// Wakes a blocked iteration so the deadline is checked even when idle.
struct Ticker {
    guint id;
    Ticker() : id(g_timeout_add(10, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr)) {}
    ~Ticker() { g_source_remove(id); }
};

}  // namespace

bool runMainLoopUntil(const std::function<bool()>& done, double timeoutSeconds) {
    Ticker ticker;
    gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(timeoutSeconds * 1e6);
    while (!done()) {
        if (g_get_monotonic_time() >= deadline) return false;
        g_main_context_iteration(nullptr, TRUE);
    }
    return true;
}

void runMainLoopFor(double seconds) {
    runMainLoopUntil([] { return false; }, seconds);
}

}  // namespace lxhf::test
