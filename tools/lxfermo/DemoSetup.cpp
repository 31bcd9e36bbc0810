#include "Demo.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>

#include "core/Facade.h"
#include "presentation/MicrositeAddress.h"

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
    demo->sdk_ = lxhf::FacadeAccess::make(lxhf::systemParts());
    auto& service = demo->service_;
    lxhf::FacadeAccess::setOverrides(
        *demo->sdk_, lxhf::EndpointOverrides{service.apiBase(), service.micrositeBase(), service.intakeUrl(),
                                             service.caFile(),
                                             demo->cacheDir_.empty() ? std::nullopt
                                                                     : std::optional(demo->cacheDir_.string())});
    demo->sdk_->configure(kDemoToken, LXEnvironmentType::staging);

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

DemoSetup::~DemoSetup() {
    sdk_.reset();
    service_.stop();
    std::error_code ignored;
    if (!cacheDir_.empty()) std::filesystem::remove_all(cacheDir_, ignored);
}

const DemoRoom* DemoSetup::find(const LXRoomDetails& room) const {
    auto it = std::find_if(rooms_.begin(), rooms_.end(), [&](const DemoRoom& r) { return r.details == room; });
    return it == rooms_.end() ? nullptr : &*it;
}

std::string DemoSetup::describe(const LXFermoOffer& offer) const {
    const auto& state = offer.state;
    if (state.kind() == LXFermoOfferState::Kind::error)
        return std::string("error: ") + (state.errorInfo() ? state.errorInfo()->message() : "");
    if (state.kind() != LXFermoOfferState::Kind::available) return stateName(state);
    const auto* response = lxhf::FacadeAccess::board(*sdk_).response(roomOf(offer));
    if (!response) return "available";
    const auto& c = response->offer.conditions;
    return "available: price frozen at " + c.frozenPrice + " " + c.currency + ", deposit " + c.deposit + " " +
           c.currency + ", offer expires " + c.offerExpiry;
}

std::string DemoSetup::purchaseAddress(const LXRoomDetails& room, bool* ok) const {
    *ok = false;
    auto& sdk = *sdk_;
    const LXEnvironment env = lxhf::FacadeAccess::environment(sdk);
    lxhf::MicrositeAddressInputs inputs;
    inputs.endpoint = {env.micrositeScheme, env.micrositeHost, env.micrositePath};
    inputs.token = lxhf::FacadeAccess::token(sdk);
    if (auto* engine = lxhf::FacadeAccess::engineIfMade(sdk)) inputs.sessionId = engine->sessions().inMemorySessionId();
    if (const auto* response = lxhf::FacadeAccess::board(sdk).response(room)) inputs.offerResponse = *response;
    auto address = lxhf::micrositeAddress(inputs, room);
    if (!address) {
        const auto& log = address.error().log;
        return log ? log->message : "no purchase page for this room";
    }
    *ok = true;
    return *address;
}

void DemoSetup::reportShown(const LXRoomDetails& room) {
    if (std::find(reported_.begin(), reported_.end(), room) != reported_.end()) return;
    const auto* response = lxhf::FacadeAccess::board(*sdk_).response(room);
    if (!response) return;
    reported_.push_back(room);
    lxhf::FacadeAccess::onShown(*sdk_, *response);
}

const LXRoomDetails& roomOf(const LXFermoOffer& offer) { return offer.roomDetails(); }

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
