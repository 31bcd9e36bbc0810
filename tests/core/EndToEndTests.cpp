// The core with its real GLib and libsoup services against the local HTTPS service.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "CoreTestSupport.h"
#include "support/MainLoop.h"
#include "testservice/FermoTestService.h"

namespace lxhf::test {
namespace {

using lxhf::testing::FermoTestService;
using lxhf::testing::Fault;
using lxhf::testing::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kPatience = 20.0;  // generous: only a wedged run waits this long

class CoreAgainstService : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(service.start(&error)) << error;
    }

    std::unique_ptr<LXHotelsFermoSDK> makeSdk() {
        FacadeParts parts = systemParts();
        parts.overrides.apiBase = service.apiBase();
        parts.overrides.micrositeBase = service.micrositeBase();
        parts.overrides.caFile = service.caFile();
        parts.overrides.intakeUrl = service.intakeUrl();
        parts.overrides.cacheDirectory = dir.path().string();
        auto sdk = FacadeAccess::make(std::move(parts));
        sdk->configure("partner-token", LXEnvironmentType::staging);
        return sdk;
    }

    void settle(const LXHotelsFermoSDK& sdk) {
        const auto settled = [&] { return std::ranges::count(states(sdk), State::loading) == 0; };
        ASSERT_TRUE(runMainLoopUntil(settled, kPatience)) << ::testing::PrintToString(states(sdk));
    }

    void awaitLog(const std::string& message) {
        const auto logged = [&] {
            const auto logs = service.logs();
            return std::ranges::any_of(logs, [&](const auto& r) { return r.value("message", "") == message; });
        };
        ASSERT_TRUE(runMainLoopUntil(logged, kPatience)) << message;
    }

    std::string storeFile() const { return fileText(dir / "sessionStore.cache"); }
    // The file is saved on the worker, after the rooms may have settled.
    void awaitStored(const std::string& part) {
        ASSERT_TRUE(runMainLoopUntil([&] { return storeFile().find(part) != std::string::npos; }, kPatience))
            << part << " not in " << storeFile();
    }

    FermoTestService service;
    TempDir dir;
};

TEST_F(CoreAgainstService, RoomsAcrossHotelsGetOneSignedRequestPerBookingAndHotel) {
    service.setClientRegion("EU");
    service.setExperiments(R"({"bigButton":true})");
    service.setRoomOutcome("B1", Outcome::baseOffer);  // as lxfermo demo scripts its rooms
    service.setRoomOutcome("C2", Outcome::unavailable);
    auto sdk = makeSdk();
    const std::vector<LXRoomDetails> rooms = {makeRoom("A1", "hotel-a"), makeRoom("B1", "hotel-b"),
                                              makeRoom("A2", "hotel-a"), makeRoom("C1", "hotel-c"),
                                              makeRoom("A3", "hotel-a", "2024-07-01"), makeRoom("C2", "hotel-c")};
    sdk->cacheOffers(rooms);
    settle(*sdk);

    EXPECT_THAT(states(*sdk), ElementsAre(State::available, State::unavailable, State::available, State::available,
                                          State::available, State::unavailable));
    EXPECT_EQ(service.count("sessions"), 1);
    ASSERT_EQ(service.count("fermo_offers"), 4);
    std::vector<std::vector<std::string>> batches;
    for (const auto& request : service.requests("fermo_offers")) {
        std::vector<std::string> ids;
        const auto body = request.json();
        for (const auto& room : body["rooms"]) ids.push_back(room["id"]);
        batches.push_back(ids);
        EXPECT_EQ(request.header("LX-Session-ID"), service.sessionIds().at(0));
    }
    EXPECT_THAT(batches, ElementsAre(ElementsAre("A1", "A2"), ElementsAre("B1"), ElementsAre("C1", "C2"),
                                     ElementsAre("A3")));

    const auto& board = FacadeAccess::board(*sdk);
    ASSERT_EQ(board.responseCount(), rooms.size());
    EXPECT_EQ(board.response(rooms[1])->type, LXOfferResponseType::signedBaseOffer);
    const json::Encoder snakeCase(json::KeyEncoding::convertToSnakeCase);
    for (const auto& room : rooms) {
        const LXOfferResponse* response = board.response(room);
        ASSERT_NE(response, nullptr) << roomId(room);
        EXPECT_EQ(response->offer.roomId, roomId(room));
        EXPECT_EQ(response->clientRegion, "EU");
        ASSERT_TRUE(response->featureFlags.has_value());
        EXPECT_EQ(response->featureFlags->at("bigButton"), CodableValue{true});
        // The signature covers the offer and type as the service sent them.
        EXPECT_TRUE(service.verifySignature(nlohmann::json::parse(snakeCase.encode(*response)))) << roomId(room);
    }
    // Without this, a check that passes anything would make the one above empty.
    auto tampered = nlohmann::json::parse(snakeCase.encode(*board.response(rooms[0])));
    tampered["offer"]["conditions"]["deposit"] = "1.00";
    EXPECT_FALSE(service.verifySignature(tampered));
    EXPECT_THAT(service.rejected(), IsEmpty());
}

TEST_F(CoreAgainstService, ANewUserEmptiesTheStoreThenGetsANewSessionAndFreshOffers) {
    auto sdk = makeSdk();
    sdk->cacheOffers({makeRoom("A1", "hotel-a"), makeRoom("B1", "hotel-b")});
    settle(*sdk);
    awaitStored("sessionId");
    const std::string stored = storeFile();

    sdk->updateUser(std::nullopt);  // same (absent) user: nothing happens
    EXPECT_EQ(storeFile(), stored);
    EXPECT_THAT(states(*sdk), ::testing::Each(State::available));

    sdk->updateUser("user-2");
    EXPECT_THAT(states(*sdk), ElementsAre(State::loading, State::loading));
    // Emptied on the worker, well before the new session is asked for.
    ASSERT_TRUE(runMainLoopUntil([&] { return storeFile() == "[]"; }, kPatience));
    settle(*sdk);
    EXPECT_THAT(states(*sdk), ElementsAre(State::available, State::available));
    ASSERT_EQ(service.count("sessions"), 2);
    EXPECT_FALSE(service.requests("sessions")[0].json().contains("partner_user_id"));
    EXPECT_EQ(service.requests("sessions")[1].json()["partner_user_id"], "user-2");
    EXPECT_EQ(service.count("fermo_offers"), 4);
    const auto oldId = service.requests("fermo_offers").front().header("LX-Session-ID");
    const auto newId = service.requests("fermo_offers").back().header("LX-Session-ID");
    EXPECT_NE(oldId, newId);
    EXPECT_EQ(service.requests("fermo_offers")[2].header("LX-Session-ID"), newId);
    awaitStored("user-2");

    const std::string renewed = storeFile();
    sdk->updateUser("user-2");  // unchanged: no refresh, store kept
    EXPECT_THAT(states(*sdk), ::testing::Each(State::available));
    EXPECT_EQ(storeFile(), renewed);
    EXPECT_THAT(service.rejected(), IsEmpty());
}

TEST_F(CoreAgainstService, LogsReachTheIntakeOnlyOnceASessionExists) {
    Fault once500;
    once500.status = 500;
    once500.count = 1;
    service.setFault("sessions", once500);
    auto sdk = makeSdk();
    // A's batch loses its session before any logger exists; B's gets one.
    sdk->cacheOffers({makeRoom("A1", "hotel-a"), makeRoom("B1", "hotel-b")});
    ASSERT_TRUE(runMainLoopUntil([&] { return states(*sdk)[1] == State::available; }, kPatience));
    EXPECT_EQ(states(*sdk)[0], State::loading);

    Fault offers500;
    offers500.status = 500;
    service.setFault("fermo_offers", offers500);
    sdk->refreshCachedOffers(LXRefresh::errorsOnly);  // retries A only
    const std::string failure = "fetchOffers error message: fetchOffers statusCode error\ncode: 500";
    awaitLog(failure);

    const auto sessionId = service.requests("fermo_offers").front().header("LX-Session-ID").value();
    const auto logs = service.logs();
    for (const auto& record : logs) {
        EXPECT_THAT(record.value("message", ""), ::testing::Not(::testing::HasSubstr("session.current error")));
        EXPECT_EQ(record["data"]["jsonPayload"]["session_id"], sessionId);
    }
    const auto it = std::find_if(logs.begin(), logs.end(), [&](const auto& r) { return r["message"] == failure; });
    ASSERT_NE(it, logs.end());
    EXPECT_EQ((*it)["status"], "error");
    EXPECT_EQ((*it)["data"]["jsonPayload"]["env"], "staging");
    EXPECT_THAT(service.requests("/api/v2/logs"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(service.rejected(), IsEmpty());
}

}  // namespace
}  // namespace lxhf::test
