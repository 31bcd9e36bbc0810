// A host program built against the installed library only. It readies the
// purchase page for a view of its own the way a host would, with nothing
// reachable and no display.
#include <LXHotelsFermo/LXHotelsFermoSDK.h>
#include <LXHotelsFermo/LXVersion.h>

#include <glib.h>
#include <glib/gstdio.h>

#include <cstdio>

namespace {

constexpr const char* kRoom = R"({
  "booking": {"stayDates": {"checkIn": "2024-06-01", "checkOut": "2024-06-04"},
              "guests": {"adults": 2, "children": 0}, "locale": "en_US", "currency": "EUR", "numberOfRooms": 1},
  "hotel": {"id": "H1", "name": "Hotel Fermo", "starRating": "4",
            "address": {"line": "Via Roma 1", "city": "Fermo", "countryCode": "IT"}},
  "room": {"id": "R1", "merchantId": "M1", "name": "Double", "beds": 2, "price": "120.00", "roomType": "double",
           "cancellationCode": "FLEX", "rateCategoryId": "RC1", "availability": 3, "isRefundable": false,
           "imageUrl": "https://img.example.com/r1.jpg", "priceInclusive": "132.00", "extAttributes": {}}})";

int failures = 0;

void expect(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "consumer: %s\n", what);
    ++failures;
}

}  // namespace

int main() {
    using Kind = LXPurchasePageAction::Kind;
    expect(!LXRoomDetails::fromJSON("{\"booking\":{}}"), "an incomplete room was accepted");
    const auto room = LXRoomDetails::fromJSON(kRoom);
    if (!room) {
        std::fprintf(stderr, "consumer: %s\n", room.error().description().c_str());
        return 1;
    }

    auto& sdk = LXHotelsFermoSDK::shared();
    sdk.configure("token", LXEnvironmentType::staging);
    char* cache = g_dir_make_tmp("lxhf-consumer-XXXXXX", nullptr);
    LXEndpoints endpoints;
    endpoints.apiBase = "https://127.0.0.1:9/api/hotels/v1.0/";  // the discard port: nothing answers
    endpoints.micrositeBase = "https://127.0.0.1:9";
    endpoints.cacheDirectory = cache;
    expect(sdk.setEndpoints(endpoints), "endpoints refused before the engine exists");
    expect(sdk.endpoints().apiBase == endpoints.apiBase, "endpoints not kept");

    // No answer for the room yet: no page to show, and nothing to report.
    const auto address = sdk.purchaseAddress(room.value());
    expect(!address && address.error().reason == LXNoPurchaseAddress::Reason::noResponse,
           "a purchase address without an answer");
    expect(sdk.offerResponseRevision(room.value()) == 0, "a revision without an answer");
    sdk.reportShown(room.value());

    const auto close = sdk.pageMessage(R"({"eventName":"close","data":{}})", LXPurchasePageBridge::handlerName);
    expect(close.kind == Kind::cancelled && close.dismiss, "close does not cancel and dismiss");

    expect(sdk.fermoOffers().empty(), "offers without a request");
    g_rmdir(cache);
    g_free(cache);
    std::printf("consumer %s, version %.1f\n", failures ? "failed" : "ok", LXHotelsFermoVersionNumber);
    return failures ? 1 : 0;
}
