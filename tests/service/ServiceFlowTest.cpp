// The service answers a well-behaved client as the real one would: sessions,
// signed offers shaped by scripted outcomes, events, logs and the purchase page.

#include "ServiceTestClient.h"
#include "testservice/FermoTestService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

using lxhf::testing::FermoTestService;
using lxhf::testing::Headers;
using lxhf::testing::Outcome;
using lxhf::testing::PurchaseScript;
using lxhf::testing::Reply;
using lxhf::testing::ServiceTestClient;
using nlohmann::json;
using ::testing::HasSubstr;
using namespace lxhf::testing;  // sample bodies

namespace {

const std::regex kDateTime(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)");

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

    Reply postOffers(const std::string& session, const json& body) {
        Headers headers = bearer();
        headers.emplace_back("LX-Session-ID", session);
        return client->send("POST", api("fermo_offers"), headers, body.dump());
    }

    FermoTestService service;
    std::unique_ptr<ServiceTestClient> client;
};

// The microsite address as the client builds it: JSON escaped for the page,
// then the query encoding of the URL builder.
std::string pageEscape(const std::string& text) {
    static const std::string escaped = ",\"#%/<>[]?@\\^:`{|}";
    std::string out;
    for (char c : text) {
        if (escaped.find(c) != std::string::npos) {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%%%02X", static_cast<unsigned char>(c));
            out += hex;
        } else {
            out += c;
        }
    }
    return out;
}

std::string queryEncode(const std::string& text) {
    static const std::string kept = "-._~!$'()*+,;:@/?";
    std::string out;
    for (char c : text) {
        if (std::isalnum(static_cast<unsigned char>(c)) || kept.find(c) != std::string::npos) {
            out += c;
        } else {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%%%02X", static_cast<unsigned char>(c));
            out += hex;
        }
    }
    return out;
}

}  // namespace

TEST_F(FermoService, SessionOffersAndEventsFlowIsAcceptedAndSigned) {
    const Reply created = client->send("POST", api("sessions"), bearer(), sampleSessionInputs().dump());
    ASSERT_EQ(created.status, 201) << created.body;
    const std::string session = created.json().value("id", "");
    ASSERT_FALSE(session.empty());

    json detailed = sampleRoom("R1");
    detailed["merchant_room_id"] = "MR-1";
    detailed["promotion"] = {{"id", "P-1"}, {"expiry", "2025-07-01"}};
    detailed["addons"] = {"breakfast"};
    detailed["is_refundable"] = false;
    const json plain = sampleRoom("R2", "80.50");
    const Reply offers = postOffers(session, sampleOfferRequest({detailed, plain}));
    ASSERT_EQ(offers.status, 201) << offers.body;
    EXPECT_EQ(offers.header("x-client-region"), "EU");
    EXPECT_EQ(json::parse(offers.header("lx-experiments")),
              json::parse(R"({"fermo_v2":true,"variant":"b","ratio":0.5,"limit":3})"));

    const json answer = offers.json();
    ASSERT_EQ(answer.size(), 2u);
    const json& first = answer[0];
    EXPECT_EQ(first["type"], "signed_full_offer");
    EXPECT_EQ(first["offer"]["hotel_id"], "H-100");
    EXPECT_EQ(first["offer"]["room_id"], "R1");
    EXPECT_EQ(first["offer"]["room"], detailed);
    EXPECT_EQ(first["offer"]["booking"], sampleBooking());
    EXPECT_EQ(first["offer"]["merchant_room_id"], "MR-1");
    EXPECT_EQ(answer[1]["offer"]["merchant_room_id"], "R2");  // required in the answer, even when not asked with
    const json& conditions = first["offer"]["conditions"];
    EXPECT_EQ(conditions["currency"], "EUR");
    EXPECT_EQ(conditions["frozen_price"], "199.00");
    EXPECT_EQ(conditions["frozen_price_total"], "398.00");  // two rooms booked
    EXPECT_EQ(conditions["deposit"], "19.90");
    EXPECT_EQ(conditions["deposit_total"], "39.80");
    EXPECT_EQ(conditions["cap"], "29.85");
    EXPECT_TRUE(std::regex_match(conditions["offer_expiry"].get<std::string>(), kDateTime));
    EXPECT_TRUE(std::regex_match(conditions["freeze_expiry"].get<std::string>(), kDateTime));

    EXPECT_TRUE(service.verifySignature(first));
    EXPECT_TRUE(service.verifySignatureText(answer[1].dump()));
    json tampered = first;
    tampered["offer"]["conditions"]["deposit"] = "1.00";
    EXPECT_FALSE(service.verifySignature(tampered));
    tampered = first;
    tampered["type"] = "signed_base_offer";
    EXPECT_FALSE(service.verifySignature(tampered));
    FermoTestService other;
    EXPECT_FALSE(other.verifySignature(first));  // another instance signs with another key

    const std::string offerId = first["offer"]["id"];
    EXPECT_NE(offerId, answer[1]["offer"]["id"]);
    EXPECT_EQ(postOffers(session, sampleOfferRequest({detailed})).json()[0]["offer"]["id"], offerId);

    const json events = json::array({{{"session_id", session},
                                      {"occurred_date_time", "2024-05-01T13:45:09Z"},
                                      {"fermo_offer_id", offerId},
                                      {"type", "offer_shown"}}});
    const Reply sent = client->send("POST", api("events/batch"), bearer(), events.dump());
    EXPECT_EQ(sent.status, 204);
    EXPECT_TRUE(sent.body.empty());

    EXPECT_TRUE(service.rejected().empty());
    EXPECT_EQ(service.count("sessions"), 1);
    EXPECT_EQ(service.count("fermo_offers"), 2);
    EXPECT_EQ(service.count("/api/hotels/v1.0/events/batch"), 1);
    const auto recorded = service.requests("fermo_offers").front();
    EXPECT_EQ(recorded.header("lx-session-id"), session);
    EXPECT_EQ(recorded.json(), sampleOfferRequest({detailed, plain}));
    EXPECT_TRUE(recorded.accepted);
    EXPECT_THAT(service.sessionIds(), ::testing::ElementsAre(session));
}

TEST_F(FermoService, RoomOutcomesShapeTheOffersAnswer) {
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
    EXPECT_THAT(rooms, ::testing::ElementsAre("F", "B", "U", "L", "M"));
    EXPECT_THAT(types, ::testing::ElementsAre("signed_full_offer", "signed_base_offer", "unavailable_offer",
                                              "loading", "signed_full_offer"));
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(answer[i]["offer"].contains("merchant_room_id"));
        EXPECT_TRUE(service.verifySignature(answer[i]));
    }
    EXPECT_FALSE(answer[4]["offer"].contains("merchant_room_id"));
    EXPECT_TRUE(service.rejected().empty());
}

TEST_F(FermoService, LogIntakeRecordsWellFormedRecords) {
    const std::string url = service.intakeUrl() +
                            "?ddsource=iOS&dd-api-key=pub3c9e41b07d5a2f68e1b4c7a90d2f5e83&ddtags=env:staging,version:0.1.0";
    const json record = json::parse(R"({"service": "lx-hotels-fm-sdk", "version": "0.1.0", "source": "iOS",
        "message": "No offers fetched", "status": "warn",
        "data": {"jsonPayload": {"env": "staging", "partner": "Velto", "session_id": "S1", "locale": "en_GB"}}})");
    json withoutSession = record;
    withoutSession["data"]["jsonPayload"].erase("session_id");
    const Headers jsonType = {{"Content-Type", "application/json"}};
    EXPECT_EQ(client->send("POST", url, jsonType, record.dump()).status, 202);
    EXPECT_EQ(client->send("POST", url, jsonType, withoutSession.dump()).status, 202);
    EXPECT_THAT(service.logs(), ::testing::ElementsAre(record, withoutSession));
    EXPECT_TRUE(service.rejected().empty());
}

TEST_F(FermoService, PurchasePageIsScriptedAndChecksTheClientsItems) {
    const Reply purchase = client->send("GET", service.micrositeBase() + "?lxtest=purchase");
    ASSERT_EQ(purchase.status, 200);
    EXPECT_THAT(purchase.header("Content-Type"), HasSubstr("text/html"));
    EXPECT_THAT(purchase.body, HasSubstr("data-lxtest=\"purchase\""));
    EXPECT_THAT(purchase.body, HasSubstr("window.CorvaneSDKBridge"));
    EXPECT_THAT(purchase.body, HasSubstr("DOMContentLoaded"));

    service.setPurchaseScript(PurchaseScript::error);
    const Reply byDefault = client->send("GET", service.micrositeBase());
    EXPECT_THAT(byDefault.body, HasSubstr("data-lxtest=\"error\""));
    EXPECT_THAT(byDefault.body, HasSubstr("Card declined"));
    EXPECT_FALSE(client->send("GET", service.micrositeBase() + "?lxtest=fail").error.empty());
    EXPECT_EQ(client->send("GET", service.baseUrl() + "/cloud/hotels/terms").status, 200);
    EXPECT_TRUE(service.rejected().empty());

    // The nine items, built from a genuine offer as the client would.
    const std::string session = newSession();
    const Reply offers = postOffers(session, sampleOfferRequest({sampleRoom("R1")}));
    json offer = offers.json()[0];
    offer["client_region"] = offers.header("x-client-region");
    offer["feature_flags"] = json::parse(offers.header("lx-experiments"));
    const auto address = [&](const json& offerItem, bool swapped) {
        std::vector<std::pair<std::string, std::string>> items = {
            {"token", "partner-token"},
            {"priceInclusive", "219.00"},
            {"imageUrl", pageEscape("https://img.example/r1.jpg")},
            {"hotel", pageEscape(R"({"name":"Hotel Lago","address_city":"Fermo"})")},
            {"extAttributes", pageEscape(R"({"view":"lake & hills"})")},
            {"sessionId", session},
            {"offer", pageEscape(offerItem.dump())},
            {"clientRegion", "EU"},
            {"featureFlags", pageEscape(offer["feature_flags"].dump())}};
        if (swapped) std::swap(items[0], items[1]);
        std::string url = service.micrositeBase() + "?";
        for (const auto& [name, value] : items) url += name + "=" + queryEncode(value) + "&";
        return url + "lxtest=ready";
    };
    EXPECT_EQ(client->send("GET", address(offer, false)).status, 200);
    EXPECT_TRUE(service.rejected().empty());
    json forged = offer;
    forged["offer"]["conditions"]["deposit"] = "0.01";
    const Reply refused = client->send("GET", address(forged, false));
    EXPECT_EQ(refused.status, 400);
    EXPECT_EQ(refused.json()["reason"], "offer is not signed by this service");
    EXPECT_EQ(client->send("GET", address(offer, true)).status, 400);
    EXPECT_EQ(service.rejected().size(), 2u);
}
