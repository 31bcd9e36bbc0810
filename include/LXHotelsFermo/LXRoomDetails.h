#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "LXHotelsFermo/LXDecodingError.h"
#include "LXHotelsFermo/LXExport.h"
#include "LXHotelsFermo/LXJSONKeyStyle.h"
#include "LXHotelsFermo/LXResult.h"
#include "LXHotelsFermo/LXRoomRecords.h"

/// @file
/// One room the host shows: the key of its offer.

struct LXRoomDetailsData;
namespace lxhf { struct RoomDetailsAccess; }

/// One room the host shows: the user, the stay, the hotel and the room with its
/// rate (LXRoomRecords.h describes each field). The key under which the
/// library keeps the room's offer: compared and hashed over every field, so a
/// room made from its parts equals the same room read from JSON. Immutable;
/// copies are cheap and share one body.
///
/// JSON form: {"userId": ..., "booking": {...}, "hotel": {...}, "room": {...}},
/// `userId` optional.
class LXHF_EXPORT LXRoomDetails {
public:
    /// A room from its parts. `userId` names the traveller as the host knows
    /// them; it may be absent.
    static LXRoomDetails make(std::optional<std::string> userId, LXBooking booking, LXHotel hotel, LXRoom room);
    /// The room in `json`, with keys in the style `keys`, or why it is not one.
    static LXResult<LXRoomDetails, LXDecodingError> fromJSON(
        std::string_view json, LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames);
    /// The room as JSON text, with keys in the style `keys`.
    std::string toJSON(LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames) const;

    /// The traveller as the host knows them, if named.
    const std::optional<std::string>& userId() const noexcept;
    /// The stay being booked.
    const LXBooking& booking() const noexcept;
    /// The hotel.
    const LXHotel& hotel() const noexcept;
    /// The room with its rate.
    const LXRoom& room() const noexcept;

    /// Equal when every field is.
    friend LXHF_EXPORT bool operator==(const LXRoomDetails& a, const LXRoomDetails& b) noexcept;
    /// A hash over every field, worked out once when the room is made.
    std::size_t hashValue() const noexcept { return hash_; }

private:
    explicit LXRoomDetails(std::shared_ptr<const LXRoomDetailsData> data);
    friend struct lxhf::RoomDetailsAccess;

    std::shared_ptr<const LXRoomDetailsData> data_;
    std::size_t hash_ = 0;
};

/// Lets a room key a std::unordered_map or std::unordered_set.
template <>
struct std::hash<LXRoomDetails> {
    /// The room's hashValue().
    std::size_t operator()(const LXRoomDetails& room) const noexcept { return room.hashValue(); }
};
