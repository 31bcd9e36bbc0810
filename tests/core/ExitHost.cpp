// A host that calls the library from its exit handlers: a static
// destructor and an atexit handler, both run after the library's own
// statics are gone. Every call must return quietly; the test is that this
// program exits 0, clean under the sanitizers.

#include <glib.h>

#include <cstdlib>
#include <cstdio>

#include "LXHotelsFermo/LXHotelsFermoSDK.h"

namespace {

constexpr const char* kRoom = R"({"userId":"u","booking":{"stayDates":{"checkIn":"2026-05-01","checkOut":"2026-05-03"},
  "guests":{"adults":2,"children":0},"locale":"en_GB","currency":"GBP","numberOfRooms":1},
  "hotel":{"id":"H1","name":"Hotel","starRating":"4","address":{"line":"1 Quay","city":"Bristol","countryCode":"GB"}},
  "room":{"id":"R1","merchantId":"M","name":"Room","beds":1,"price":"90.00","roomType":"single",
  "cancellationCode":"NR","rateCategoryId":"RC","availability":1,"imageUrl":"https://img.example/r","priceInclusive":"90.00","extAttributes":{}}})";

void useEverything() {
    auto& sdk = LXHotelsFermoSDK::shared();
    const auto room = LXRoomDetails::fromJSON(kRoom).value();
    sdk.configure("late", LXEnvironmentType::production);
    (void)sdk.setEndpoints({});
    (void)sdk.endpoints();
    sdk.updateUser("late-user");
    sdk.cacheOffers({room});
    sdk.refreshCachedOffers(LXRefresh::all);
    (void)sdk.fermoOffers().size();
    (void)sdk.offerIndex(room);
    sdk.setFermoOffers({});
    auto subscription = sdk.subscribeFermoOffers([](const LXHotelsFermoSDK::Offers&) {});
    (void)sdk.purchaseAddress(room);
    (void)sdk.offerResponseRevision(room);
    sdk.reportShown(room);
    (void)sdk.pageMessage(R"({"eventName":"close","data":{}})");
    sdk.applicationWillTerminate();
}

struct CallsFromStaticDestructor {
    ~CallsFromStaticDestructor() { useEverything(); }
} callsFromStaticDestructor;

// Ended at exit, after the library's own statics are gone.
LXSubscription keptSubscription;

}  // namespace

int main() {
    std::atexit(useEverything);
    auto& sdk = LXHotelsFermoSDK::shared();
    // A closed port on this machine: requests fail at once, nothing leaves it.
    if (!sdk.setEndpoints({.apiBase = "https://127.0.0.1:9/api/", .intakeUrl = "https://127.0.0.1:9/logs"})) return 2;
    sdk.configure("partner-token", LXEnvironmentType::staging);
    keptSubscription = sdk.subscribeFermoOffers([](const LXHotelsFermoSDK::Offers&) {});
    sdk.cacheOffers({LXRoomDetails::fromJSON(kRoom).value()});
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    g_timeout_add(
        500, [](gpointer data) { g_main_loop_quit(static_cast<GMainLoop*>(data)); return gboolean(G_SOURCE_REMOVE); },
        loop);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    std::puts(sdk.fermoOffers().size() == 1 ? "one room listed" : "rooms missing");
    return sdk.fermoOffers().size() == 1 ? 0 : 1;
}
