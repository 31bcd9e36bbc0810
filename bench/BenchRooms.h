#pragma once

// Rooms, canned answers and a facade on fakes, shared by the benchmarks.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "core/Facade.h"
#include "model/OfferRecords.h"
#include "support/FakeClock.h"
#include "support/FakeDeviceInfo.h"
#include "support/FakeHttpClient.h"
#include "support/ManualNetworkMonitor.h"
#include "support/ManualQueue.h"
#include "support/RecordingSystemLog.h"
#include "support/TempDir.h"

namespace lxhf::bench {

inline constexpr int kRoomsPerHotel = 10;

// Room `index` of hotel index / kRoomsPerHotel; every field filled, so
// equality and hashing do their full work. The test service accepts it.
inline LXRoomDetails benchRoom(int index) {
    const std::string id = "R" + std::to_string(index);
    const std::string hotelId = "H" + std::to_string(index / kRoomsPerHotel);
    return LXRoomDetails::make(
        "traveller-1", LXBooking{{"2024-06-01", "2024-06-04"}, {2, 0}, "en_US", "EUR", 1},
        LXHotel{hotelId, "Hotel " + hotelId, "4", std::nullopt, {"1 Via Roma", "Fermo", "IT"}, std::nullopt},
        LXRoom{id,       "merchant-1", "mr-" + id, "Double " + id, 2, "120.00", "double",
               std::nullopt, "FREE48", "rate-1", std::vector<std::string>{"breakfast"}, 3, true,
               "https://img.example/" + id + ".jpg", "132.00", {{"view", "sea"}}});
}

inline std::vector<LXRoomDetails> benchRooms(int count) {
    std::vector<LXRoomDetails> rooms;
    rooms.reserve(count);
    for (int i = 0; i < count; ++i) rooms.push_back(benchRoom(i));
    return rooms;
}

inline LXOfferResponse benchResponse(const LXRoomDetails& room) {
    LXOfferResponse r;
    r.offer.hotelId = room.hotel().id;
    r.offer.roomId = room.room().id;
    r.offer.id = "fo-" + room.room().id;
    r.offer.merchantId = room.room().merchantId;
    r.offer.merchantRoomId = room.room().merchantRoomId.value_or(room.room().id);
    r.offer.conditions = {"EUR", "120.00", "120.00", "12.00", "12.00", "18.00", "18.00", "2024-01-01T00:15:00Z",
                          "2024-01-04T00:00:00Z"};
    r.offer.booking = room.booking();
    r.offer.room = LXOfferRequestRoom::from(room.room());
    r.offer.type = "rooms_deposit_offer";
    r.signature = "sig-" + room.room().id;
    r.type = LXOfferResponseType::signedFullOffer;
    return r;
}

// One snake-case answer body per hotel, in the order the batches go out.
inline std::vector<std::string> answerBodies(const std::vector<LXRoomDetails>& rooms) {
    const json::Encoder encoder(json::KeyEncoding::convertToSnakeCase);
    std::vector<std::string> bodies;
    for (std::size_t first = 0; first < rooms.size(); first += kRoomsPerHotel) {
        std::vector<LXOfferResponse> answer;
        for (std::size_t i = first; i < rooms.size() && i < first + kRoomsPerHotel; ++i)
            answer.push_back(benchResponse(rooms[i]));
        bodies.push_back(encoder.encode(answer));
    }
    return bodies;
}

[[noreturn]] inline void benchFailure(const std::string& what) {
    std::fprintf(stderr, "lxhf-bench: %s\n", what.c_str());
    std::abort();
}

// Keeps submitted work so a benchmark can run it off the clock, as the
// worker thread would, and then the continuations on it.
class SteppedBackgroundQueue final : public BackgroundQueue {
public:
    void submit(std::function<void()> work, std::function<void()> then) override {
        items_.push_back({std::move(work), std::move(then)});
    }
    void runWork() {
        for (auto& item : items_)
            if (item.work) std::exchange(item.work, nullptr)();
    }
    void runContinuations() {
        runWork();
        for (auto& item : std::exchange(items_, {})) item.then();
    }

private:
    struct Item {
        std::function<void()> work, then;
    };
    std::vector<Item> items_;
};

// A configured facade on virtual time: sessions answer "S1" at once, offer
// requests wait for the benchmark to answer them, the network is up. Work
// meant for the background runs inline unless `background` is given.
class FakeFacade {
public:
    explicit FakeFacade(std::shared_ptr<SteppedBackgroundQueue> background = nullptr) : background_(background) {
        FacadeParts parts;
        parts.background = std::move(background);
        parts.queue = queue;
        parts.clock = std::make_shared<test::FakeClock>();
        parts.device = std::make_shared<test::FakeDeviceInfo>();
        parts.systemLog = std::make_shared<test::RecordingSystemLog>();
        parts.makeHttp = [this](const EndpointOverrides&) { return http; };
        parts.makeCache = [this](const EndpointOverrides&) -> std::shared_ptr<CacheDirectory> {
            return std::make_shared<test::FixedCacheDirectory>(dir.path());
        };
        parts.makeMonitor = [](const LXEnvironment&) -> std::unique_ptr<NetworkMonitor> {
            return std::make_unique<test::ManualNetworkMonitor>(true);
        };
        sdk = FacadeAccess::make(std::move(parts));
        sdk->configure("tok-1", LXEnvironmentType::staging);
        http->respondTo("sessions", test::FakeHttpClient::reply(201, R"({"id":"S1"})"));
    }

    // Lets the debounce pass, then answers the offer requests in turn, each
    // with its canned body. Returns the seconds spent on the main context:
    // all of it without a stepped background, otherwise all but the
    // background work.
    double fetchAndAnswerAll(const std::vector<std::string>& bodies) {
        using Clock = std::chrono::steady_clock;
        std::chrono::duration<double> onMain{0};
        auto onMainContext = [&](auto&& step) {
            const auto start = Clock::now();
            step();
            onMain += Clock::now() - start;
        };
        auto settleBackground = [&] {
            if (!background_) return;
            background_->runWork();
            onMainContext([&] {
                background_->runContinuations();
                queue->runPending();
            });
        };
        onMainContext([&] { queue->advance(Seconds{0.2}); });
        settleBackground();
        expectOfferRequest();
        for (const auto& body : bodies) {
            onMainContext([&] {
                http->completeNext(test::FakeHttpClient::reply(201, body));
                queue->runPending();
            });
            settleBackground();
        }
        if (http->pendingCount() != 0) benchFailure("requests left unanswered");
        return onMain.count();
    }

    void expectOfferRequest() const {
        if (http->pendingCount() != 1 || !http->pendingRequest(0).url.ends_with("fermo_offers"))
            benchFailure("expected one pending offer request");
    }

    std::shared_ptr<test::ManualQueue> queue = std::make_shared<test::ManualQueue>();
    std::shared_ptr<test::FakeHttpClient> http = std::make_shared<test::FakeHttpClient>(*queue);
    test::TempDir dir;
    std::unique_ptr<LXHotelsFermoSDK> sdk;

private:
    std::shared_ptr<SteppedBackgroundQueue> background_;
};

}  // namespace lxhf::bench
