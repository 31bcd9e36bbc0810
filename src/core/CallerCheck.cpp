#include "core/CallerCheck.h"

#include <glib.h>

#include <string>

namespace lxhf {

namespace {
std::atomic<bool> exiting{false};
}  // namespace

void markProcessExiting() noexcept { exiting.store(true, std::memory_order_relaxed); }

bool processExiting() noexcept { return exiting.load(std::memory_order_relaxed); }

bool CallerCheck::admits(std::string_view call) {
    if (processExiting()) return false;
    GThread* self = g_thread_self();
    GThread* owner = owner_.load(std::memory_order_relaxed);
    if (owner == self) return true;
    // On failure the exchange reads the owner another thread noted first.
    if (owner == nullptr && owner_.compare_exchange_strong(owner, self, std::memory_order_relaxed)) return true;
    if (owner == self) return true;
    // A programmer error of the host's, so GLib's critical level, as its own
    // precondition checks use.
    const std::string name(call);
    g_log("LXHotelsFermo", G_LOG_LEVEL_CRITICAL,
          "%s: assertion 'called on the library's own thread' failed; the call is refused",
          name.c_str());
    return false;
}

}  // namespace lxhf
