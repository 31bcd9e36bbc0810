// Requests that break the contract are refused and recorded; scripted faults
// change answers for as many calls as asked; TLS trust is the client's to give.

#include "ServiceTestClient.h"
#include "testservice/FermoTestService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <glib.h>

using namespace lxhf::testing;
using nlohmann::json;
using ::testing::HasSubstr;

namespace {

class FermoContract : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(service.start(&error)) << error;
        client = std::make_unique<ServiceTestClient>(service.caFile());
        session = client->send("POST", api("sessions"), bearer(), sampleSessionInputs().dump()).json().value("id", "");
        ASSERT_FALSE(session.empty());
        service.clear();
    }

    std::string api(const std::string& path) const { return service.apiBase() + path; }
    Headers withSession(const std::string& id) const {
        Headers headers = bearer();
        headers.emplace_back("LX-Session-ID", id);
        return headers;
    }
    json event(const std::string& sessionId, const std::string& when = "2024-03-01T09:05:03Z") const {
        return json::array({{{"session_id", sessionId}, {"occurred_date_time", when},
                             {"fermo_offer_id", "fo_1"}, {"type", "offer_shown"}}});
    }

    FermoTestService service;
    std::unique_ptr<ServiceTestClient> client;
    std::string session;
};

json editedOffers(const std::function<void(json&)>& edit) {
    json body = sampleOfferRequest({sampleRoom("R1")});
    edit(body);
    return body;
}

}  // namespace

TEST_F(FermoContract, BrokenRequestsAreRefusedWithAReasonAndRecorded) {
    struct Case {
        std::string method, url;
        Headers headers;
        std::string body;
        int status;
        std::string reason;
    };
    json camel = sampleSessionInputs();
    camel["partnerUserId"] = camel["partner_user_id"];
    camel.erase("partner_user_id");
    json phone = sampleSessionInputs();
    phone["device"]["type"] = "phone";
    const std::string logs = service.intakeUrl() + "?ddsource=iOS&dd-api-key=pub3c9e41b07d5a2f68e1b4c7a90d2f5e83&ddtags=";
    const json record = json::parse(R"({"service": "lx-hotels-fm-sdk", "version": "0.1.0", "source": "iOS",
        "message": "m", "status": "info", "data": {"jsonPayload": {"env": "production", "partner": "Velto", "locale": "en"}}})");
    const Headers jsonType = {{"Content-Type", "application/json"}};

    const std::vector<Case> cases = {
        {"POST", api("sessions"), {}, sampleSessionInputs().dump(), 401, "missing Authorization header"},
        {"POST", api("sessions"), {{"Authorization", "Token abc"}}, sampleSessionInputs().dump(), 401, "is not \"Bearer"},
        {"POST", api("sessions"), bearer(), camel.dump(), 400, "key partnerUserId is not snake case"},
        {"POST", api("sessions"), bearer(), phone.dump(), 400, "device.type has the unexpected value \"phone\""},
        {"GET", api("sessions"), bearer(), "", 405, "method GET not allowed"},
        {"POST", api("fermo_offers"), bearer(), sampleOfferRequest({sampleRoom("R1")}).dump(), 400, "missing LX-Session-ID"},
        {"POST", api("fermo_offers"), withSession("made-up"), sampleOfferRequest({sampleRoom("R1")}).dump(), 403, "not a known session"},
        {"POST", api("fermo_offers"), withSession(session), editedOffers([](json& b) { b["rooms"][0]["beds"] = "2"; }).dump(), 400, "rooms[0].beds must be an integer"},
        {"POST", api("fermo_offers"), withSession(session), editedOffers([](json& b) { b["rooms"][0]["price"] = 199; }).dump(), 400, "rooms[0].price must be a string"},
        {"POST", api("fermo_offers"), withSession(session), editedOffers([](json& b) { b["hotel"]["star_rating"] = 4; }).dump(), 400, "hotel.star_rating must be a string"},
        {"POST", api("fermo_offers"), withSession(session), editedOffers([](json& b) { b["rooms"][0]["image_url"] = "https://x/y.jpg"; }).dump(), 400, "rooms[0].image_url must not be sent"},
        {"POST", api("fermo_offers"), withSession(session), editedOffers([](json& b) { b["rooms"][0]["merchant_room_id"] = nullptr; }).dump(), 400, "rooms[0].merchant_room_id is null"},
        {"POST", api("fermo_offers"), withSession(session), editedOffers([](json& b) { b["booking"].erase("currency"); }).dump(), 400, "missing key booking.currency"},
        {"POST", api("fermo_offers"), withSession(session), editedOffers([](json& b) { b["type"] = "offers"; }).dump(), 400, "type has the unexpected value"},
        {"POST", api("fermo_offers"), withSession(session), R"({"hotel": {"id": )", 400, "body is not valid JSON"},
        {"POST", api("events/batch"), withSession(session), event(session).dump(), 400, "LX-Session-ID must not be sent"},
        {"POST", api("events/batch"), bearer(), event("S-unknown").dump(), 403, "[0].session_id is not a known session"},
        {"POST", api("events/batch"), bearer(), event(session, "2024-03-01T09:05:03.120Z").dump(), 400, "not yyyy-MM-ddTHH:mm:ssZ"},
        {"POST", api("events/batch"), bearer(), event(session)[0].dump(), 400, "body must be an array"},
        {"POST", logs + "env:production,version:0.1.0", {}, record.dump(), 400, "Content-Type application/json"},
        {"POST", logs + "env:staging,version:0.1.0", jsonType, record.dump(), 400, "differs from ddtags"},
        {"POST", logs + "env:production,version:9", jsonType, record.dump(), 400, "wrong ddtags"},
        {"POST", service.baseUrl() + "/api/hotels/v2/sessions", bearer(), "{}", 404, "no route for /api/hotels/v2/sessions"},
    };
    for (const auto& c : cases) {
        const Reply reply = client->send(c.method, c.url, c.headers, c.body);
        EXPECT_EQ(reply.status, c.status) << c.url << " " << c.reason;
        EXPECT_THAT(reply.json().value("reason", ""), HasSubstr(c.reason)) << c.url;
    }
    const auto refused = service.rejected();
    ASSERT_EQ(refused.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        EXPECT_THAT(refused[i].reason, HasSubstr(cases[i].reason));
        EXPECT_EQ(refused[i].status, cases[i].status);
    }

    // What an unconfigured client sends is tolerated, and noted.
    service.clear();
    EXPECT_EQ(client->send("POST", api("sessions"), {{"Authorization", "Bearer "}}, sampleSessionInputs().dump()).status, 201);
    EXPECT_TRUE(service.rejected().empty());
    EXPECT_THAT(service.requests("sessions").front().notes, ::testing::ElementsAre("empty bearer token"));
}

TEST_F(FermoContract, FaultsChangeStatusBodyHeadersTimingAndConnectionForTheirCount) {
    service.setFault("sessions", Fault{.status = 200, .count = 1});
    EXPECT_EQ(client->send("POST", api("sessions"), bearer(), sampleSessionInputs().dump()).status, 200);
    EXPECT_EQ(client->send("POST", api("sessions"), bearer(), sampleSessionInputs().dump()).status, 201);
    const auto sessions = service.requests("sessions");
    EXPECT_TRUE(sessions[0].faulted && sessions[0].accepted && sessions[0].status == 201);
    EXPECT_FALSE(sessions[1].faulted);

    const std::string offers = sampleOfferRequest({sampleRoom("R1")}).dump();
    service.setFault("fermo_offers", Fault{.body = R"([{"offer": {"hotel_id": )",
                                           .headers = {{"x-client-region", std::nullopt}, {"lx-experiments", "not json"}},
                                           .count = 2});
    for (int i = 0; i < 2; ++i) {
        const Reply faulted = client->send("POST", api("fermo_offers"), withSession(session), offers);
        EXPECT_EQ(faulted.status, 201);
        EXPECT_EQ(faulted.body, R"([{"offer": {"hotel_id": )");
        EXPECT_EQ(faulted.header("x-client-region"), "");
        EXPECT_EQ(faulted.header("lx-experiments"), "not json");
    }
    EXPECT_EQ(client->send("POST", api("fermo_offers"), withSession(session), offers).header("x-client-region"), "EU");

    // A delayed answer leaves the loop free to serve others meanwhile.
    service.setFault("sessions", Fault{.delaySeconds = 1.0, .count = 1});
    const int slow = client->begin("POST", api("sessions"), bearer(), sampleSessionInputs().dump());
    const int fast = client->begin("POST", api("events/batch"), bearer(), event(session).dump());
    while (!client->done(slow)) {
        g_main_context_iteration(nullptr, TRUE);
        if (client->done(slow)) {
            EXPECT_TRUE(client->done(fast));
        }
    }
    EXPECT_EQ(client->reply(slow).status, 201);
    EXPECT_GE(client->reply(slow).seconds, 0.95);
    EXPECT_EQ(client->reply(fast).status, 204);

    service.setFault("events/batch", Fault{.drop = true});  // every call
    for (int i = 0; i < 2; ++i) {
        const Reply dropped = client->send("POST", api("events/batch"), bearer(), event(session).dump());
        EXPECT_EQ(dropped.status, 0);
        EXPECT_FALSE(dropped.error.empty());
    }
    service.clearFaults();
    EXPECT_EQ(client->send("POST", api("events/batch"), bearer(), event(session).dump()).status, 204);

    std::string error;
    ASSERT_TRUE(service.loadFaults(R"({"fermo_offers": {"status": 500, "body": {"reason": "boom"}, "count": 1},
                                       "/api/hotels/v1.0/events/batch": {"delay": 0.1, "status": 201}})", &error)) << error;
    const Reply boom = client->send("POST", api("fermo_offers"), withSession(session), offers);
    EXPECT_EQ(boom.status, 500);
    EXPECT_EQ(boom.json(), json({{"reason", "boom"}}));
    EXPECT_EQ(client->send("POST", api("fermo_offers"), withSession(session), offers).status, 201);
    EXPECT_EQ(client->send("POST", api("events/batch"), bearer(), event(session).dump()).status, 201);
    EXPECT_FALSE(service.loadFaults(R"({"sessions": {"stauts": 500}})", &error));
    EXPECT_THAT(error, HasSubstr("unknown key stauts"));
    EXPECT_FALSE(service.loadFaults("[1, 2", &error));

    EXPECT_TRUE(service.rejected().empty());
}

TEST(FermoServiceThread, OwnThreadServesTrustedClientsOnlyAndCleansUp) {
    FermoTestService service;
    const gint64 before = g_get_monotonic_time();
    std::string error;
    ASSERT_TRUE(service.startOnOwnThread(&error)) << error;
    EXPECT_LT(static_cast<double>(g_get_monotonic_time() - before) / G_USEC_PER_SEC, 1.0);
    EXPECT_FALSE(service.startOnOwnThread(&error));
    EXPECT_EQ(service.baseUrl(), "https://127.0.0.1:" + std::to_string(service.port()));
    const std::string ca = service.caFile();
    ASSERT_TRUE(g_path_is_absolute(ca.c_str()));
    ASSERT_TRUE(g_file_test(ca.c_str(), G_FILE_TEST_EXISTS));

    {
        ServiceTestClient untrusted("");
        const Reply refused = untrusted.send("POST", service.apiBase() + "sessions", bearer(), sampleSessionInputs().dump());
        EXPECT_EQ(refused.status, 0);
        EXPECT_THAT(refused.error, HasSubstr("TLS certificate"));
    }
    EXPECT_EQ(service.count("sessions"), 0);  // refused before any HTTP was spoken

    ServiceTestClient trusted(ca);
    const int pending = trusted.begin("POST", service.apiBase() + "sessions", bearer(), sampleSessionInputs().dump());
    while (!trusted.done(pending)) g_main_context_iteration(nullptr, TRUE);
    EXPECT_EQ(trusted.reply(pending).status, 201);
    EXPECT_TRUE(service.waitForCount("sessions", 1, 1.0));
    EXPECT_FALSE(service.waitForCount("sessions", 2, 0.05));
    EXPECT_TRUE(service.rejected().empty());

    service.stop();
    EXPECT_FALSE(service.isRunning());
    EXPECT_FALSE(g_file_test(ca.c_str(), G_FILE_TEST_EXISTS));
}
