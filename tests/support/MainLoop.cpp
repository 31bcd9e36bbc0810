#include "support/MainLoop.h"

#include <glib.h>

#include <memory>
#include <optional>

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

HttpResult sendAndWait(HttpClient& client, HttpRequest request, double timeoutSeconds) {
    // Shared, so an answer after the deadline lands nowhere harmful.
    auto answer = std::make_shared<std::optional<HttpResult>>();
    client.send(std::move(request), [answer](HttpResult r) { answer->emplace(std::move(r)); });
    if (!runMainLoopUntil([&] { return answer->has_value(); }, timeoutSeconds))
        return TransportError{"no answer in time"};
    return std::move(**answer);
}

}  // namespace lxhf::test
