// `lxfermo demo`: the library against the embedded test service. With a
// display it opens a window; without one it runs the same flow in the
// terminal, printing each state change, and exits once every room settles.

#include <glib.h>

#include <cstdio>
#include <map>
#include <string>

#include "CommandLine.h"
#include "Commands.h"
#include "Demo.h"

namespace lxfermo {
namespace {

const std::vector<OptionInfo> kDemoOptions = {
    {"terminal", "", "stay in the terminal even when a display is available"},
    {"screenshot", "FILE", "save the window as a PNG once every room has settled, then quit"},
    {"screenshot-page", "FILE", "then press the first available room and save its purchase page, then quit"},
};

constexpr const char* kDemoSummary =
    "Starts the embedded Fermo test service, points the library at it and caches\n"
    "six sample rooms at three hotels (one available, unavailable or failing per\n"
    "script). With a display it opens a window with the rooms' live states, a\n"
    "Refresh button and a log; without one it prints each state change and exits\n"
    "once every room has settled.";

constexpr double kSettleTimeoutSeconds = 30;
constexpr double kEventBatchTimeoutSeconds = 5;

// Iterates the default context until `done` or the deadline, with a
// progress line every few seconds.
template <class Done>
bool runUntil(Done done, double timeoutSeconds, const char* what) {
    const gint64 start = g_get_monotonic_time();
    gint64 nextProgress = start + 2 * G_USEC_PER_SEC;
    const guint ticker = g_timeout_add(100, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    bool ok = true;
    while (!done()) {
        const gint64 now = g_get_monotonic_time();
        if (now - start >= static_cast<gint64>(timeoutSeconds * G_USEC_PER_SEC)) {
            ok = false;
            break;
        }
        if (now >= nextProgress) {
            std::printf("... still waiting for %s (%.0f s)\n", what, double(now - start) / G_USEC_PER_SEC);
            std::fflush(stdout);
            nextProgress = now + 2 * G_USEC_PER_SEC;
        }
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(ticker);
    return ok;
}

int runTerminal(DemoSetup& demo) {
    auto& sdk = demo.sdk();
    std::map<std::string, std::string> lastShown;  // room title -> last printed description
    auto subscription = sdk.subscribeFermoOffers([&](const LXHotelsFermoSDK::Offers& offers) {
        for (std::size_t i = 0; i < offers.size(); ++i) {
            const auto& offer = offers[i];
            const DemoRoom* room = demo.roomAt(i);
            const std::string title = room ? room->title : "(unknown room)";
            std::string text = demo.describe(offer);
            auto& last = lastShown[title];
            if (last == text) continue;
            last = text;
            std::printf("%-36s %s\n", title.c_str(), text.c_str());
        }
        std::fflush(stdout);
    });

    std::vector<LXRoomDetails> rooms;
    for (const auto& room : demo.rooms()) rooms.push_back(room.details);
    std::printf("%s\n", demo.fetchPolicyNote().c_str());
    std::printf("Caching offers for %zu rooms at 3 hotels\n", rooms.size());
    sdk.cacheOffers(rooms);

    if (!runUntil([&] { return allSettled(sdk.fermoOffers(), rooms.size()); }, kSettleTimeoutSeconds,
                  "offers")) {
        std::fprintf(stderr, "lxfermo demo: rooms still loading after %.0f s\n", kSettleTimeoutSeconds);
        return 1;
    }
    std::printf("All rooms settled.\n\n");

    // What a tap would open, and the "shown" reports the button would send.
    bool anyShown = false;
    const auto& offers = sdk.fermoOffers();
    for (std::size_t i = 0; i < offers.size(); ++i) {
        if (offers[i].state.kind() != LXFermoOfferState::Kind::available) continue;
        const DemoRoom* room = demo.roomAt(i);
        if (!room) continue;
        bool ok = false;
        const std::string address = demo.purchaseAddress(room->details, &ok);
        std::printf("Tap \"%s\" opens:\n  %s\n", room->title.c_str(), address.c_str());
        demo.reportShown(room->details);
        anyShown = true;
    }
    if (anyShown) {
        std::printf("\nReporting the available offers as shown (sent after a 2 s pause)...\n");
        std::fflush(stdout);
        auto& service = demo.service();
        if (runUntil([&] { return service.count("events/batch") >= 1; }, kEventBatchTimeoutSeconds,
                     "the event batch")) {
            const auto batch = service.requests("events/batch").front();
            std::printf("The service received %zu offer_shown events in one batch (status %d).\n",
                        batch.json().is_array() ? batch.json().size() : 0, batch.status);
        } else {
            std::printf("No event batch arrived within %.0f s.\n", kEventBatchTimeoutSeconds);
        }
    }
    return 0;
}

}  // namespace

int runDemo(const std::vector<std::string>& args) {
    const auto parsed = optionsOrExit("demo", kDemoSummary, args, kDemoOptions);
    const auto* options = std::get_if<ParsedOptions>(&parsed);
    if (!options) return std::get<int>(parsed);
    auto demo = DemoSetup::start();
    if (!demo) return 1;
#ifdef LXFERMO_HAS_GTK
    if (!options->has("terminal")) {
        int exitCode = 0;
        if (runDemoWindow(*demo, exitCode, options->value("screenshot"), options->value("screenshot-page")))
            return exitCode;
        std::fprintf(stderr, "lxfermo demo: no display; running in the terminal\n");
    }
#endif
    return runTerminal(*demo);
}

}  // namespace lxfermo
