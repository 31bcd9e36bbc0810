#include "Demo.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>


namespace lxfermo {
namespace {

using nlohmann::json;
using Outcome = lxhf::testing::Outcome;

struct SampleRoom {
    const char* hotelId;
    const char* hotelName;
    const char* city;
    const char* roomId;
    const char* roomName;
    const char* price;
    Outcome outcome;  // what the service is scripted to answer for it
};

// Three hotels, so the rooms go out in three requests, and one room per
// outcome the host can see besides "loading".
constexpr SampleRoom kSampleRooms[] = {
    {"H-AUR", "Hotel Aurora", "Lisbon", "AUR-101", "Double room", "189.00", Outcome::fullOffer},
    {"H-AUR", "Hotel Aurora", "Lisbon", "AUR-102", "Junior suite", "340.00", Outcome::unavailable},
    {"H-CAS", "Casa Fermo", "Porto", "CAS-201", "Twin room", "120.00", Outcome::fullOffer},
    {"H-CAS", "Casa Fermo", "Porto", "CAS-202", "Single room", "95.00", Outcome::omitted},
    {"H-LID", "Grand Lido", "Faro", "LID-301", "King room, sea view", "260.00", Outcome::fullOffer},
    {"H-LID", "Grand Lido", "Faro", "LID-302", "Family room", "310.00", Outcome::baseOffer},
};

json roomJson(const SampleRoom& s) {
    return json{
        {"userId", "demo-user"},
        {"booking",
         {{"stayDates", {{"checkIn", "2026-06-12"}, {"checkOut", "2026-06-15"}}},
          {"guests", {{"adults", 2}, {"children", 0}}},
          {"locale", "en_US"},
          {"currency", "EUR"},
          {"numberOfRooms", 1}}},
        {"hotel",
         {{"id", s.hotelId},
          {"name", s.hotelName},
          {"starRating", "4"},
          {"address", {{"line", "1 Demo Street"}, {"city", s.city}, {"countryCode", "PT"}}}}},
        {"room",
         {{"id", s.roomId},
          {"merchantId", "M-DEMO"},
          {"name", s.roomName},
          {"beds", 1},
          {"price", s.price},
          {"roomType", "standard"},
          {"cancellationCode", "FREE-48H"},
          {"rateCategoryId", "RC-1"},
          {"availability", 3},
          {"isRefundable", true},
          {"imageUrl", "https://example.com/rooms/" + std::string(s.roomId) + ".jpg"},
          {"priceInclusive", s.price},
          {"extAttributes", json::object()}}},
    };
}

}  // namespace

std::unique_ptr<DemoSetup> DemoSetup::start() {
    std::unique_ptr<DemoSetup> demo(new DemoSetup());
    std::fprintf(stderr, "lxfermo demo: generating certificates and starting the test service...\n");
    std::string error;
    if (!demo->service_.start(&error)) {
        std::fprintf(stderr, "lxfermo demo: the test service did not start: %s\n", error.c_str());
        return nullptr;
    }
    std::fprintf(stderr, "lxfermo demo: test service at %s\n", demo->service_.baseUrl().c_str());

    // A private cache directory, so the demo never touches the user's session.
    gchar* dir = g_dir_make_tmp("lxfermo-demo-XXXXXX", nullptr);
    if (dir) {
        demo->cacheDir_ = dir;
        g_free(dir);
    }
    auto& service = demo->service_;
    auto& sdk = demo->sdk();
    if (!sdk.setEndpoints(LXEndpoints{service.apiBase(), service.micrositeBase(), service.intakeUrl(),
                                      service.caFile(),
                                      demo->cacheDir_.empty() ? std::nullopt
                                                              : std::optional(demo->cacheDir_.string())})) {
        std::fprintf(stderr, "lxfermo demo: the library is already in use and cannot be pointed at the service\n");
        return nullptr;
    }
    // The demo fetches as we would advise a host to: its hotels at once,
    // failures retried, no room left loading.
    LXFetchPolicy policy;
    policy.maxConcurrentBatches = 3;
    policy.retry = LXFetchRetry{};
    policy.requeueLateRooms = true;
    sdk.setFetchPolicy(policy);
    sdk.configure(kDemoToken, LXEnvironmentType::staging);

    for (const auto& sample : kSampleRooms) {
        auto room = LXRoomDetails::fromJSON(roomJson(sample).dump());
        if (!room) {
            std::fprintf(stderr, "lxfermo demo: sample room %s: %s\n", sample.roomId,
                         room.error().description().c_str());
            return nullptr;
        }
        service.setRoomOutcome(sample.roomId, sample.outcome);
        demo->rooms_.push_back({*room, std::string(sample.hotelName) + " · " + sample.roomName});
    }
    return demo;
}

std::string DemoSetup::fetchPolicyNote() const {
    const LXFetchPolicy& policy = LXHotelsFermoSDK::shared().fetchPolicy();
    if (policy == LXFetchPolicy{}) return "Fetch policy: off (batches one after another, no retries)";
    std::string note = "Fetch policy on: up to " + std::to_string(policy.maxConcurrentBatches) + " batches at once";
    if (policy.retry) note += ", failed batches retried with backoff";
    if (policy.requeueLateRooms) note += ", late rooms requeued";
    return note;
}

DemoSetup::~DemoSetup() {
    // The shared facade outlives the service; nothing runs the loop after this.
    service_.stop();
    std::error_code ignored;
    if (!cacheDir_.empty()) std::filesystem::remove_all(cacheDir_, ignored);
}

const DemoRoom* DemoSetup::roomAt(std::size_t index) const {
    const auto& sdk = LXHotelsFermoSDK::shared();
    auto it = std::find_if(rooms_.begin(), rooms_.end(),
                           [&](const DemoRoom& r) { return sdk.offerIndex(r.details) == index; });
    return it == rooms_.end() ? nullptr : &*it;
}

std::string DemoSetup::describe(const LXFermoOffer& offer) {
    const auto& state = offer.state;
    if (state.kind() == LXFermoOfferState::Kind::error)
        return std::string("error: ") + (state.errorInfo() ? state.errorInfo()->message() : "");
    // What the traveller is buying, as a booking app would label it.
    const auto terms = sdk().offerTerms(offer.roomDetails());
    if (state.kind() == LXFermoOfferState::Kind::available && terms)
        return "available: hold " + terms->frozenPrice + " " + terms->currency + " for " + terms->deposit + " " +
               terms->currency + ", offer open until " + terms->offerExpiry;
    return stateName(state);
}

std::string DemoSetup::purchaseAddress(const LXRoomDetails& room, bool* ok) {
    auto address = sdk().purchaseAddress(room);
    *ok = address.ok();
    return address ? address.value() : address.error().message;
}

void DemoSetup::reportShown(const LXRoomDetails& room) {
    if (std::find(reported_.begin(), reported_.end(), room) != reported_.end()) return;
    if (sdk().offerResponseRevision(room) == 0) return;
    reported_.push_back(room);
    sdk().reportShown(room);
}

const char* stateName(const LXFermoOfferState& state) {
    switch (state.kind()) {
        case LXFermoOfferState::Kind::loading: return "loading";
        case LXFermoOfferState::Kind::available: return "available";
        case LXFermoOfferState::Kind::unavailable: return "unavailable";
        case LXFermoOfferState::Kind::error: return "error";
    }
    return "?";
}

bool allSettled(const LXHotelsFermoSDK::Offers& offers, std::size_t expected) {
    return offers.size() >= expected && std::none_of(offers.begin(), offers.end(), [](const LXFermoOffer& o) {
               return o.state.kind() == LXFermoOfferState::Kind::loading;
           });
}

}  // namespace lxfermo
