// `lxfermo host` as a subprocess against an in-process test service.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "FermoTestService.h"
#include "LxfermoProcess.h"
#include "support/MainLoop.h"
#include "support/HostileJson.h"
#include "support/TempDir.h"

namespace lxhf::test {
namespace {

using ::testing::StartsWith;

Json room(const std::string& hotelId, const std::string& roomId) {
    return {{"booking", {{"stayDates", {{"checkIn", "2026-05-01"}, {"checkOut", "2026-05-03"}}},
                         {"guests", {{"adults", 2}, {"children", 1}}}, {"locale", "en_GB"}, {"currency", "GBP"},
                         {"numberOfRooms", 1}}},
            {"hotel", {{"id", hotelId}, {"name", "Hotel " + hotelId}, {"starRating", "5"},
                       {"address", {{"line", "2 Quay"}, {"city", "Bristol"}, {"countryCode", "GB"}}}}},
            {"room", {{"id", roomId}, {"merchantId", "M-9"}, {"name", "Room " + roomId}, {"beds", 2},
                      {"price", "100.00"}, {"roomType", "double"}, {"cancellationCode", "NR"},
                      {"rateCategoryId", "RC"}, {"availability", 1}, {"imageUrl", "https://img.example/" + roomId},
                      {"priceInclusive", "100.00"}, {"extAttributes", {{"floor", "3"}}}}}};
}

auto is(const char* name) {
    return [name](const Json& e) { return e.value("event", "") == name; };
}

std::string allFilesIn(const std::filesystem::path& dir) {
    std::string all;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir))
        if (entry.is_regular_file()) all += fileText(entry.path());
    return all;
}

class HostCommand : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(service.startOnOwnThread(&error)) << error;
    }

    std::vector<std::string> hostArgs() const {
        return {"host", "--api-base", service.apiBase(), "--microsite-base", service.micrositeBase(),
                "--ca-file", service.caFile(), "--cache-dir", cache.path().string(),
                "--intake-url", service.intakeUrl()};
    }

    // Configures the host and caches `rooms` until all are available.
    void cacheUntilAvailable(LxfermoProcess& host, const Json& rooms, const char* environment = "production") {
        ASSERT_TRUE(host.started());
        EXPECT_EQ(host.nextEvent(), Json({{"event", "ready"}}));
        host.send(Json{{"cmd", "configure"}, {"token", "partner-token"}, {"environment", environment}});
        host.send(Json{{"cmd", "cacheOffers"}, {"rooms", rooms}});
        ASSERT_TRUE(host.eventWhere([&](const Json& e) {
            if (!is("offers")(e) || e["offers"].size() != rooms.size()) return false;
            for (const auto& offer : e["offers"])
                if (!offer["state"].contains("available")) return false;
            return true;
        })) << Json(host.seen()).dump();
    }

    testing::FermoTestService service;
    TempDir cache;
};

TEST_F(HostCommand, DrivesOffersAndShownEventsAndKeepsReadingAfterBadLines) {
    LxfermoProcess host(hostArgs());
    const Json rooms = Json::array({room("H1", "A1"), room("H1", "A2"), room("H2", "B1")});
    cacheUntilAvailable(host, rooms);

    // The first change lists every room as loading, in the order given.
    const auto first = std::find_if(host.seen().begin(), host.seen().end(), is("offers"));
    ASSERT_NE(first, host.seen().end());
    ASSERT_EQ((*first)["offers"].size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ((*first)["offers"][i]["state"], Json({{"loading", Json::object()}}));
        EXPECT_EQ((*first)["offers"][i]["roomDetails"], rooms[i]);
    }
    EXPECT_EQ(service.count("fermo_offers"), 2);  // one per hotel, none to the production hosts

    host.send(Json{{"cmd", "shown"}, {"room", rooms[2]}});
    host.send(Json{{"cmd", "wait"}, {"seconds", 2.5}});
    ASSERT_TRUE(host.eventWhere(is("waited"), 10));
    ASSERT_EQ(service.count("events/batch"), 1);
    const auto batch = service.requests("events/batch").front();
    EXPECT_TRUE(batch.accepted) << batch.reason;
    EXPECT_EQ(batch.json().size(), 1u);

    host.send(std::string("{\"cmd\": \"configure\", "));  // cut short
    EXPECT_EQ(host.nextEvent(), Json({{"event", "error"}, {"message", "line 5: not valid JSON"}}));
    host.send(R"({"cmd":"configure","token":)" + deepObject() + "}");
    EXPECT_EQ(host.nextEvent(), Json({{"event", "error"}, {"message", "line 6: not valid JSON"}}));
    host.send(Json{{"cmd", "fly"}});
    host.send(Json{{"cmd", "refresh"}, {"type", "some"}});
    host.send(Json{{"cmd", "cacheOffers"}, {"rooms", Json::array({Json{{"hotel", {}}}})}});
    host.send(Json{{"cmd", "shown"}, {"room", room("H3", "C1")}});  // never cached
    host.send(Json{{"cmd", "wait"}, {"seconds", 0}});
    ASSERT_TRUE(host.eventWhere(is("waited"), 5));
    EXPECT_EQ(std::count_if(host.seen().begin(), host.seen().end(), is("error")), 6) << Json(host.seen()).dump();

    // The purchase page's calls, as a host with a web view of its own makes them.
    host.send(Json{{"cmd", "purchaseAddress"}, {"room", rooms[0]}});
    const auto address = host.eventWhere(is("purchaseAddress"));
    ASSERT_TRUE(address && (*address)["url"].is_string()) << Json(host.seen()).dump();
    EXPECT_THAT((*address)["url"].get<std::string>(), StartsWith(service.micrositeBase() + "?token=partner-token&"));
    host.send(Json{{"cmd", "purchaseAddress"}, {"room", room("H3", "C1")}});
    EXPECT_EQ(host.eventWhere(is("purchaseAddress")),
              Json({{"event", "purchaseAddress"}, {"url", nullptr}, {"reason", "noResponse"},
                    {"message", "offerResponse is not a signedFullOffer"}}));
    host.send(Json{{"cmd", "pageMessage"}, {"body", {{"eventName", "error"}, {"data", {{"message", "Card declined"}}}}}});
    EXPECT_EQ(host.eventWhere(is("pageMessage")),
              Json({{"event", "pageMessage"}, {"action", "error"},
                    {"result", {{"error", {{"error", {{"message", "Card declined"}}}}}}},
                    {"stopSpinner", false}, {"dismiss", true}}));
    host.send(Json{{"cmd", "pageMessage"}, {"body", {{"eventName", "ready"}, {"data", Json::object()}}},
                   {"handler", "OtherBridge"}});
    EXPECT_EQ(host.eventWhere(is("pageMessage")).value_or(Json())["action"], "malformed");
    host.send(Json{{"cmd", "pageMessage"}, {"handler", "CorvaneSDKBridge"}});
    EXPECT_EQ(host.nextEvent(),
              Json({{"event", "error"},
                    {"message", "line 16: pageMessage needs \"body\" (the message the page posted, any JSON value)"}}));
    host.send(Json{{"cmd", "quit"}});
    EXPECT_EQ(host.exitCode(), 0);
    EXPECT_EQ(service.count("events/batch"), 1);
}

TEST_F(HostCommand, TakesTheFetchPolicyFromItsOptions) {
    testing::Fault slow;
    slow.delaySeconds = 0.1;
    service.setFault("sessions", slow);
    slow.delaySeconds = 2.0;  // outlasts ten TLS handshakes on a loaded machine
    service.setFault("fermo_offers", slow);
    Json rooms = Json::array();
    for (int r = 0; r < 10; ++r)
        for (int h = 0; h < 10; ++h) rooms.push_back(room("H" + std::to_string(h), "R" + std::to_string(h * 10 + r)));
    auto args = hostArgs();
    for (const char* option : {"--max-concurrent-batches", "10", "--retry", "--requeue-late-rooms"})
        args.push_back(option);
    LxfermoProcess host(args);
    cacheUntilAvailable(host, rooms);
    EXPECT_EQ(service.count("sessions"), 1);
    EXPECT_EQ(service.count("fermo_offers"), 10);
    int peak = 0;
    for (const auto& r : service.requests("fermo_offers")) peak = std::max(peak, r.concurrent);
    EXPECT_EQ(peak, 10);
    host.send(Json{{"cmd", "quit"}});
    EXPECT_EQ(host.exitCode(), 0);
}

TEST_F(HostCommand, OnlyTerminateEmptiesTheStoredSession) {
    const Json rooms = Json::array({room("H1", "A1")});
    std::string sessionId;
    {
        LxfermoProcess host(hostArgs());
        cacheUntilAvailable(host, rooms);
        ASSERT_EQ(service.sessionIds().size(), 1u);
        sessionId = service.sessionIds().front();
        // The file is written in the background; a quit only promises not to empty it.
        ASSERT_TRUE(runMainLoopUntil([&] { return allFilesIn(cache.path()).find(sessionId) != std::string::npos; }, 5));
        host.closeInput();
        EXPECT_EQ(host.exitCode(), 0);
    }
    EXPECT_NE(allFilesIn(cache.path()).find(sessionId), std::string::npos) << "end of input kept the session";

    LxfermoProcess host(hostArgs());
    cacheUntilAvailable(host, rooms, "staging");
    EXPECT_EQ(service.sessionIds().size(), 1u) << "the stored session was reused";
    host.send(Json{{"cmd", "terminate"}});
    host.send(Json{{"cmd", "wait"}, {"seconds", 0.2}});
    ASSERT_TRUE(host.eventWhere(is("waited"), 5));
    EXPECT_EQ(allFilesIn(cache.path()).find(sessionId), std::string::npos);
    host.send(Json{{"cmd", "quit"}});
    EXPECT_EQ(host.exitCode(), 0);
}

}  // namespace
}  // namespace lxhf::test
