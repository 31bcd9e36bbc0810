// `lxfermo host` as a subprocess against an in-process test service.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "FermoTestService.h"
#include "LxfermoProcess.h"
#include "support/TempDir.h"

namespace {

using nlohmann::json;
using lxhf::test::LxfermoProcess;

// A room in its JSON form with field names as keys.
json room(const std::string& hotelId, const std::string& roomId, const std::string& price) {
    return json{{"booking",
                 {{"stayDates", {{"checkIn", "2026-05-01"}, {"checkOut", "2026-05-03"}}},
                  {"guests", {{"adults", 2}, {"children", 1}}},
                  {"locale", "en_GB"},
                  {"currency", "GBP"},
                  {"numberOfRooms", 1}}},
                {"hotel",
                 {{"id", hotelId},
                  {"name", "Hotel " + hotelId},
                  {"starRating", "5"},
                  {"address", {{"line", "2 Quay"}, {"city", "Bristol"}, {"countryCode", "GB"}}}}},
                {"room",
                 {{"id", roomId},
                  {"merchantId", "M-9"},
                  {"name", "Room " + roomId},
                  {"beds", 2},
                  {"price", price},
                  {"roomType", "double"},
                  {"cancellationCode", "NR"},
                  {"rateCategoryId", "RC"},
                  {"availability", 1},
                  {"imageUrl", "https://img.example/" + roomId},
                  {"priceInclusive", price},
                  {"extAttributes", {{"floor", "3"}}}}}};
}

bool isOffers(const json& e) { return e.value("event", "") == "offers"; }
bool isError(const json& e) { return e.value("event", "") == "error"; }
bool isWaited(const json& e) { return e.value("event", "") == "waited"; }

bool allAvailable(const json& e, std::size_t count) {
    if (!isOffers(e) || e["offers"].size() != count) return false;
    for (const auto& offer : e["offers"])
        if (!offer["state"].contains("available")) return false;
    return true;
}

std::string fileText(const std::filesystem::path& dir) {
    std::string all;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir, ignored)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream in(entry.path(), std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        all += text.str();
    }
    return all;
}

class HostCommand : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(service.startOnOwnThread(&error)) << error;
    }

    std::vector<std::string> hostArgs() const {
        return {"host",
                "--api-base", service.apiBase(),
                "--microsite-base", service.micrositeBase(),
                "--ca-file", service.caFile(),
                "--cache-dir", cache.path().string(),
                "--intake-url", service.intakeUrl()};
    }

    // Starts a host, configures it and caches `rooms`, until all are available.
    void cacheUntilAvailable(LxfermoProcess& host, const json& rooms) {
        ASSERT_TRUE(host.started());
        auto ready = host.nextEvent();
        ASSERT_TRUE(ready);
        EXPECT_EQ(*ready, json({{"event", "ready"}}));
        host.send(json{{"cmd", "configure"}, {"token", "partner-token"}, {"environment", "production"}});
        host.send(json{{"cmd", "cacheOffers"}, {"rooms", rooms}});
        ASSERT_TRUE(host.eventWhere([&](const json& e) { return allAvailable(e, rooms.size()); }))
            << "events so far: " << json(host.seen()).dump();
    }

    lxhf::testing::FermoTestService service;
    lxhf::test::TempDir cache;
};

TEST_F(HostCommand, DrivesOffersAndShownEventsAndKeepsReadingAfterBadLines) {
    LxfermoProcess host(hostArgs());
    const json rooms = json::array({room("H1", "A1", "100.00"), room("H1", "A2", "150.00"), room("H2", "B1", "90.00")});
    cacheUntilAvailable(host, rooms);

    // The first change lists every room as loading, in the order given.
    const auto firstOffers = std::find_if(host.seen().begin(), host.seen().end(), isOffers);
    ASSERT_NE(firstOffers, host.seen().end());
    ASSERT_EQ((*firstOffers)["offers"].size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ((*firstOffers)["offers"][i]["state"], json({{"loading", json::object()}}));
        EXPECT_EQ((*firstOffers)["offers"][i]["roomDetails"], rooms[i]);
    }
    // The production hosts were never used: one request per hotel reached the local service.
    EXPECT_EQ(service.count("fermo_offers"), 2);

    host.send(json{{"cmd", "shown"}, {"room", rooms[2]}});
    host.send(json{{"cmd", "wait"}, {"seconds", 2.5}});
    ASSERT_TRUE(host.eventWhere(isWaited, 10));
    ASSERT_EQ(service.count("events/batch"), 1);
    const auto batch = service.requests("events/batch").front();
    EXPECT_TRUE(batch.accepted) << batch.reason;
    ASSERT_EQ(batch.json().size(), 1u);

    host.send(std::string("{\"cmd\": \"configure\", "));  // cut short
    auto error = host.nextEvent();
    ASSERT_TRUE(error);
    EXPECT_TRUE(isError(*error)) << error->dump();
    EXPECT_EQ((*error)["message"], "line 5: not valid JSON");

    host.send(json{{"cmd", "fly"}});
    host.send(json{{"cmd", "refresh"}, {"type", "some"}});
    host.send(json{{"cmd", "cacheOffers"}, {"rooms", json::array({json{{"hotel", {}}}})}});
    host.send(json{{"cmd", "shown"}, {"room", room("H3", "C1", "10.00")}});  // never cached
    host.send(json{{"cmd", "wait"}, {"seconds", 0}});
    ASSERT_TRUE(host.eventWhere(isWaited, 5));
    const auto errors = std::count_if(host.seen().begin(), host.seen().end(), isError);
    EXPECT_EQ(errors, 5) << json(host.seen()).dump();

    host.send(json{{"cmd", "quit"}});
    EXPECT_EQ(host.exitCode(), 0);
    EXPECT_EQ(service.count("events/batch"), 1);
}

TEST_F(HostCommand, OnlyTerminateEmptiesTheStoredSession) {
    const json rooms = json::array({room("H1", "A1", "100.00")});
    {
        LxfermoProcess host(hostArgs());
        cacheUntilAvailable(host, rooms);
        host.closeInput();
        EXPECT_EQ(host.exitCode(), 0);
    }
    ASSERT_EQ(service.sessionIds().size(), 1u);
    const std::string sessionId = service.sessionIds().front();
    EXPECT_NE(fileText(cache.path()).find(sessionId), std::string::npos) << "end of input kept the session";

    LxfermoProcess host(hostArgs());
    ASSERT_TRUE(host.nextEvent());
    host.send(json{{"cmd", "configure"}, {"token", "partner-token"}, {"environment", "staging"}});
    host.send(json{{"cmd", "cacheOffers"}, {"rooms", rooms}});
    ASSERT_TRUE(host.eventWhere([&](const json& e) { return allAvailable(e, 1); }));
    EXPECT_EQ(service.sessionIds().size(), 1u) << "the stored session was reused";
    host.send(json{{"cmd", "terminate"}});
    host.send(json{{"cmd", "wait"}, {"seconds", 0.2}});
    ASSERT_TRUE(host.eventWhere(isWaited, 5));
    EXPECT_EQ(fileText(cache.path()).find(sessionId), std::string::npos);
    host.send(json{{"cmd", "quit"}});
    EXPECT_EQ(host.exitCode(), 0);
}

}  // namespace
