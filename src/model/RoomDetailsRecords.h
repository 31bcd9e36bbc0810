#pragma once

// The coder's field lists for the public room records, and the body an
// LXRoomDetails shares between its copies.

#include <optional>
#include <string>
#include <tuple>

#include "LXHotelsFermo/LXFermoOffer.h"
#include "LXHotelsFermo/LXRoomDetails.h"
#include "LXHotelsFermo/LXRoomRecords.h"
#include "model/JsonCodecs.h"

// Each list names the record's fields once, in declaration order; the
// coder, and hashing, follow it.
template <>
struct lxhf::json::RecordFields<LXStayDates> {
    using Self = LXStayDates;
    static constexpr auto fields() { return std::tuple{LX_FIELD(checkIn), LX_FIELD(checkOut)}; }
};

template <>
struct lxhf::json::RecordFields<LXGuests> {
    using Self = LXGuests;
    static constexpr auto fields() { return std::tuple{LX_FIELD(adults), LX_FIELD(children)}; }
};

template <>
struct lxhf::json::RecordFields<LXBooking> {
    using Self = LXBooking;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(stayDates), LX_FIELD(guests), LX_FIELD(locale), LX_FIELD(currency),
                          LX_FIELD(numberOfRooms)};
    }
};

template <>
struct lxhf::json::RecordFields<LXAddress> {
    using Self = LXAddress;
    static constexpr auto fields() { return std::tuple{LX_FIELD(line), LX_FIELD(city), LX_FIELD(countryCode)}; }
};

template <>
struct lxhf::json::RecordFields<LXCheckInTime> {
    using Self = LXCheckInTime;
    static constexpr auto fields() { return std::tuple{LX_FIELD(localTime), LX_FIELD(utcOffset)}; }
};

template <>
struct lxhf::json::RecordFields<LXHotel> {
    using Self = LXHotel;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(id), LX_FIELD(name), LX_FIELD(starRating), LX_FIELD(partnerRating),
                          LX_FIELD(address), LX_FIELD(checkInTime)};
    }
};

template <>
struct lxhf::json::RecordFields<LXPromotion> {
    using Self = LXPromotion;
    static constexpr auto fields() { return std::tuple{LX_FIELD(id), LX_FIELD(expiry)}; }
};

template <>
struct lxhf::json::RecordFields<LXRoom> {
    using Self = LXRoom;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(id), LX_FIELD(merchantId), LX_FIELD(merchantRoomId), LX_FIELD(name),
                          LX_FIELD(beds), LX_FIELD(price), LX_FIELD(roomType), LX_FIELD(promotion),
                          LX_FIELD(cancellationCode), LX_FIELD(rateCategoryId), LX_FIELD(addons),
                          LX_FIELD(availability), LX_FIELD(isRefundable), LX_FIELD(imageUrl),
                          LX_FIELD(priceInclusive), LX_FIELD(extAttributes)};
    }
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
struct RoomDetailsAccess {
    static LXRoomDetails make(LXRoomDetailsData data);
    static const LXRoomDetailsData& data(const LXRoomDetails& room) { return *room.data_; }
    static LXFermoOffer makeOffer(LXRoomDetails room, LXFermoOfferState state) {
        return LXFermoOffer(std::move(room), std::move(state));
    }
};

}  // namespace lxhf

namespace lxhf::json {

template <>
struct Codec<LXRoomDetails> {
    static constexpr std::string_view name = "an object";
    static Json encode(const LXRoomDetails& room, EncodeContext& c) {
        return Codec<LXRoomDetailsData>::encode(RoomDetailsAccess::data(room), c);
    }
    static std::optional<LXRoomDetails> decode(const Json& j, DecodeContext& c) {
        auto data = Codec<LXRoomDetailsData>::decode(j, c);
        if (!data) return std::nullopt;
        return RoomDetailsAccess::make(std::move(*data));
    }
};

}  // namespace lxhf::json
