#pragma once

// What goes to the offer service and what comes back.

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "model/JsonCodecs.h"
#include "model/RoomDetailsRecords.h"

struct LXOfferRequestRoom;

namespace lxhf {

// A field of LXOfferRequestRoom and its LXRoom namesake, of the same type.
template <class M>
struct SharedRoomField {
    std::string_view name;
    M LXOfferRequestRoom::*sent;
    M LXRoom::*room;
};

template <class M>
constexpr SharedRoomField<M> sharedRoomField(std::string_view name, M LXOfferRequestRoom::*sent, M LXRoom::*room) {
    return {name, sent, room};
}

}  // namespace lxhf

#define LX_SHARED_ROOM_FIELD(name) ::lxhf::sharedRoomField(#name, &LXOfferRequestRoom::name, &LXRoom::name)

// The first thirteen fields of LXRoom: the part of a room the service sees,
// and by which its answer is matched back to the room.
struct LXOfferRequestRoom {
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

    // The one list of the shared fields, in order: coding, copying from a
    // room, matching and hashing all follow it.
    static constexpr auto sharedWithRoom() {
        return std::tuple{LX_SHARED_ROOM_FIELD(id), LX_SHARED_ROOM_FIELD(merchantId),
                          LX_SHARED_ROOM_FIELD(merchantRoomId), LX_SHARED_ROOM_FIELD(name),
                          LX_SHARED_ROOM_FIELD(beds), LX_SHARED_ROOM_FIELD(price),
                          LX_SHARED_ROOM_FIELD(roomType), LX_SHARED_ROOM_FIELD(promotion),
                          LX_SHARED_ROOM_FIELD(cancellationCode), LX_SHARED_ROOM_FIELD(rateCategoryId),
                          LX_SHARED_ROOM_FIELD(addons), LX_SHARED_ROOM_FIELD(availability),
                          LX_SHARED_ROOM_FIELD(isRefundable)};
    }
    static constexpr auto fields() {
        return std::apply([](const auto&... f) { return std::tuple{lxhf::json::field(f.name, f.sent)...}; },
                          sharedWithRoom());
    }
    bool operator==(const LXOfferRequestRoom&) const = default;

    static LXOfferRequestRoom from(const LXRoom& room);
    // Equal on the shared fields, without building a request room.
    bool matches(const LXRoom& room) const;
    // Hashes a room's shared fields as hashOf hashes the request room made from it.
    static std::size_t hashOfShared(const LXRoom& room) noexcept;
};

struct LXOfferRequest {
    using Self = LXOfferRequest;
    LXHotel hotel;
    LXBooking booking;
    std::vector<LXOfferRequestRoom> rooms;
    std::string type;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(hotel), LX_FIELD(booking), LX_FIELD(rooms), LX_FIELD(type)};
    }
};

struct LXOfferConditions {
    using Self = LXOfferConditions;
    std::string currency, frozenPrice, frozenPriceTotal, deposit, depositTotal, cap, capTotal, offerExpiry,
        freezeExpiry;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(currency), LX_FIELD(frozenPrice), LX_FIELD(frozenPriceTotal),
                          LX_FIELD(deposit), LX_FIELD(depositTotal), LX_FIELD(cap), LX_FIELD(capTotal),
                          LX_FIELD(offerExpiry), LX_FIELD(freezeExpiry)};
    }
    bool operator==(const LXOfferConditions&) const = default;
};

struct LXOffer {
    using Self = LXOffer;
    std::string hotelId;
    std::string roomId;
    std::string id;
    std::string merchantId;
    std::string merchantRoomId;  // required here, unlike in the request room
    LXOfferConditions conditions;
    LXBooking booking;
    LXOfferRequestRoom room;
    std::string type;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(hotelId), LX_FIELD(roomId), LX_FIELD(id), LX_FIELD(merchantId),
                          LX_FIELD(merchantRoomId), LX_FIELD(conditions), LX_FIELD(booking), LX_FIELD(room),
                          LX_FIELD(type)};
    }
    bool operator==(const LXOffer&) const = default;
};

enum class LXOfferResponseType { loading, signedBaseOffer, signedFullOffer, unavailableOffer };

template <>
struct lxhf::json::RawValues<LXOfferResponseType> {
    static constexpr std::string_view name = "LXOfferResponseType";
    static constexpr std::array<std::pair<LXOfferResponseType, std::string_view>, 4> values{{
        {LXOfferResponseType::loading, "loading"},
        {LXOfferResponseType::signedBaseOffer, "signed_base_offer"},
        {LXOfferResponseType::signedFullOffer, "signed_full_offer"},
        {LXOfferResponseType::unavailableOffer, "unavailable_offer"},
    }};
};

// A loosely typed feature-flag value.
struct CodableValue {
    std::variant<std::string, std::int64_t, double, bool> value;
    bool operator==(const CodableValue&) const = default;
};

using FeatureFlags = std::map<std::string, CodableValue>;

struct LXOfferResponse {
    using Self = LXOfferResponse;
    LXOffer offer;
    std::string signature;
    LXOfferResponseType type = LXOfferResponseType::loading;
    std::optional<std::string> clientRegion;  // filled in from the answer's headers
    std::optional<FeatureFlags> featureFlags;
    static constexpr auto fields() {
        return std::tuple{LX_FIELD(offer), LX_FIELD(signature), LX_FIELD(type), LX_FIELD(clientRegion),
                          LX_FIELD(featureFlags)};
    }
    bool operator==(const LXOfferResponse&) const = default;
};

// The rooms of one stay at one hotel that go out in one request. Memory only.
struct LXRequestOffersBatch {
    LXBooking booking;
    LXHotel hotel;
    std::vector<LXRoomDetails> roomsDetails;
};

namespace lxhf::json {

template <>
struct Codec<CodableValue> {
    static constexpr std::string_view name = "a string, a number or a boolean";
    static Json encode(const CodableValue& v, EncodeContext& c);
    // Tries string, integer, double, then boolean; the first that reads wins.
    static std::optional<CodableValue> decode(const Json& j, DecodeContext& c);
};

}  // namespace lxhf::json
