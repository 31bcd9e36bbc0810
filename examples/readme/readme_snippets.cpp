// The README's C++ snippets, word for word, in a program a test builds and
// runs against `lxfermo sim --page purchase -- readme_snippets room.json`: each block
// sits between "readme:" markers, and a test checks the README still shows
// them as they are here. Blocks start at the line's first column, as in the
// README; the includes inside a function are the headers already included
// above, so they add nothing there.

#include <LXHotelsFermo/LXHotelsFermoSDK.h>
#include <LXHotelsFermo/ui/LXFermoButtonWrapper.h>
#include <gtk/gtk.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// Points the shared facade at the sim, from the variables it hands its command.
bool pointAtTheSim() {
    const char* api = std::getenv("LXHF_API_BASE");
    if (!api) return false;
    const auto env = [](const char* name) -> std::optional<std::string> {
        const char* value = std::getenv(name);
        return value ? std::optional<std::string>(value) : std::nullopt;
    };
    return LXHotelsFermoSDK::shared().setEndpoints({api, env("LXHF_MICROSITE_BASE"), env("LXHF_INTAKE_URL"),
                                                    env("LXHF_CA_FILE"), env("LXHF_CACHE_DIR")});
}

// Compiled, never run: its addresses are placeholders.
[[maybe_unused]] void pointAtTheSimAsTheReadmeShows(const std::string& testCacheFolder) {
// readme: begin
LXHotelsFermoSDK::shared().setEndpoints({
    .apiBase = "https://127.0.0.1:PORT/api/hotels/v1.0/",   // all four as `lxfermo sim` prints them
    .micrositeBase = "https://127.0.0.1:PORT/cloud/hotels/purchase",
    .intakeUrl = "https://127.0.0.1:PORT/api/v2/logs",
    .caFile = "/tmp/lxhf-testservice-XXXXXX/ca.pem",
    .cacheDirectory = testCacheFolder,                        // keeps the session file out of ~/.cache
});
// readme: end
}

void askForTheFetchPolicy() {
// readme: begin
LXFetchPolicy policy;
policy.maxConcurrentBatches = 10;          // default 1
policy.retry = LXFetchRetry{};             // default none; 1 s doubling to 60 s, full jitter,
                                           // Retry-After honoured, maxAttempts unlimited
policy.requeueLateRooms = true;            // default false
LXHotelsFermoSDK::shared().setFetchPolicy(policy);  // false once the engine exists
// readme: end
}

int failures = 0;

void usingIt(GtkApplication* app, const std::string& roomJson) {
// readme: begin
#include <LXHotelsFermo/LXHotelsFermoSDK.h>
#include <LXHotelsFermo/ui/LXFermoButtonWrapper.h>

auto& sdk = LXHotelsFermoSDK::shared();
sdk.configure("partner-token", LXEnvironmentType::production);  // before any call but setEndpoints, setFetchPolicy
sdk.connectApplicationShutdown(G_APPLICATION(app));              // empties the session at normal exit

// Rooms are JSON the host builds (docs/rooms.md; snake case with LXJSONKeyStyle::snakeCase),
// or typed parts: LXRoomDetails::make(userId, booking, hotel, room) (LXRoomRecords.h).
auto room = LXRoomDetails::fromJSON(roomJson);
if (!room) { g_warning("%s", room.error().description().c_str()); return; }
sdk.cacheOffers({room.value()});

// Each room goes loading -> available / unavailable / error. Updates come while
// `subscription` lives: keep it as long as you show them (a member of your window, say).
auto subscription = sdk.subscribeFermoOffers([](const LXHotelsFermoSDK::Offers& offers) {
    for (const auto& offer : offers) g_message("%s", offer.state.toJSON().c_str());
});

// Or let the button wrapper follow one room and open the purchase page on a press.
GtkWidget* button = LXFermoButtonWrapper::create(room.value(),
    [](const LXFermoPurchaseResult& result) { g_message("page says %s", result.toJSON().c_str()); },
    LXFermoButtonWrapper::labelledButton([](const LXFermoOffer& offer) {
        return offer.state.kind() == LXFermoOfferState::Kind::available ? "Hold this price" : "Fermo";
    }),
    // What to show the traveller: the page's final outcome, once it has gone.
    [](const std::optional<LXFermoPurchaseResult>& outcome) {
        g_message("%s", outcome ? outcome->toJSON().c_str() : "left without a result");
    },
    LXPurchasePageOptions{.reportLoadFailures = true});
// readme: end

    // The run itself: the room must become available while `subscription` lives.
    GtkWidget* window = gtk_application_window_new(app);
    gtk_window_set_child(GTK_WINDOW(window), button);
    gtk_window_present(GTK_WINDOW(window));
    const auto available = [&] {
        const auto offers = sdk.fermoOffers();
        return offers.size() == 1 && offers[0].state.kind() == LXFermoOfferState::Kind::available;
    };
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!available() && std::chrono::steady_clock::now() < limit) g_main_context_iteration(nullptr, TRUE);
    if (!available()) {
        std::fprintf(stderr, "readme snippets: the room never became available\n");
        ++failures;
    }
    gtk_window_destroy(GTK_WINDOW(window));
}

}  // namespace

int main(int argc, char** argv) {
    gchar* roomJson = nullptr;
    if (argc != 2 || !pointAtTheSim() || !g_file_get_contents(argv[1], &roomJson, nullptr, nullptr)) {
        std::fprintf(stderr, "usage: lxfermo sim -- %s ROOM.json\n", argc > 0 ? argv[0] : "readme_snippets");
        return 2;
    }
    static std::string room(roomJson);
    g_free(roomJson);
    askForTheFetchPolicy();
    if (LXHotelsFermoSDK::shared().fetchPolicy().maxConcurrentBatches != 10) {
        std::fprintf(stderr, "readme snippets: the fetch policy was refused\n");
        return 1;
    }
    GtkApplication* app = gtk_application_new("com.lxhotels.ReadmeSnippets", G_APPLICATION_NON_UNIQUE);
    g_signal_connect(app, "activate", G_CALLBACK(+[](GtkApplication* self, gpointer) { usingIt(self, room); }),
                     nullptr);
    const int status = g_application_run(G_APPLICATION(app), 1, argv);
    g_object_unref(app);
    if (status != 0 || failures != 0) return 1;
    std::puts("readme snippets passed");
    return 0;
}
