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

struct LXRoomDetailsData;
namespace lxhf { struct RoomDetailsAccess; }

// One room the host shows: the user, the stay, the hotel and the room with its
// rate (LXRoomRecords.h describes each field). The key under which the
// library keeps the room's offer: compared and hashed over every field, so a
// room made from its parts equals the same room read from JSON. Immutable;
// copies are cheap and share one body.
//
// JSON form: {"userId": ..., "booking": {...}, "hotel": {...}, "room": {...}},
// `userId` optional.
class LXHF_EXPORT LXRoomDetails {
public:
    // `userId` names the traveller as the host knows them; it may be absent.
    static LXRoomDetails make(std::optional<std::string> userId, LXBooking booking, LXHotel hotel, LXRoom room);
    static LXResult<LXRoomDetails, LXDecodingError> fromJSON(
        std::string_view json, LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames);
    std::string toJSON(LXJSONKeyStyle keys = LXJSONKeyStyle::fieldNames) const;

    const std::optional<std::string>& userId() const noexcept;
    const LXBooking& booking() const noexcept;
    const LXHotel& hotel() const noexcept;
    const LXRoom& room() const noexcept;

    friend LXHF_EXPORT bool operator==(const LXRoomDetails& a, const LXRoomDetails& b) noexcept;
    std::size_t hashValue() const noexcept { return hash_; }

private:
    explicit LXRoomDetails(std::shared_ptr<const LXRoomDetailsData> data);
    friend struct lxhf::RoomDetailsAccess;

    std::shared_ptr<const LXRoomDetailsData> data_;
    std::size_t hash_ = 0;
};

template <>
struct std::hash<LXRoomDetails> {
    std::size_t operator()(const LXRoomDetails& room) const noexcept { return room.hashValue(); }
};
