// The test service answers a well-behaved client as the real one would, refuses
// and records contract breaks, plays scripted faults and trusts only its own CA.

#include "ServiceTestClient.h"
#include "support/HostileJson.h"
#include "testservice/FermoTestService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <glib.h>

#include <functional>
#include <regex>

using namespace lxhf::testing;
using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

const std::string kLogQuery = "?ddsource=iOS&dd-api-key=pub3c9e41b07d5a2f68e1b4c7a90d2f5e83&ddtags=";
const Headers kJsonType = {{"Content-Type", "application/json"}};

class FermoService : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(service.start(&error)) << error;
        client = std::make_unique<ServiceTestClient>(service.caFile());
    }
    std::string api(const std::string& path) const { return service.apiBase() + path; }
    std::string newSession() {
        return client->send("POST", api("sessions"), bearer(), sampleSessionInputs().dump()).json().value("id", "");
    }
    static Headers withSession(const std::string& id) {
        Headers headers = bearer();
        headers.emplace_back("LX-Session-ID", id);
        return headers;
    }
    Reply postOffers(const std::string& session, const json& body) {
        return client->send("POST", api("fermo_offers"), withSession(session), body.dump());
    }
    static json event(const std::string& session, const std::string& when = "2024-03-01T09:05:03Z") {
        return json::array({{{"session_id", session}, {"occurred_date_time", when},
                             {"fermo_offer_id", "fo_1"}, {"type", "offer_shown"}}});
    }

    FermoTestService service;
    std::unique_ptr<ServiceTestClient> client;
};

}  // namespace

TEST_F(FermoService, SessionOffersAndEventsFlowIsAcceptedAndSigned) {
    const Reply created = client->send("POST", api("sessions"), bearer(), sampleSessionInputs().dump());
    ASSERT_EQ(created.status, 201) << created.body;
    const std::string session = created.json().value("id", "");
    ASSERT_FALSE(session.empty());

    json detailed = sampleRoom("R1");
    detailed["merchant_room_id"] = "MR-1";
    detailed["promotion"] = {{"id", "P-1"}, {"expiry", "2025-07-01"}};
    detailed["is_refundable"] = false;
    const json request = sampleOfferRequest({detailed, sampleRoom("R2", "80.50")});
    const Reply offers = postOffers(session, request);
    ASSERT_EQ(offers.status, 201) << offers.body;
    EXPECT_EQ(offers.header("x-client-region"), "EU");
    EXPECT_EQ(json::parse(offers.header("lx-experiments")),
              json::parse(R"({"fermo_v2":true,"variant":"b","ratio":0.5,"limit":3})"));

    const json answer = offers.json();
    ASSERT_EQ(answer.size(), 2u);
    const json& first = answer[0];
    EXPECT_EQ(first["type"], "signed_full_offer");
    EXPECT_EQ(first["offer"]["hotel_id"], "H-100");
    EXPECT_EQ(first["offer"]["room"], detailed);
    EXPECT_EQ(first["offer"]["booking"], sampleBooking());
    EXPECT_EQ(first["offer"]["merchant_room_id"], "MR-1");
    EXPECT_EQ(answer[1]["offer"]["merchant_room_id"], "R2");  // required in the answer even when not asked with
    const json& conditions = first["offer"]["conditions"];
    EXPECT_EQ(conditions["currency"], "EUR");
    EXPECT_EQ(conditions["frozen_price_total"], "398.00");  // two rooms booked
    EXPECT_EQ(conditions["deposit"], "19.90");
    EXPECT_EQ(conditions["deposit_total"], "39.80");
    EXPECT_EQ(conditions["cap"], "29.85");
    const std::regex dateTime(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)");
    EXPECT_TRUE(std::regex_match(conditions["offer_expiry"].get<std::string>(), dateTime));
    EXPECT_TRUE(std::regex_match(conditions["freeze_expiry"].get<std::string>(), dateTime));

    EXPECT_TRUE(service.verifySignature(first));
    EXPECT_TRUE(service.verifySignatureText(answer[1].dump()));
    json tampered = first;
    tampered["offer"]["conditions"]["deposit"] = "1.00";
    EXPECT_FALSE(service.verifySignature(tampered));
    tampered = first;
    tampered["type"] = "signed_base_offer";
    EXPECT_FALSE(service.verifySignature(tampered));
    EXPECT_FALSE(FermoTestService().verifySignature(first));  // another instance, another key

    const std::string offerId = first["offer"]["id"];
    EXPECT_NE(offerId, answer[1]["offer"]["id"]);
    EXPECT_EQ(postOffers(session, sampleOfferRequest({detailed})).json()[0]["offer"]["id"], offerId);

    const Reply sent = client->send("POST", api("events/batch"), bearer(), event(session).dump());
    EXPECT_EQ(sent.status, 204);
    EXPECT_TRUE(sent.body.empty());

    EXPECT_TRUE(service.rejected().empty());
    EXPECT_EQ(service.count("sessions"), 1);
    EXPECT_EQ(service.count("fermo_offers"), 2);
    EXPECT_EQ(service.count("/api/hotels/v1.0/events/batch"), 1);
    const auto recorded = service.requests("fermo_offers").front();
    EXPECT_EQ(recorded.header("lx-session-id"), session);
    EXPECT_EQ(recorded.json(), request);
    EXPECT_TRUE(recorded.accepted);
    EXPECT_THAT(service.sessionIds(), ElementsAre(session));
}

TEST_F(FermoService, RoomOutcomesShapeTheOffersAnswerAndLogsAreRecorded) {
    service.setRoomOutcome("B", Outcome::baseOffer);
    service.setRoomOutcome("U", Outcome::unavailable);
    service.setRoomOutcome("L", Outcome::loadingType);
    service.setRoomOutcome("O", Outcome::omitted);
    service.setRoomOutcome("M", Outcome::malformed);
    service.setClientRegion(std::nullopt);
    service.setExperiments(R"({"variant":"a"})");
    const Reply reply = postOffers(newSession(), sampleOfferRequest({sampleRoom("F"), sampleRoom("B"), sampleRoom("U"),
                                                                     sampleRoom("L"), sampleRoom("O"), sampleRoom("M")}));
    ASSERT_EQ(reply.status, 201);
    EXPECT_EQ(reply.header("x-client-region"), "");
    EXPECT_EQ(reply.header("lx-experiments"), R"({"variant":"a"})");
    const json answer = reply.json();
    std::vector<std::string> rooms, types;
    for (const json& element : answer) {
        rooms.push_back(element["offer"]["room_id"]);
        types.push_back(element["type"]);
    }
    EXPECT_THAT(rooms, ElementsAre("F", "B", "U", "L", "M"));
    EXPECT_THAT(types, ElementsAre("signed_full_offer", "signed_base_offer", "unavailable_offer", "loading",
                                   "signed_full_offer"));
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(service.verifySignature(answer[i])) << i;
    EXPECT_FALSE(answer[4]["offer"].contains("merchant_room_id"));

    const std::string url = service.intakeUrl() + kLogQuery + "env:staging,version:0.1.0";
    const json record = json::parse(R"({"service": "lx-hotels-fm-sdk", "version": "0.1.0", "source": "iOS",
        "message": "No offers fetched", "status": "warn",
        "data": {"jsonPayload": {"env": "staging", "partner": "Velto", "session_id": "S1", "locale": "en_GB"}}})");
    json withoutSession = record;
    withoutSession["data"]["jsonPayload"].erase("session_id");
    EXPECT_EQ(client->send("POST", url, kJsonType, record.dump()).status, 202);
    EXPECT_EQ(client->send("POST", url, kJsonType, withoutSession.dump()).status, 202);
    EXPECT_THAT(service.logs(), ElementsAre(record, withoutSession));
    EXPECT_TRUE(service.rejected().empty());
}

TEST_F(FermoService, BrokenRequestsAreRefusedWithAReasonAndRecorded) {
    const std::string session = newSession();
    ASSERT_FALSE(session.empty());
    service.clear();
    const auto edited = [](const std::function<void(json&)>& edit) {
        json body = sampleOfferRequest({sampleRoom("R1")});
        edit(body);
        return body.dump();
    };
    json camel = sampleSessionInputs();
    camel["partnerUserId"] = camel["partner_user_id"];
    camel.erase("partner_user_id");
    json phone = sampleSessionInputs();
    phone["device"]["type"] = "phone";
    const std::string logs = service.intakeUrl() + kLogQuery;
    const std::string record = R"({"service": "lx-hotels-fm-sdk", "version": "0.1.0", "source": "iOS", "message": "m",
        "status": "info", "data": {"jsonPayload": {"env": "production", "partner": "Velto", "locale": "en"}}})";
    const std::string inputs = sampleSessionInputs().dump(), offers = sampleOfferRequest({sampleRoom("R1")}).dump();
    const Headers ours = withSession(session);
    const std::string deep = lxhf::test::deepObject();
    struct Case {
        std::string method, url;
        Headers headers;
        std::string body;
        int status;
        std::string reason;
    };
    const std::vector<Case> cases = {
        {"POST", api("sessions"), {}, inputs, 401, "missing Authorization header"},
        {"POST", api("sessions"), {{"Authorization", "Token abc"}}, inputs, 401, "is not \"Bearer"},
        {"POST", api("sessions"), bearer(), camel.dump(), 400, "key partnerUserId is not snake case"},
        {"POST", api("sessions"), bearer(), phone.dump(), 400, "device.type has the unexpected value \"phone\""},
        {"GET", api("sessions"), bearer(), "", 405, "method GET not allowed"},
        {"POST", api("fermo_offers"), bearer(), offers, 400, "missing LX-Session-ID"},
        {"POST", api("fermo_offers"), withSession("made-up"), offers, 403, "not a known session"},
        {"POST", api("fermo_offers"), ours, edited([](json& b) { b["rooms"][0]["beds"] = "2"; }), 400, "rooms[0].beds must be an integer"},
        {"POST", api("fermo_offers"), ours, edited([](json& b) { b["rooms"][0]["price"] = 199; }), 400, "rooms[0].price must be a string"},
        {"POST", api("fermo_offers"), ours, edited([](json& b) { b["hotel"]["star_rating"] = 4; }), 400, "hotel.star_rating must be a string"},
        {"POST", api("fermo_offers"), ours, edited([](json& b) { b["rooms"][0]["image_url"] = "https://x/y.jpg"; }), 400, "rooms[0].image_url must not be sent"},
        {"POST", api("fermo_offers"), ours, edited([](json& b) { b["rooms"][0]["merchant_room_id"] = nullptr; }), 400, "rooms[0].merchant_room_id is null"},
        {"POST", api("fermo_offers"), ours, edited([](json& b) { b["booking"].erase("currency"); }), 400, "missing key booking.currency"},
        {"POST", api("fermo_offers"), ours, edited([](json& b) { b["type"] = "offers"; }), 400, "type has the unexpected value"},
        {"POST", api("fermo_offers"), ours, R"({"hotel": {"id": )", 400, "body is not valid JSON"},
        {"POST", api("events/batch"), ours, event(session).dump(), 400, "LX-Session-ID must not be sent"},
        {"POST", api("events/batch"), bearer(), event("S-unknown").dump(), 403, "[0].session_id is not a known session"},
        {"POST", api("events/batch"), bearer(), event(session, "2024-03-01T09:05:03.120Z").dump(), 400, "not yyyy-MM-ddTHH:mm:ssZ"},
        {"POST", api("events/batch"), bearer(), event(session)[0].dump(), 400, "body must be an array"},
        {"POST", logs + "env:production,version:0.1.0", {}, record, 400, "Content-Type application/json"},
        {"POST", logs + "env:staging,version:0.1.0", kJsonType, record, 400, "differs from ddtags"},
        {"POST", logs + "env:production,version:9", kJsonType, record, 400, "wrong ddtags"},
        {"POST", service.baseUrl() + "/api/hotels/v2/sessions", bearer(), "{}", 404, "no route for /api/hotels/v2/sessions"},
        {"POST", api("sessions"), bearer(), deep, 400, "body is not valid JSON"},
        {"POST", api("fermo_offers"), ours, deep, 400, "body is not valid JSON"},
        {"POST", api("events/batch"), bearer(), deep, 400, "body is not valid JSON"},
        {"POST", logs + "env:production,version:0.1.0", kJsonType, deep, 400, "body is not valid JSON"},
    };
    for (const auto& c : cases) {
        const Reply reply = client->send(c.method, c.url, c.headers, c.body);
        EXPECT_EQ(reply.status, c.status) << c.reason;
        EXPECT_THAT(reply.json().value("reason", ""), HasSubstr(c.reason));
    }
    const auto refused = service.rejected();
    ASSERT_EQ(refused.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        EXPECT_THAT(refused[i].reason, HasSubstr(cases[i].reason));
        EXPECT_EQ(refused[i].status, cases[i].status);
    }

    // What an unconfigured client sends is tolerated, and noted.
    service.clear();
    EXPECT_EQ(client->send("POST", api("sessions"), {{"Authorization", "Bearer "}}, inputs).status, 201);
    EXPECT_TRUE(service.rejected().empty());
    EXPECT_THAT(service.requests("sessions").front().notes, ElementsAre("empty bearer token"));
}

TEST_F(FermoService, FaultsChangeStatusBodyHeadersTimingAndConnectionForTheirCount) {
    const std::string session = newSession(), inputs = sampleSessionInputs().dump();
    const std::string offers = sampleOfferRequest({sampleRoom("R1")}).dump(), events = event(session).dump();
    service.clear();
    service.setFault("sessions", Fault{.status = 200, .count = 1});
    EXPECT_EQ(client->send("POST", api("sessions"), bearer(), inputs).status, 200);
    EXPECT_EQ(client->send("POST", api("sessions"), bearer(), inputs).status, 201);
    const auto sessions = service.requests("sessions");
    EXPECT_TRUE(sessions[0].faulted && sessions[0].accepted && sessions[0].status == 201);
    EXPECT_FALSE(sessions[1].faulted);

    service.setFault("fermo_offers", Fault{.body = R"([{"offer": )",
                                           .headers = {{"x-client-region", std::nullopt}, {"lx-experiments", "not json"}},
                                           .count = 2});
    for (int i = 0; i < 2; ++i) {
        const Reply faulted = postOffers(session, json::parse(offers));
        EXPECT_EQ(faulted.status, 201);
        EXPECT_EQ(faulted.body, R"([{"offer": )");
        EXPECT_EQ(faulted.header("x-client-region"), "");
        EXPECT_EQ(faulted.header("lx-experiments"), "not json");
    }
    EXPECT_EQ(postOffers(session, json::parse(offers)).header("x-client-region"), "EU");

    // A delayed answer leaves the loop free to serve others meanwhile.
    service.setFault("sessions", Fault{.delaySeconds = 1.0, .count = 1});
    const int slow = client->begin("POST", api("sessions"), bearer(), inputs);
    const int fast = client->begin("POST", api("events/batch"), bearer(), events);
    while (!client->done(slow)) g_main_context_iteration(nullptr, TRUE);
    EXPECT_TRUE(client->done(fast));
    EXPECT_EQ(client->reply(slow).status, 201);
    EXPECT_GE(client->reply(slow).seconds, 0.95);
    EXPECT_EQ(client->reply(fast).status, 204);

    service.setFault("events/batch", Fault{.drop = true});  // every call
    for (int i = 0; i < 2; ++i) EXPECT_FALSE(client->send("POST", api("events/batch"), bearer(), events).error.empty());
    service.clearFaults();
    EXPECT_EQ(client->send("POST", api("events/batch"), bearer(), events).status, 204);

    std::string error;
    ASSERT_TRUE(service.loadFaults(R"({"fermo_offers": {"status": 500, "body": {"reason": "boom"}, "count": 1},
                                       "/api/hotels/v1.0/events/batch": {"delay": 0.1, "status": 201},
                                       "sessions": {"truncate": 3, "count": 1}})", &error)) << error;
    const Reply boom = postOffers(session, json::parse(offers));
    EXPECT_EQ(boom.status, 500);
    EXPECT_EQ(boom.json(), json({{"reason", "boom"}}));
    EXPECT_FALSE(client->send("POST", api("sessions"), bearer(), inputs).error.empty());  // cut after 3 bytes
    EXPECT_EQ(client->send("POST", api("sessions"), bearer(), inputs).status, 201);
    EXPECT_EQ(postOffers(session, json::parse(offers)).status, 201);
    EXPECT_EQ(client->send("POST", api("events/batch"), bearer(), events).status, 201);
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
    EXPECT_LT(g_get_monotonic_time() - before, G_USEC_PER_SEC);
    EXPECT_FALSE(service.startOnOwnThread(&error));
    EXPECT_EQ(service.baseUrl(), "https://127.0.0.1:" + std::to_string(service.port()));
    const std::string ca = service.caFile();
    ASSERT_TRUE(g_path_is_absolute(ca.c_str()) && g_file_test(ca.c_str(), G_FILE_TEST_EXISTS));

    const std::string url = service.apiBase() + "sessions", inputs = sampleSessionInputs().dump();
    EXPECT_THAT(ServiceTestClient("").send("POST", url, bearer(), inputs).error, HasSubstr("TLS certificate"));
    EXPECT_EQ(service.count("sessions"), 0);  // refused before any HTTP was spoken

    EXPECT_EQ(ServiceTestClient(ca).send("POST", url, bearer(), inputs).status, 201);
    EXPECT_TRUE(service.waitForCount("sessions", 1, 1.0));
    EXPECT_FALSE(service.waitForCount("sessions", 2, 0.05));
    EXPECT_TRUE(service.rejected().empty());

    service.stop();
    EXPECT_FALSE(service.isRunning());
    EXPECT_FALSE(g_file_test(ca.c_str(), G_FILE_TEST_EXISTS));
}
