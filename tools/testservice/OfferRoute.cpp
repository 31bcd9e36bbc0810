// The offers route: one signed answer per requested room, shaped by the
// per-room outcomes a test has scripted.

#include "ServiceState.h"
#include "WireCheck.h"

#include <glib.h>

#include <cmath>

namespace lxhf::testing {

using nlohmann::json;

namespace {

constexpr double kDepositShare = 0.10;
constexpr double kCapShare = 0.15;
constexpr std::int64_t kOfferLifetime = 15 * 60;
constexpr std::int64_t kFreezeLifetime = 3 * 24 * 60 * 60;

std::string amount(double value) {
    char text[G_ASCII_DTOSTR_BUF_SIZE];
    // Locale-independent: a host may have set a decimal comma.
    g_ascii_formatd(text, sizeof text, "%.2f", std::round(value * 100.0) / 100.0);
    return text;
}

double parsePrice(const std::string& text) {
    char* end = nullptr;
    const double value = g_ascii_strtod(text.c_str(), &end);
    if (end == text.c_str() || !std::isfinite(value) || value < 0) return 100.0;
    return value;
}

const char* responseType(Outcome outcome) {
    switch (outcome) {
    case Outcome::baseOffer: return "signed_base_offer";
    case Outcome::unavailable: return "unavailable_offer";
    case Outcome::loadingType: return "loading";
    default: return "signed_full_offer";
    }
}

json conditions(const json& booking, const json& room) {
    const double price = parsePrice(room["price"].get<std::string>());
    const auto rooms = std::max<std::int64_t>(1, booking["number_of_rooms"].get<std::int64_t>());
    const double deposit = price * kDepositShare;
    const double cap = price * kCapShare;
    const std::int64_t now = g_get_real_time() / G_USEC_PER_SEC;
    return json{{"currency", booking["currency"]},
                {"frozen_price", amount(price)},
                {"frozen_price_total", amount(price * static_cast<double>(rooms))},
                {"deposit", amount(deposit)},
                {"deposit_total", amount(deposit * static_cast<double>(rooms))},
                {"cap", amount(cap)},
                {"cap_total", amount(cap * static_cast<double>(rooms))},
                {"offer_expiry", isoDateTime(now + kOfferLifetime)},
                {"freeze_expiry", isoDateTime(now + kFreezeLifetime)}};
}

}  // namespace

std::string signOffer(const std::string& key, const json& offerResponse) {
    // nlohmann::json keeps object keys sorted, so dump() is a canonical text
    // however the client ordered the keys when it echoes an offer back.
    return hmacHex(key, offerResponse["type"].get<std::string>() + "\n" +
                            offerResponse["offer"].dump());
}

Answer offersRoute(const RecordedRequest& request, State& state) {
    std::vector<std::string> notes;
    if (auto refused = checkPost(request)) return *refused;
    if (auto refused = checkBearer(request, notes)) return *refused;
    const auto session = request.header("LX-Session-ID");
    if (!session) return Answer::reject(400, "missing LX-Session-ID header");
    if (!state.sessions.contains(*session)) {
        return Answer::reject(403, "LX-Session-ID is not a known session: " + *session);
    }
    const json body = parseJson(request.body);
    if (body.is_discarded()) return Answer::reject(400, "body is not valid JSON");
    if (auto problem = checkOfferRequest(body)) return Answer::reject(400, *problem);

    const json& hotel = body["hotel"];
    const json& booking = body["booking"];
    json answer = json::array();
    for (const json& room : body["rooms"]) {
        const auto roomId = room["id"].get<std::string>();
        const auto scripted = state.outcomes.find(roomId);
        const Outcome outcome = scripted == state.outcomes.end() ? Outcome::fullOffer : scripted->second;
        if (outcome == Outcome::omitted) continue;

        const auto hotelId = hotel["id"].get<std::string>();
        const std::string offerId =
            "fo_" + hmacHex(state.signingKey, "offer-id\n" + *session + "\n" + hotelId + "\n" + roomId)
                        .substr(0, 24);
        state.offerIds.insert(offerId);
        json element{{"offer",
                      {{"hotel_id", hotelId},
                       {"room_id", roomId},
                       {"id", offerId},
                       {"merchant_id", room["merchant_id"]},
                       {"merchant_room_id", room.value("merchant_room_id", roomId)},
                       {"conditions", conditions(booking, room)},
                       {"booking", booking},
                       {"room", room},
                       {"type", "rooms_deposit_offer"}}},
                     {"type", responseType(outcome)}};
        element["signature"] = signOffer(state.signingKey, element);
        if (outcome == Outcome::malformed) element["offer"].erase("merchant_room_id");
        answer.push_back(std::move(element));
    }

    Answer reply = Answer::jsonBody(201, answer);
    if (state.clientRegion) reply.headers.emplace_back("x-client-region", *state.clientRegion);
    if (state.experiments) reply.headers.emplace_back("lx-experiments", *state.experiments);
    reply.notes = std::move(notes);
    return reply;
}

}  // namespace lxhf::testing
