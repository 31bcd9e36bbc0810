// Prints sample records in both key styles, so a reader can see the JSON
// the library takes from the host and exchanges with the service.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXRoomDetails.h"
#include "model/ErrorInfo.h"
#include "model/OfferRecords.h"
#include "model/PublicStateCoding.h"
#include "model/RoomDetailsRecords.h"

namespace {

using lxhf::json::Encoder;
using lxhf::json::Json;
using lxhf::json::KeyEncoding;

void heading(const std::string& text) { std::printf("\n== %s ==\n", text.c_str()); }

// Indented unless asked for one line; offer entries repeat a room already
// shown in full, so they stay on one line each.
void show(const std::string& label, const std::string& compact, bool oneLine = false) {
    auto parsed = lxhf::json::parse(compact);
    const std::string text = oneLine || compact.size() <= 100 || !parsed ? compact : parsed->dump(2);
    std::printf("-- %s\n%s\n", label.c_str(), text.c_str());
}

template <class T>
void showBoth(const std::string& label, const T& value, bool oneLine = false) {
    show(label + " (field names)", Encoder(KeyEncoding::useDefaultKeys).encode(value), oneLine);
    show(label + " (snake case)", Encoder(KeyEncoding::convertToSnakeCase).encode(value), oneLine);
}

Json hotelJson(const char* id, const char* name, const char* city, bool withCheckIn) {
    Json hotel = {{"id", id}, {"name", name}, {"starRating", "4"},
                  {"address", {{"line", "Piazza del Popolo 1"}, {"city", city}, {"countryCode", "IT"}}}};
    if (withCheckIn) hotel["checkInTime"] = {{"localTime", "15:00"}, {"utcOffset", "+02:00"}};
    return hotel;
}

Json roomJson(const char* id, const char* name, const char* price, bool refundable) {
    Json room = {{"id", id},
                 {"merchantId", "merchant-7"},
                 {"name", name},
                 {"beds", 2},
                 {"price", price},
                 {"roomType", "double"},
                 {"cancellationCode", "FLEX"},
                 {"rateCategoryId", "BAR"},
                 {"availability", 3},
                 {"isRefundable", refundable},
                 {"imageUrl", std::string("https://images.example.com/rooms/") + id + ".jpg"},
                 {"priceInclusive", price},
                 {"extAttributes", {{"boardType", "BB"}}}};
    return room;
}

LXRoomDetails makeRoom(const Json& hotel, const Json& room) {
    const Json details = {
        {"userId", "traveller-1"},
        {"booking",
         {{"stayDates", {{"checkIn", "2024-06-01"}, {"checkOut", "2024-06-04"}}},
          {"guests", {{"adults", 2}, {"children", 0}}},
          {"locale", "it_IT"},
          {"currency", "EUR"},
          {"numberOfRooms", 1}}},
        {"hotel", hotel},
        {"room", room}};
    auto decoded = LXRoomDetails::fromJSON(details.dump());
    if (!decoded) {
        std::fprintf(stderr, "sample room does not decode: %s\n", decoded.error().description().c_str());
        std::exit(1);
    }
    return *decoded;
}

LXOfferResponse makeResponse(const LXRoomDetails& roomDetails, LXOfferResponseType type) {
    LXOfferResponse response;
    response.offer.hotelId = roomDetails.hotel().id;
    response.offer.roomId = roomDetails.room().id;
    response.offer.id = "offer-" + roomDetails.room().id;
    response.offer.merchantId = roomDetails.room().merchantId;
    response.offer.merchantRoomId = roomDetails.room().merchantRoomId.value_or(roomDetails.room().id);
    response.offer.conditions = {"EUR", "120.00", "360.00", "9.99", "9.99", "40.00", "120.00",
                                 "2024-05-20T10:00:00Z", "2024-05-27T10:00:00Z"};
    response.offer.booking = roomDetails.booking();
    response.offer.room = LXOfferRequestRoom::from(roomDetails.room());
    response.offer.type = "rooms_deposit_offer";
    response.signature = "c2lnbmF0dXJl";
    response.type = type;
    response.clientRegion = "EU";
    response.featureFlags = FeatureFlags{{"newCheckout", CodableValue{true}}, {"ratio", CodableValue{2.5}}};
    return response;
}

}  // namespace

int main() {
    const Json belvedere = hotelJson("hotel-belvedere", "Hotel Belvedere", "Fermo", true);
    const Json marina = hotelJson("hotel-marina", "Albergo Marina", "Porto San Giorgio", false);
    const std::vector<LXRoomDetails> rooms = {
        makeRoom(belvedere, roomJson("B-101", "Camera doppia", "120.00", true)),
        makeRoom(belvedere, roomJson("B-204", "Suite vista mare", "240.00", false)),
        makeRoom(marina, roomJson("M-12", "Doppia standard", "95.50", true)),
    };

    heading("Room details");
    for (const auto& room : rooms) showBoth("room " + room.room().id, room);

    heading("Offer entries for room M-12, one per state");
    const std::vector<std::pair<std::string, LXFermoOfferState>> states = {
        {"loading", LXFermoOfferState::loading()},
        {"available", LXFermoOfferState::available()},
        {"unavailable", LXFermoOfferState::unavailable()},
        {"error", LXFermoOfferState::error(lxhf::makeError("Error fetching offer"))},
    };
    for (const auto& [name, state] : states) {
        const LXFermoOffer offer = lxhf::RoomDetailsAccess::makeOffer(rooms[2], state);
        show("offer " + name + " (field names)", offer.toJSON(LXJSONKeyStyle::fieldNames), true);
        show("offer " + name + " (snake case)", offer.toJSON(LXJSONKeyStyle::snakeCase), true);
    }

    heading("Offer responses");
    showBoth("signed full offer for B-101", makeResponse(rooms[0], LXOfferResponseType::signedFullOffer));
    showBoth("unavailable offer for M-12", makeResponse(rooms[2], LXOfferResponseType::unavailableOffer));

    heading("Purchase results");
    const std::vector<std::pair<std::string, LXFermoPurchaseResult>> results = {
        {"purchased", LXFermoPurchaseResult::purchased()},
        {"cancelled", LXFermoPurchaseResult::cancelled()},
        {"invalid", LXFermoPurchaseResult::invalid()},
        {"error", LXFermoPurchaseResult::error(lxhf::makeError("Payment declined", 402))},
    };
    for (const auto& [name, result] : results) showBoth(name, result);
    return 0;
}
