// A host that misuses the installed library the ordinary ways: built with
// a sanitizer, it walks the list its offers callback was handed and caches
// a room per row as it goes (40 in all), then calls cacheOffers from a
// second thread. Clean means: no sanitizer report, the refusals logged, and
// the list holds exactly the rooms cached on the library's thread.
#include <LXHotelsFermo/LXHotelsFermoSDK.h>

#include <glib.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>

namespace {

LXRoomDetails room(int number) {
    const std::string id = "R" + std::to_string(number);
    return LXRoomDetails::make(std::nullopt, LXBooking{{"2024-06-01", "2024-06-04"}, {2, 0}, "en_US", "EUR", 1},
                               LXHotel{"H1", "Hotel", "4", std::nullopt, {"Via Roma 1", "Fermo", "IT"}, std::nullopt},
                               LXRoom{id, "M1", std::nullopt, "Double", 2, "120.00", "double", std::nullopt, "FLEX",
                                      "RC1", std::nullopt, 3, std::nullopt, "https://img.example.com/r.jpg",
                                      "132.00", {}});
}

std::atomic<int> refusals{0};

}  // namespace

int main() {
    g_log_set_handler("LXHotelsFermo", G_LOG_LEVEL_CRITICAL,
                      [](const gchar*, GLogLevelFlags, const gchar*, gpointer) { ++refusals; }, nullptr);
    auto& sdk = LXHotelsFermoSDK::shared();
    char* cache = g_dir_make_tmp("lxhf-misuse-XXXXXX", nullptr);
    LXEndpoints endpoints;
    endpoints.apiBase = "https://127.0.0.1:9/api/hotels/v1.0/";  // the discard port: nothing answers
    endpoints.intakeUrl = "https://127.0.0.1:9/api/v2/logs";
    endpoints.cacheDirectory = cache;
    sdk.setEndpoints(endpoints);
    sdk.configure("token", LXEnvironmentType::staging);

    int cached = 1;
    sdk.cacheOffers({room(0)});
    auto subscription = sdk.subscribeFermoOffers([&](const LXHotelsFermoSDK::Offers& offers) {
        for (const auto& offer : offers)
            if (cached < 40 && !offer.roomDetails().room().id.empty()) sdk.cacheOffers({room(cached++)});
    });

    std::thread other([&] {
        for (int i = 0; i < 100; ++i) sdk.cacheOffers({room(1000 + i)});
    });
    other.join();

    const std::size_t listed = sdk.fermoOffers().size();
    std::printf("misuse host: %zu rooms listed, %d calls refused\n", listed, refusals.load());
    subscription.reset();
    g_free(cache);
    return listed == 40 && refusals == 100 ? 0 : 1;
}
