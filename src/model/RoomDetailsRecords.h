#pragma once

// The records nested in LXRoomDetails. Internal: a host only ever sees them
// as JSON.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXRoomDetails.h"
#include "model/JsonCodecs.h"

struct LXStayDates {
    using Self = LXStayDates;
    std::string checkIn;
    std::string checkOut;
    static constexpr auto fields() { return std::tuple{LX_FIELD(checkIn), LX_FIELD(checkOut)}; }
    bool operator==(const LXStayDates&) const = default;
};

struct LXGuests {
    using Self = LXGuests;
    std::int64_t adults = 0;
    std::int64_t children = 0;
    static constexpr auto fields() { return std::tuple{LX_FIELD(adults), LX_FIELD(children)}; }
    bool operator==(const LXGuests&) const = default;
};

struct LXBooking {
    using Self = LXBooking;
    LXStayDates stayDates;
    LXGuests guests;
    std::string locale;
    std::string currency;
    std::int64_t numberOfRooms = 0;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(stayDates), LX_FIELD(guests), LX_FIELD(locale), LX_FIELD(currency),
                          LX_FIELD(numberOfRooms)};
    }
    bool operator==(const LXBooking&) const = default;
};

struct LXAddress {
    using Self = LXAddress;
    std::string line;
    std::string city;
    std::string countryCode;
    static constexpr auto fields() { return std::tuple{LX_FIELD(line), LX_FIELD(city), LX_FIELD(countryCode)}; }
    bool operator==(const LXAddress&) const = default;
};

struct LXCheckInTime {
    using Self = LXCheckInTime;
    std::string localTime;
    std::string utcOffset;
    static constexpr auto fields() { return std::tuple{LX_FIELD(localTime), LX_FIELD(utcOffset)}; }
    bool operator==(const LXCheckInTime&) const = default;
};

struct LXHotel {
    using Self = LXHotel;
    std::string id;
    std::string name;
    std::string starRating;
    std::optional<std::string> partnerRating;
    LXAddress address;
    std::optional<LXCheckInTime> checkInTime;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(id), LX_FIELD(name), LX_FIELD(starRating), LX_FIELD(partnerRating),
                          LX_FIELD(address), LX_FIELD(checkInTime)};
    }
    bool operator==(const LXHotel&) const = default;
};

struct LXPromotion {
    using Self = LXPromotion;
    std::string id;
    std::optional<std::string> expiry;
    static constexpr auto fields() { return std::tuple{LX_FIELD(id), LX_FIELD(expiry)}; }
    bool operator==(const LXPromotion&) const = default;
};

struct LXRoom {
    using Self = LXRoom;
    std::string id;
    std::string merchantId;
    std::optional<std::string> merchantRoomId;
    std::string name;
    std::int64_t beds = 0;
    std::string price;
    std::string roomType;
    std::optional<LXPromotion> promotion;
    std::string cancellationCode;
    std::string rateCategoryId;
    std::optional<std::vector<std::string>> addons;
    std::int64_t availability = 0;
    std::optional<bool> isRefundable;
    std::string imageUrl;
    std::string priceInclusive;
    std::map<std::string, std::string> extAttributes;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(id), LX_FIELD(merchantId), LX_FIELD(merchantRoomId), LX_FIELD(name),
                          LX_FIELD(beds), LX_FIELD(price), LX_FIELD(roomType), LX_FIELD(promotion),
                          LX_FIELD(cancellationCode), LX_FIELD(rateCategoryId), LX_FIELD(addons),
                          LX_FIELD(availability), LX_FIELD(isRefundable), LX_FIELD(imageUrl),
                          LX_FIELD(priceInclusive), LX_FIELD(extAttributes)};
    }
    bool operator==(const LXRoom&) const = default;
};

struct LXRoomDetailsData {
    using Self = LXRoomDetailsData;
    std::optional<std::string> userId;
    LXBooking booking;
    LXHotel hotel;
    LXRoom room;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(userId), LX_FIELD(booking), LX_FIELD(hotel), LX_FIELD(room)};
    }
    bool operator==(const LXRoomDetailsData&) const = default;
};

namespace lxhf {

// The library's own view into the public value types.
struct LXHF_EXPORT RoomDetailsAccess {
    static LXRoomDetails make(LXRoomDetailsData data);
    static const LXRoomDetailsData& data(const LXRoomDetails& room) { return *room.data_; }
    static LXFermoOffer makeOffer(LXRoomDetails room, LXFermoOfferState state) {
        return LXFermoOffer(std::move(room), std::move(state));
    }
    static const LXRoomDetails& room(const LXFermoOffer& offer) { return offer.roomDetails_; }
};

inline const LXRoomDetailsData& details(const LXRoomDetails& room) { return RoomDetailsAccess::data(room); }

}  // namespace lxhf

namespace lxhf::json {

template <>
struct Codec<LXRoomDetails> {
    static constexpr std::string_view name = "an object";
    static Json encode(const LXRoomDetails& room, EncodeContext& c) {
        return Codec<LXRoomDetailsData>::encode(details(room), c);
    }
    static std::optional<LXRoomDetails> decode(const Json& j, DecodeContext& c) {
        auto data = Codec<LXRoomDetailsData>::decode(j, c);
        if (!data) return std::nullopt;
        return RoomDetailsAccess::make(std::move(*data));
    }
};

}  // namespace lxhf::json
