#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/Facade.h"
#include "model/OfferRecords.h"
#include "support/FakeClock.h"
#include "support/FakeDeviceInfo.h"
#include "support/FakeHttpClient.h"
#include "support/ManualNetworkMonitor.h"
#include "support/ManualQueue.h"
#include "support/RecordingSystemLog.h"
#include "support/TempDir.h"

namespace lxhf::test {

using State = LXFermoOfferState::Kind;

inline LXRoomDetails makeRoom(const std::string& roomId, const std::string& hotelId,
                              const std::string& checkIn = "2024-06-01") {
    return LXRoomDetails::make(
        "traveller-1", LXBooking{{checkIn, "2024-06-04"}, {2, 0}, "en_US", "EUR", 1},
        LXHotel{hotelId, "Hotel " + hotelId, "4", std::nullopt, {"1 Via Roma", "Fermo", "IT"}, std::nullopt},
        LXRoom{roomId, "merchant-1", "mr-" + roomId, "Double " + roomId, 2, "120.00", "double",
               std::nullopt, "FREE48", "rate-1", std::vector<std::string>{"breakfast"}, 3, true,
               "https://img.example/" + roomId + ".jpg", "132.00", {{"view", "sea"}}});
}

inline const std::string& roomId(const LXRoomDetails& room) { return room.room().id; }

inline std::vector<State> states(const LXHotelsFermoSDK& sdk) {
    std::vector<State> out;
    for (const auto& offer : sdk.fermoOffers()) out.push_back(offer.state.kind());
    return out;
}

inline std::vector<std::string> roomIds(const LXHotelsFermoSDK& sdk) {
    std::vector<std::string> out;
    for (const auto& offer : sdk.fermoOffers()) out.push_back(roomId(offer.roomDetails()));
    return out;
}

inline std::vector<std::string> requestedRoomIds(const HttpRequest& request) {
    auto decoded = json::Decoder(json::KeyDecoding::convertFromSnakeCase).decode<LXOfferRequest>(request.body);
    std::vector<std::string> ids;
    for (const auto& room : decoded.value().rooms) ids.push_back(room.id);
    return ids;
}

inline LXOfferResponse makeResponse(const LXOfferRequestRoom& room, LXOfferResponseType type,
                                    const std::string& offerId) {
    LXOfferResponse r;
    r.offer.hotelId = "h";
    r.offer.roomId = room.id;
    r.offer.id = offerId;
    r.offer.merchantId = room.merchantId;
    r.offer.merchantRoomId = room.merchantRoomId.value_or(room.id);
    r.offer.conditions = {"EUR", "120.00", "120.00", "12.00", "12.00", "18.00", "18.00",
                          "2024-01-01T00:15:00Z", "2024-01-04T00:00:00Z"};
    r.offer.room = room;
    r.offer.type = "rooms_deposit_offer";
    r.signature = "sig-" + room.id;
    r.type = type;
    return r;
}

inline LXOfferResponse responseFor(const LXRoomDetails& room, const std::string& offerId = "") {
    return makeResponse(LXOfferRequestRoom::from(room.room()), LXOfferResponseType::signedFullOffer,
                        offerId.empty() ? "fo-" + roomId(room) : offerId);
}

inline std::string headerValue(const HttpRequest& request, const std::string& name) {
    for (const auto& [key, value] : request.headers)
        if (key == name) return value;
    return "<absent>";
}

// A facade on virtual time: sessions answer "S1", offers wait for serveOffers().
class CoreHarness {
public:
    explicit CoreHarness(bool online = true, bool configure = true,
                         std::shared_ptr<BackgroundQueue> background = nullptr)
        : online_(online) {
        FacadeParts parts;
        parts.background = std::move(background);
        parts.queue = queue;
        parts.clock = clock;
        parts.device = std::make_shared<FakeDeviceInfo>();
        parts.systemLog = systemLog;
        parts.makeHttp = [this](const EndpointOverrides&) { return http; };
        parts.makeCache = [this](const EndpointOverrides&) -> std::shared_ptr<CacheDirectory> { return cache; };
        parts.random = [this] { return jitter; };
        parts.makeMonitor = [this](const LXEnvironment&) -> std::unique_ptr<NetworkMonitor> {
            auto made = std::make_unique<ManualNetworkMonitor>(online_);
            monitor = made.get();
            return made;
        };
        sdk = FacadeAccess::make(std::move(parts));
        if (configure) sdk->configure("tok-1", LXEnvironmentType::staging);
        http->respondTo("sessions", FakeHttpClient::reply(201, R"({"id":"S1"})"));
        http->respondTo(kIntakePath, FakeHttpClient::reply(202, "{}"));
    }

    static constexpr const char* kIntakePath = "/api/v2/logs";

    std::vector<HttpRequest> apiRequests() const {
        std::vector<HttpRequest> out;
        for (const auto& r : http->requests())
            if (r.url.find(kIntakePath) == std::string::npos) out.push_back(r);
        return out;
    }

    LXCorvaneInternal& engine() { return FacadeAccess::engine(*sdk); }

    // Answers each batch as it arrives: full offer by default; nullopt omits the room.
    void serveOffers(const std::map<std::string, std::optional<LXOfferResponseType>>& script = {},
                     HttpHeaders headers = {}) {
        queue->runPending();
        while (http->pendingCount() > 0) {
            const HttpRequest request = http->pendingRequest(0);
            auto decoded = json::Decoder(json::KeyDecoding::convertFromSnakeCase).decode<LXOfferRequest>(request.body);
            ASSERT_TRUE(decoded.ok()) << request.body;
            std::vector<LXOfferResponse> answer;
            for (const auto& room : decoded.value().rooms) {
                auto type = script.contains(room.id) ? script.at(room.id) : LXOfferResponseType::signedFullOffer;
                if (type) answer.push_back(makeResponse(room, *type, "fo-" + room.id));
            }
            http->completeNext(FakeHttpClient::reply(201, encoder.encode(answer), headers));
            queue->runPending();
        }
    }

    void failNext(HttpResult answer) {
        queue->runPending();
        ASSERT_GT(http->pendingCount(), 0u);
        http->completeNext(std::move(answer));
        queue->runPending();
    }

    std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>();
    std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
    std::shared_ptr<FakeHttpClient> http = std::make_shared<FakeHttpClient>(*queue);
    std::shared_ptr<RecordingSystemLog> systemLog = std::make_shared<RecordingSystemLog>();
    ManualNetworkMonitor* monitor = nullptr;
    TempDir dir;
    std::shared_ptr<FixedCacheDirectory> cache = std::make_shared<FixedCacheDirectory>(dir.path());
    std::unique_ptr<LXHotelsFermoSDK> sdk;
    json::Encoder encoder{json::KeyEncoding::convertToSnakeCase};
    double jitter = 0.5;  // every retry waits half its ceiling

private:
    bool online_;
};

}  // namespace lxhf::test
