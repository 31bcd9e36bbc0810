#pragma once

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "LXHotelsFermo/LXRoomDetails.h"
#include "model/OfferRecords.h"

namespace lxhf::test {

// A room as a host would describe it, with the fields the microsite reads
// set from the arguments.
inline LXRoomDetails micrositeRoom(const std::string& hotelName = "Hotel Citt\u00e0 di Fermo",
                                   const std::string& imageUrl = "https://img.example.com/r1.jpg") {
    auto hotelName_ = json::Json(hotelName).dump();
    auto imageUrl_ = json::Json(imageUrl).dump();
    const std::string text = R"({
      "booking": {"stayDates": {"checkIn": "2024-06-01", "checkOut": "2024-06-04"},
                  "guests": {"adults": 2, "children": 0}, "locale": "en_US", "currency": "EUR",
                  "numberOfRooms": 1},
      "hotel": {"id": "H1", "name": )" + hotelName_ + R"(, "starRating": "4",
                "address": {"line": "Via Roma 1", "city": "Fermo", "countryCode": "IT"}},
      "room": {"id": "R1", "merchantId": "M1", "merchantRoomId": "MR1", "name": "Double", "beds": 2,
               "price": "120.00", "roomType": "double", "cancellationCode": "FLEX", "rateCategoryId": "RC1",
               "availability": 3, "isRefundable": false, "imageUrl": )" + imageUrl_ + R"(,
               "priceInclusive": "132.00", "extAttributes": {"boardType": "BB", "view": "sea & park"}}
    })";
    auto room = LXRoomDetails::fromJSON(text);
    if (!room) ADD_FAILURE() << "fixture room does not decode: " << room.error().description();
    return std::move(room).value();
}

// A signed full offer for micrositeRoom(), as the service would send it.
inline LXOfferResponse signedFullOffer() {
    LXOfferResponse response;
    auto& offer = response.offer;
    offer.hotelId = "H1";
    offer.roomId = "R1";
    offer.id = "OF-1";
    offer.merchantId = "M1";
    offer.merchantRoomId = "MR1";
    offer.conditions = {"EUR", "120.00", "360.00", "9.99", "9.99", "40.00", "120.00", "2024-05-20T10:00:00Z",
                        "2024-05-27T10:00:00Z"};
    offer.booking = {{"2024-06-01", "2024-06-04"}, {2, 0}, "en_US", "EUR", 1};
    offer.room.id = "R1";
    offer.room.merchantId = "M1";
    offer.room.merchantRoomId = "MR1";
    offer.room.name = "Double";
    offer.room.beds = 2;
    offer.room.price = "120.00";
    offer.room.roomType = "double";
    offer.room.cancellationCode = "FLEX";
    offer.room.rateCategoryId = "RC1";
    offer.room.availability = 3;
    offer.room.isRefundable = false;
    offer.type = "rooms_deposit_offer";
    response.signature = "c2lnbmVk/+==";
    response.type = LXOfferResponseType::signedFullOffer;
    response.clientRegion = "EU";
    response.featureFlags = FeatureFlags{{"newCheckout", CodableValue{true}}};
    return response;
}

}  // namespace lxhf::test
